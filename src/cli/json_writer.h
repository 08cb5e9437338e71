// Writes an answer as JSON text, keys in the order the answer holds them.
// Strings are raw bytes: valid UTF-8 passes through unchanged, and every byte
// that is not part of a well-formed UTF-8 sequence is written as the escape
// \udcXX (the surrogate a Python host decodes such a byte to), so the output
// is valid JSON whatever bytes a path holds.
#pragma once

#include <string>
#include <string_view>

#include "lomarind/utils/json.h"

namespace lomarind::cli {

// `value` as one JSON document: two-space indentation, ", " never trailing,
// no final newline. A double always shows a fraction or an exponent (1.0, not
// 1) in its shortest round-trip form; a NaN or infinity is written null.
std::string write_json(const Json& value);

// `text` as a JSON string literal, quotes included.
std::string json_string(std::string_view text);

}  // namespace lomarind::cli
