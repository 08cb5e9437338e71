// The -U0 hunk parser: any patch text gives spans that start on line 1 or
// later and do not end before they start, or a GitError.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "lomarind/git/git_parse.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view patch(reinterpret_cast<const char*>(data), size);
  try {
    for (const auto& [path, spans] : lomarind::git_utils::parse_line_spans(patch)) {
      for (const lomarind::git_utils::LineSpan& span : spans) {
        if (span.start < 1 || span.end < span.start) std::abort();
      }
    }
  } catch (const lomarind::git_utils::GitError&) {
  }
  return 0;
}
