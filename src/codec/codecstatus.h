// The status numbers of the image codec.
//
// Codec functions return a std::int32_t, because the separated plane driver packs three of these numbers into one
// result; the names below are what a single number means. The numbers are fixed: callers and traces know them.
// Nothing here has state, so any thread may use it.
#pragma once

#include <cstdint>

namespace kesto {

enum CodecStatus : std::int32_t {
  CODEC_OK = 0,
  CODEC_NULL_POINTER = 1,               // a null pointer, overlapping planes, or no memory in the interleaved driver
  CODEC_BAD_SIZE = 2,                   // sizes that do not fit each other, or a separated plane that was cut short
  CODEC_UNSUPPORTED = 4,                // a value that the function does not take
  CODEC_NO_MEMORY = 15,                 // no memory in the separated driver
  CODEC_ODD_RESTART_INTERVAL = 69,      // a restart marker would fall between the two luma blocks of a 4:2:2 unit
  CODEC_OUTPUT_FULL = 1312,             // the output buffer has no room for the next byte
  CODEC_INPUT_END = 1313,               // reading: the data ended, or a marker came, before the symbol did
  CODEC_MAGNITUDE = 1314,               // a coefficient beyond 2047
  CODEC_NO_SUCH_CODE = 1315,            // reading: the bits begin no code of the table
  CODEC_DC_SYMBOL_RANGE = 1537,         // a DC symbol above 15 in a code list
  CODEC_TOO_MANY_AC_CODES = 1538,       // more than 162 AC codes in a code list
  CODEC_INVALID_SYMBOL = 1539,          // a symbol that has no code, or that code lists define twice
  CODEC_DC_SIZE = 1540,                 // a DC size above 11
  CODEC_NO_DC_COUNTS = 1542,            // null DC counts
  CODEC_NO_AC_COUNTS = 1543,            // null AC counts
  CODEC_NO_AC_SYMBOLS = 1544,           // null AC symbols
  CODEC_NO_CODE_POINTER = 1545,         // null code out-parameter
  CODEC_NO_CODE_LENGTH_POINTER = 1546,  // null length out-parameter
};

}  // namespace kesto
