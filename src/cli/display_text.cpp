#include "cli/display_text.h"

#include <fmt/format.h>
#include <utf8proc.h>

#include "lomarind/utils/quoting.h"
#include "lomarind/utils/utf8.h"

namespace lomarind::cli {

namespace {

// How a byte that is not UTF-8 is shown: \xhh on a terminal, and on a page
// as the JSON answer shows it, \udcXX, so that a name reads the same in both.
enum class BadByte { kHex, kSurrogate };

std::string escape(std::string_view text, bool keep_line_breaks, BadByte bad_byte) {
  std::string out;
  out.reserve(text.size());
  std::size_t pos = 0;
  while (pos < text.size()) {
    const auto cp = utf8::decode_utf8(text, pos);
    if (!cp) {
      const auto byte = static_cast<unsigned char>(text[pos]);
      out += bad_byte == BadByte::kHex ? fmt::format("\\x{:02x}", byte)
                                       : fmt::format("\\udc{:02x}", byte);
      ++pos;
      continue;
    }
    const bool kept = keep_line_breaks && (cp->value == U'\n' || cp->value == U'\t');
    if (kept || quoting::is_printable(cp->value)) {
      out.append(text.substr(pos, cp->length));
    } else {
      quoting::append_escaped(out, cp->value);
    }
    pos += cp->length;
  }
  return out;
}

}  // namespace

std::string terminal_text(std::string_view text) { return escape(text, false, BadByte::kHex); }

std::string terminal_message(std::string_view text) { return escape(text, true, BadByte::kHex); }

std::string page_text(std::string_view text) { return escape(text, false, BadByte::kSurrogate); }

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
