#include "lomarind/utils/quoting.h"

#include <utf8proc.h>

#include <cstdint>
#include <cstdio>

#include "lomarind/utils/utf8.h"

namespace lomarind::quoting {
bool is_printable(char32_t cp) {
  if (cp == U' ') return true;
  switch (utf8proc_category(static_cast<utf8proc_int32_t>(cp))) {
    case UTF8PROC_CATEGORY_CN:
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_CF:
    case UTF8PROC_CATEGORY_CS:
    case UTF8PROC_CATEGORY_CO:
    case UTF8PROC_CATEGORY_ZS:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
      return false;
    default:
      return true;
  }
}

void append_escaped(std::string& out, char32_t cp) {
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
  char buffer[16];
  if (cp < 0x100) {
    std::snprintf(buffer, sizeof buffer, "\\x%02x", static_cast<unsigned>(cp));
  } else if (cp < 0x10000) {
    std::snprintf(buffer, sizeof buffer, "\\u%04x", static_cast<unsigned>(cp));
  } else {
    std::snprintf(buffer, sizeof buffer, "\\U%08x", static_cast<unsigned>(cp));
  }
  out += buffer;
}

std::string escaped_text(std::string_view text, const Escaping& how) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t pos = 0; pos < text.size();) {
    const std::optional<utf8::CodePoint> cp = utf8::decode_utf8(text, pos);
    if (!cp) {
      const auto byte = static_cast<unsigned char>(text[pos]);
      append_escaped(out, how.bad_byte == BadByte::kHex ? byte : 0xDC00 + byte);
      ++pos;
      continue;
    }
    const char32_t c = cp->value;
    if (how.quote != 0 && (c == U'\\' || c == static_cast<char32_t>(how.quote))) {
      out += '\\';
      out += static_cast<char>(c);
    } else if (is_printable(c) || (how.keep_line_breaks && (c == U'\n' || c == U'\t'))) {
      out.append(text.substr(pos, cp->length));
    } else {
      append_escaped(out, c);
    }
    pos += cp->length;
  }
  return out;
}

std::string quoted_name(std::string_view text) {
  const bool has_single = text.find('\'') != std::string_view::npos;
  const bool has_double = text.find('"') != std::string_view::npos;
  const char quote = has_single && !has_double ? '"' : '\'';
  return quote + escaped_text(text, {.quote = quote}) + quote;
}

std::string quoted_name(const std::optional<std::string>& text) {
  return text ? quoted_name(std::string_view(*text)) : std::string("None");
}

}  // namespace lomarind::quoting
