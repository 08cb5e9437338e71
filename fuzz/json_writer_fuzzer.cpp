// The JSON writer: any bytes give a string literal that a JSON reader
// accepts, and valid UTF-8 reads back unchanged. nlohmann refuses the lone
// surrogate escapes (\udcXX) that stand for other bytes, which Python reads;
// read with \u00XX in their place, the literal must still be JSON.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "cli/json_writer.h"
#include "lomarind/utils/utf8.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string literal = lomarind::cli::json_string(text);
  if (lomarind::utf8::is_utf8(text)) {
    const nlohmann::json read = nlohmann::json::parse(literal, nullptr, false);
    if (!read.is_string() || read.get<std::string>() != text) std::abort();
    return 0;
  }
  // An escaped backslash followed by "udc" may change too; it stays JSON.
  for (std::size_t at = 0; (at = literal.find("\\udc", at)) != std::string::npos;) {
    literal.replace(at, 4, "\\u00");
  }
  if (!nlohmann::json::parse(literal, nullptr, false).is_string()) std::abort();
  return 0;
}
