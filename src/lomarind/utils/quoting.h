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

std::string quoted_name(std::string_view text);
std::string quoted_name(const std::optional<std::string>& text);
inline std::string quoted_name(const std::string& text) { return quoted_name(std::string_view(text)); }
inline std::string quoted_name(const char* text) { return quoted_name(std::string_view(text)); }

}  // namespace lomarind::quoting
