// The quoted name goes into messages on a terminal: whatever the bytes, it
// is valid UTF-8 without a control character.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "lomarind/utils/quoting.h"
#include "lomarind/utils/utf8.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view name(reinterpret_cast<const char*>(data), size);
  const std::string quoted = lomarind::quoting::quoted_name(name);
  if (!lomarind::utf8::is_utf8(quoted)) std::abort();
  for (const char c : quoted) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) std::abort();
  }
  return 0;
}
