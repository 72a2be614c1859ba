// Two rewritings of SQL text: MySQL's string escapes undone, and the words true and false made numbers.
#pragma once

#include "base/bytes.h"

namespace kzv::sql {

// Undoes the backslash escapes of MySQL string literals (MySQL reference manual, String Literals): \0 \' \"
// \b \n \r \t \Z \\ \% \_, case-sensitive. A backslash before any other byte is copied with that byte, which
// begins no escape of its own; one at the very end is copied. The output needs as many bytes as the input;
// returns the number written.
std::size_t decode_mysql(ByteView input, ByteBuffer output);

// Writes 1 and 0 for the words true and false, of either case, outside quotes. A word stands between
// delimiters or the ends of the text: bytes up to 32, bytes from 128 on, and ( ) , ; and nothing else. Quotes
// are ' and ", without escapes; an unclosed one lasts to the end. The output needs as many bytes as the
// input; returns the number written.
std::size_t replace_booleans(ByteView sql, ByteBuffer output);

}  // namespace kzv::sql
