#pragma once

#include <string>
#include <string_view>

namespace glimto {

// Text of window properties as valid UTF-8. All of these end at the first zero byte.

// ISO 8859-1, the encoding of the property type STRING.
std::string utf8FromLatin1(std::string_view bytes);

// The property type UTF8_STRING. Bytes that are not UTF-8 become U+FFFD; a character that was only begun
// where the text was cut is left out.
enum class TextEnd { whole, cut };
std::string utf8FromUTF8String(std::string_view bytes, TextEnd end);

// The property type COMPOUND_TEXT (Compound Text Encoding, X Consortium Standard): ISO 8859 sets,
// Chinese, Japanese and Korean sets, UTF-8 and extended segments. A character of a set that the
// system cannot convert becomes U+FFFD.
std::string utf8FromCompoundText(std::string_view bytes);

} // namespace glimto
