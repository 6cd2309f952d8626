// intl_source.h - where the keys of section "intl" come from. The profile
// store is consulted first, then the process locale's data; a key that
// neither knows keeps its default. A later settings store plugs in here.
#ifndef VALUES_INTL_SOURCE_H
#define VALUES_INTL_SOURCE_H

#include <istream>
#include <map>
#include <memory>
#include <string>

namespace zr::intl {

class IntlSource {
 public:
  virtual ~IntlSource() = default;
  // False when the key is absent; key names ignore case.
  virtual bool lookup(const std::u16string& key, std::u16string& value) const = 0;
};

// A fixed set of keys, kept in upper case: what the readers below produce.
class KeyTable : public IntlSource {
 public:
  void set(const std::u16string& key, const std::u16string& value);
  bool lookup(const std::u16string& key, std::u16string& value) const override;
  bool empty() const { return values_.empty(); }

 private:
  std::map<std::u16string, std::u16string> values_;
};

// Section "intl" of the ini file named by ZR_INTL_PROFILE (UTF-8). A missing
// variable or file gives an empty table.
std::unique_ptr<KeyTable> readProfileSource();
// The same from ini text already open.
std::unique_ptr<KeyTable> readProfileText(std::istream& in);
// The keys derived from a locale's data, or from the process locale when
// locale is null. The neutral "C" locale yields an empty table.
std::unique_ptr<KeyTable> readLocaleSource(const char* locale);

}  // namespace zr::intl

#endif
