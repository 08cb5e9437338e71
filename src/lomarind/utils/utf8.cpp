#include "lomarind/utils/utf8.h"

#include <utf8proc.h>

namespace lomarind::utf8 {

std::optional<CodePoint> decode_utf8(std::string_view text, std::size_t pos) {
  utf8proc_int32_t value = 0;
  // utf8proc refuses overlong forms, surrogates, values past U+10FFFF and
  // cut-off sequences.
  const utf8proc_ssize_t length =
      utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data() + pos),
                       static_cast<utf8proc_ssize_t>(text.size() - pos), &value);
  if (length <= 0 || value < 0) return std::nullopt;
  return CodePoint{static_cast<char32_t>(value), static_cast<std::size_t>(length)};
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
