#include "cli/display_text.h"

#include <fmt/format.h>
#include <utf8proc.h>

#include <vector>

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

std::string quoted_text(std::string_view text) { return fmt::format("'{}'", terminal_text(text)); }

std::string shortened_middle(std::string_view text, std::size_t width) {
  if (display_width(text) <= width) return std::string(text);
  std::vector<std::size_t> starts;  // where each character begins
  for (std::size_t pos = 0; pos < text.size();) {
    starts.push_back(pos);
    const auto cp = utf8::decode_utf8(text, pos);
    pos += cp ? cp->length : 1;
  }
  starts.push_back(text.size());
  // The longest start in half the room, then the longest end in the rest.
  std::size_t head = 0;
  while (head + 1 < starts.size() &&
         display_width(text.substr(0, starts[head + 1])) <= (width - 1) / 2) {
    ++head;
  }
  const std::string_view start = text.substr(0, starts[head]);
  const std::size_t room = width - 1 - display_width(start);
  std::size_t tail = starts.size() - 1;
  while (tail > head && display_width(text.substr(starts[tail - 1])) <= room) --tail;
  return std::string(start) + "\u2026" + std::string(text.substr(starts[tail]));
}

}  // namespace lomarind::cli
