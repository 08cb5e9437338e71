#include "lomarind/utils/quoting.h"

#include <utf8proc.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "lomarind/utils/utf8.h"

namespace lomarind::quoting {
namespace {

// digits[0].digits[1...] x 10^exponent laid out as Python's repr lays out a
// float: positionally for 1e-4 <= |value| < 1e16, else with an exponent of
// at least two digits.
std::string python_layout(const std::string& digits, int exponent) {
  std::string out;
  const auto size = static_cast<int>(digits.size());
  if (exponent < -4 || exponent >= 16) {
    out.append(digits, 0, 1);
    if (size > 1) out.append(".").append(digits, 1);
    char exponent_text[16];
    std::snprintf(exponent_text, sizeof exponent_text, "e%c%02d", exponent < 0 ? '-' : '+',
                  std::abs(exponent));
    return out.append(exponent_text);
  }
  if (exponent < 0) {
    return out.append("0.").append(static_cast<std::size_t>(-exponent - 1), '0').append(digits);
  }
  const auto whole = static_cast<std::size_t>(exponent + 1);
  if (whole >= digits.size()) return out.append(digits).append(whole - digits.size(), '0') + ".0";
  return out.append(digits, 0, whole).append(".").append(digits, whole);
}

}  // namespace

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

std::string float_repr(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  // The shortest round-trip digits, as "-d.ddde+XX"; Python's repr picks the
  // same digits and only lays them out its own way.
  char buffer[64];
  const auto written =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific);
  std::string_view text(buffer, static_cast<std::size_t>(written.ptr - buffer));
  const bool negative = text.front() == '-';
  if (negative) text.remove_prefix(1);
  const std::size_t e = text.find('e');
  std::string digits;
  for (const char c : text.substr(0, e)) {
    if (c != '.') digits += c;
  }
  int exponent = 0;
  std::from_chars(text.data() + e + 2, text.data() + text.size(), exponent);
  if (text[e + 1] == '-') exponent = -exponent;
  std::string out = negative ? "-" : "";
  return out.append(python_layout(digits, exponent));
}

}  // namespace lomarind::quoting
