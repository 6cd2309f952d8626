// file_checker.h - an independent reader of library files for the tests.
// It knows only the published layout and shares no code with the library:
// it reports every block that is owned twice or not at all, map bits that
// disagree with ownership, chains that disagree with their records, and
// nodes whose counts, free bytes, name offsets, tails, order or parent
// links are wrong.
#ifndef TESTS_LIBRARY_FILE_CHECKER_H
#define TESTS_LIBRARY_FILE_CHECKER_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace libcheck {

struct Entry {
  uint16_t commentUnits = 0;
  uint32_t timeLow = 0;
  std::vector<uint8_t> chain;  // comment and payload as stored
};

struct Report {
  std::vector<std::string> problems;
  std::map<std::u16string, Entry> entries;
  std::vector<uint8_t> versionArea;
  uint32_t nodes = 0;
  uint32_t blocks = 0;
  // Set when orphans (blocks marked but unowned) are the only accepted fault.
  uint32_t orphans = 0;
};

// With allowOrphans, marked blocks without owner are counted, not reported.
Report check(const std::vector<uint8_t>& file, bool allowOrphans = false);

std::vector<uint8_t> readWholeFile(const std::string& path);
std::string join(const std::vector<std::string>& lines);

}  // namespace libcheck

#endif
