// The ctags line reader takes lines of files from a repository: any line is
// a tag whose symbol spans at least its first line, or no tag.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "lomarind/storage/ctags_tags.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view line(reinterpret_cast<const char*>(data), size);
  const auto tag = lomarind::repository_changes::parse_ctags_line(line);
  if (!tag) return 0;
  for (const std::string_view language : {"cpp", "python", "go"}) {
    const auto symbol = lomarind::repository_changes::to_symbol(*tag, language);
    if (symbol.start_line < 1 || symbol.end_line < symbol.start_line) std::abort();
  }
  return 0;
}
