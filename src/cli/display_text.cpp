#include "cli/display_text.h"

#include <fmt/format.h>
#include <utf8proc.h>

#include "lomarind/utils/quoting.h"
#include "lomarind/utils/utf8.h"

namespace lomarind::cli {

using quoting::BadByte;

std::string terminal_text(std::string_view text) {
  return quoting::escaped_text(text, {.bad_byte = BadByte::kHex});
}

std::string terminal_message(std::string_view text) {
  return quoting::escaped_text(text, {.keep_line_breaks = true, .bad_byte = BadByte::kHex});
}

// A byte that is not UTF-8 reads on a page as in the JSON answer, so that a
// name reads the same in both.
std::string page_text(std::string_view text) {
  return quoting::escaped_text(text, {.bad_byte = BadByte::kSurrogate});
}

std::string program_lines(std::string_view head, std::string_view message) {
  std::string out;
  std::string_view rest = message;
  do {
    const std::size_t end = rest.find('\n');
    out += "lomarind: ";
    if (out.size() == 10) out += head;
    out += terminal_message(rest.substr(0, end));
    out += '\n';
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  } while (!rest.empty());
  return out;
}

std::size_t display_width(std::string_view text) {
  std::size_t width = 0;
  std::size_t pos = 0;
  while (pos < text.size()) {
    const auto cp = utf8::decode_utf8(text, pos);
    if (!cp) {
      ++width;
      ++pos;
      continue;
    }
    const int w = utf8proc_charwidth(static_cast<utf8proc_int32_t>(cp->value));
    width += w > 0 ? static_cast<std::size_t>(w) : 0;
    pos += cp->length;
  }
  return width;
}

std::string quoted_text(std::string_view text) { return "'" + terminal_text(text) + "'"; }

}  // namespace lomarind::cli
