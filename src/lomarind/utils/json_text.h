// JSON string literals from raw bytes, for every place that writes JSON
// text itself: the program's answers and the index's query parameters.
#pragma once

#include <string>
#include <string_view>

namespace lomarind::json_text {

// What happens to a byte that is not part of well-formed UTF-8.
enum class NonUtf8 {
  kKeep,             // copied as it is (SQLite's JSON reader passes it through)
  kSurrogateEscape,  // written \udcXX, the surrogate a Python host decodes it to
};

// Appends `text` as a JSON string literal, quotes included: the quote, the
// backslash and control characters escaped, everything else as `bytes` says.
void append_string(std::string& out, std::string_view text, NonUtf8 bytes);

}  // namespace lomarind::json_text
