// A repository's config reaches the parser as it is: whatever the bytes,
// parsing ends, and every key is one git could have read (a letter, then
// lower-case letters, digits and dashes).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "lomarind/git/git_config_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const lomarind::git_utils::ConfigEntry& entry :
       lomarind::git_utils::parse_git_config(text)) {
    if (entry.key.empty() || entry.key.front() < 'a' || entry.key.front() > 'z') std::abort();
    for (const char c : entry.key) {
      if (!((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-')) std::abort();
    }
  }
  return 0;
}
