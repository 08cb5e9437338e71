// Writes a value as a quoted literal for messages: single quotes unless the
// text holds a single quote and no double quote, backslash escapes for the
// backslash, the enclosing quote and every character that does not print.
// Printable characters beyond ASCII stay; a byte that is not valid UTF-8 is
// written \udcXX. An absent value is written None.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lomarind::quoting {

// Whether a character prints: not a control, format, surrogate, private-use
// or unassigned character, nor a separator other than the ASCII space.
bool is_printable(char32_t cp);
// Appends \t, \n or \r for those three, else \xhh below 0x100, \uhhhh below
// 0x10000 and \Uhhhhhhhh above, with lower-case digits.
void append_escaped(std::string& out, char32_t cp);

// How a byte that is not UTF-8 is written: \xhh, as a terminal shows bytes,
// or \udcXX, the surrogate a Python host decodes it to (the answers' form).
enum class BadByte { kHex, kSurrogate };

struct Escaping {
  char quote = 0;                 // when set, also escape it and the backslash
  bool keep_line_breaks = false;  // pass \n and \t through unchanged
  BadByte bad_byte = BadByte::kSurrogate;
};

// `text` with every character that does not print escaped by
// append_escaped, and what `how` adds. Printable characters pass unchanged.
std::string escaped_text(std::string_view text, const Escaping& how);

std::string quoted_name(std::string_view text);
std::string quoted_name(const std::optional<std::string>& text);
inline std::string quoted_name(const std::string& text) {
  return quoted_name(std::string_view(text));
}
inline std::string quoted_name(const char* text) { return quoted_name(std::string_view(text)); }

}  // namespace lomarind::quoting
