#include "cli/display_text.h"

#include <fmt/format.h>
#include <utf8proc.h>

#include "cli/utf8.h"

namespace lomarind::cli {

namespace {

bool prints(char32_t cp) {
  switch (utf8proc_category(static_cast<utf8proc_int32_t>(cp))) {
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_CF:
    case UTF8PROC_CATEGORY_CS:
    case UTF8PROC_CATEGORY_CO:
    case UTF8PROC_CATEGORY_CN:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
      return false;
    case UTF8PROC_CATEGORY_ZS:
      return cp == U' ';
    default:
      return true;
  }
}

void append_escape(std::string& out, char32_t cp) {
  switch (cp) {
    case U'\t':
      out += "\\t";
      return;
    case U'\n':
      out += "\\n";
      return;
    case U'\r':
      out += "\\r";
      return;
    default:
      break;
  }
  const auto value = static_cast<std::uint32_t>(cp);
  if (value < 0x100) {
    out += fmt::format("\\x{:02x}", value);
  } else if (value < 0x10000) {
    out += fmt::format("\\u{:04x}", value);
  } else {
    out += fmt::format("\\U{:08x}", value);
  }
}

std::string escape(std::string_view text, bool keep_line_breaks) {
  std::string out;
  out.reserve(text.size());
  std::size_t pos = 0;
  while (pos < text.size()) {
    const auto cp = decode_utf8(text, pos);
    if (!cp) {
      out += fmt::format("\\x{:02x}", static_cast<unsigned char>(text[pos]));
      ++pos;
      continue;
    }
    const bool kept = keep_line_breaks && (cp->value == U'\n' || cp->value == U'\t');
    if (kept || prints(cp->value)) {
      out.append(text.substr(pos, cp->length));
    } else {
      append_escape(out, cp->value);
    }
    pos += cp->length;
  }
  return out;
}

}  // namespace

std::string terminal_text(std::string_view text) { return escape(text, false); }

std::string terminal_message(std::string_view text) { return escape(text, true); }

std::size_t display_width(std::string_view text) {
  std::size_t width = 0;
  std::size_t pos = 0;
  while (pos < text.size()) {
    const auto cp = decode_utf8(text, pos);
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

}  // namespace lomarind::cli
