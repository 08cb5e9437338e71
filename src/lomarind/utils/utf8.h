// Strict UTF-8 decoding for writers that must not trust their input: paths
// come from git as raw bytes and need not be valid UTF-8.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace lomarind::utf8 {

struct CodePoint {
  char32_t value = 0;
  std::size_t length = 0;  // bytes it took, 1 to 4
};

// The character that starts at byte `pos` of `text`, or nullopt when the
// bytes there are no well-formed UTF-8 sequence (a stray continuation byte,
// an overlong form, a surrogate, a value past U+10FFFF or a cut-off tail).
// REQUIRES: pos < text.size().
std::optional<CodePoint> decode_utf8(std::string_view text, std::size_t pos);

// Whether every byte of `text` belongs to a well-formed UTF-8 sequence.
bool is_utf8(std::string_view text);

}  // namespace lomarind::utf8
