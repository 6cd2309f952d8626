// save_common.h - what every format class shares: column bookkeeping, the
// text of values, and writes to the state's output.
#ifndef ZR_EXPORT_SAVE_COMMON_H
#define ZR_EXPORT_SAVE_COMMON_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "zrsave.h"

namespace zr::save {

// Room for the longest value text: 299 units of date-time, a separator of
// up to 16 units and the digits of the fraction.
constexpr size_t kValueUnits = 340;

// The separator of fractions of a second outside the text class, the
// "sTime" setting, and the text class's, the decimal character.
std::u16string_view timeSeparator();
std::u16string_view decimalSeparator();

// The text of a cell of type 2 to 6 by the state's masks, with the fraction
// of a second behind the separator for types 3 and 5; empty for a null
// value or another type. Returns the units written to out.
size_t formatValue(const ZR_SAVE_STATE* s, uint8_t type, const void* value, std::u16string_view fraction,
                   char16_t* out);

// Records a column at currentColumn: width, type, a pool copy of the name,
// and the width added to totalWidth. Does not advance.
bool storeColumn(ZR_SAVE_STATE* s, const char16_t* name, uint32_t width, uint8_t type);
// Moves currentColumn on; true when that completed the column list, which
// sets it back to 0.
bool nextColumn(ZR_SAVE_STATE* s);
// Moves to the next cell; true when that completed a row, which counts it.
bool nextCell(ZR_SAVE_STATE* s);

// Writes through the state's output in the text form; false once a write
// failed.
bool put(ZR_SAVE_STATE* s, std::u16string_view text, uint32_t encoding);
// The same in the byte form.
bool putBytes(ZR_SAVE_STATE* s, const void* data, size_t bytes);

// A state whose output is the byte form of the writer.
ZR_SAVE_STATE* beginBytes(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows, int32_t columns,
                          uint32_t saveFlags);
// Closes without a flush and frees the state, for a Begin that failed.
void abandon(ZR_SAVE_STATE* s);

// The text in the process code page; a character the code page lacks
// becomes "?".
std::string codePageBytes(std::u16string_view text);

// Closes the output with a flush (without one after a failure) and frees
// the state; 1 when everything reached the file.
int finish(ZR_SAVE_STATE* s, uint32_t encoding, bool bytes);

inline size_t unitLength(const char16_t* text) { return text ? std::char_traits<char16_t>::length(text) : 0; }

}  // namespace zr::save

#endif
