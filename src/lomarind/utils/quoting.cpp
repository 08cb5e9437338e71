#include "lomarind/utils/quoting.h"

#include <cstdint>
#include <cstdio>

#include <utf8proc.h>

namespace lomarind::quoting {
namespace {

// Decodes one strictly valid UTF-8 sequence at `pos` (no overlong forms, no
// surrogates, nothing above U+10FFFF). Returns its length, or 0 when the byte
// at `pos` starts no valid sequence.
std::size_t decode_utf8(std::string_view s, std::size_t pos, char32_t* out) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(s[i]); };
  const unsigned char lead = byte(pos);
  if (lead < 0x80) {
    *out = lead;
    return 1;
  }
  std::size_t length;
  char32_t cp;
  char32_t min;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2, cp = lead & 0x1F, min = 0x80;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3, cp = lead & 0x0F, min = 0x800;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4, cp = lead & 0x07, min = 0x10000;
  } else {
    return 0;
  }
  if (pos + length > s.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    const unsigned char c = byte(pos + i);
    if ((c & 0xC0) != 0x80) return 0;
    cp = (cp << 6) | (c & 0x3F);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
  *out = cp;
  return length;
}

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

void append_escape(std::string& out, char32_t cp) {
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

void append_char(std::string& out, char32_t cp, std::string_view raw, char quote) {
  switch (cp) {
    case U'\\':
      out += "\\\\";
      return;
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
  if (cp == static_cast<char32_t>(quote)) {
    out += '\\';
    out += quote;
  } else if (is_printable(cp)) {
    out += raw;
  } else {
    append_escape(out, cp);
  }
}

}  // namespace

std::string quoted_name(std::string_view text) {
  const bool has_single = text.find('\'') != std::string_view::npos;
  const bool has_double = text.find('"') != std::string_view::npos;
  const char quote = has_single && !has_double ? '"' : '\'';
  std::string out(1, quote);
  out.reserve(text.size() + 2);
  for (std::size_t pos = 0; pos < text.size();) {
    char32_t cp = 0;
    const std::size_t length = decode_utf8(text, pos, &cp);
    if (length == 0) {
      // A byte that is not UTF-8 shows as the surrogate escape a host that
      // decodes names with surrogateescape would show.
      append_escape(out, 0xDC00 + static_cast<unsigned char>(text[pos]));
      ++pos;
      continue;
    }
    append_char(out, cp, text.substr(pos, length), quote);
    pos += length;
  }
  out += quote;
  return out;
}

std::string quoted_name(const std::optional<std::string>& text) {
  return text ? quoted_name(std::string_view(*text)) : std::string("None");
}

}  // namespace lomarind::quoting
