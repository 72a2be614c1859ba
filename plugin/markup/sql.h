// Two conversions of SQL text: MySQL's backslash escapes decoded, and the words true and false as numbers.
#pragma once

#include "base/bytes.h"

namespace kzv::sql {

// Decodes the backslash escapes of MySQL string literals (MySQL reference manual, String Literals): \0 \' \"
// \b \n \r \t \Z \\ \% \_, case-sensitive. A backslash before any other byte, or at the very end, is copied.
// The output holds as many bytes as the input; returns the number written.
std::size_t decode_mysql(ByteView input, ByteBuffer output);

// Whether that would copy all of it.
bool is_unchanged(ByteView input);

// Writes 1 and 0 for the words true and false, of either case, outside quotes. A word begins and ends at
// a delimiter or an end of the text; delimiters are the bytes up to 32, those from 128 on, and ( ) , ; alone.
// Quotes are ' and ", without escapes; an unclosed one lasts to the end. The output holds as many bytes as
// the input; returns the number written.
std::size_t replace_booleans(ByteView sql, ByteBuffer output);

}  // namespace kzv::sql
