#include "lomarind/utils/utf8.h"

namespace lomarind::utf8 {

namespace {

bool is_continuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// The allowed range of the second byte, which rules out overlong forms,
// surrogates and values past U+10FFFF in one check.
struct SecondByteRange {
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
};

SecondByteRange second_byte_range(unsigned char lead) {
  switch (lead) {
    case 0xE0:
      return {0xA0, 0xBF};
    case 0xED:
      return {0x80, 0x9F};
    case 0xF0:
      return {0x90, 0xBF};
    case 0xF4:
      return {0x80, 0x8F};
    default:
      return {};
  }
}

}  // namespace

std::optional<CodePoint> decode_utf8(std::string_view text, std::size_t pos) {
  const auto lead = static_cast<unsigned char>(text[pos]);
  if (lead < 0x80) return CodePoint{lead, 1};
  std::size_t length;
  char32_t value;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    value = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    value = lead & 0x0F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    value = lead & 0x07;
  } else {
    return std::nullopt;
  }
  if (text.size() - pos < length) return std::nullopt;
  const SecondByteRange range = second_byte_range(lead);
  const auto second = static_cast<unsigned char>(text[pos + 1]);
  if (second < range.low || second > range.high) return std::nullopt;
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[pos + i]);
    if (!is_continuation(byte)) return std::nullopt;
    value = (value << 6) | (byte & 0x3F);
  }
  return CodePoint{value, length};
}

bool is_utf8(std::string_view text) {
  for (std::size_t pos = 0; pos < text.size();) {
    const std::optional<CodePoint> cp = decode_utf8(text, pos);
    if (!cp) return false;
    pos += cp->length;
  }
  return true;
}

}  // namespace lomarind::utf8
