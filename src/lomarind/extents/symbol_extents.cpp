#include "lomarind/extents/symbol_extents.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "lomarind/extents/block_extents.h"
#include "lomarind/extents/indent_extents.h"
#include "lomarind/extents/source_lexer.h"
#include "lomarind/extents/source_syntax.h"
#include "lomarind/utils/unique_fd.h"

namespace lomarind::repository_changes {
namespace {

template <typename Extents>
std::vector<std::int64_t> ends_by(Extents& extents, std::size_t line_count,
                                  std::span<const std::int64_t> start_lines) {
  std::vector<std::int64_t> ends;
  ends.reserve(start_lines.size());
  for (const std::int64_t start : start_lines) {
    if (start < 1 || static_cast<std::uint64_t>(start) > line_count) {
      ends.push_back(start);
      continue;
    }
    const std::uint32_t last = extents.end_of(static_cast<std::uint32_t>(start - 1));
    ends.push_back(std::max<std::int64_t>(start, std::int64_t{last} + 1));
  }
  return ends;
}

}  // namespace

bool derives_end_lines(std::string_view language) {
  return syntax_for_language(language) != nullptr;
}

std::vector<std::int64_t> derive_end_lines(std::string_view text, std::string_view language,
                                           std::span<const std::int64_t> start_lines) {
  const SourceSyntax* syntax = syntax_for_language(language);
  if (syntax == nullptr || text.size() > kMaxSourceBytes) {
    return {start_lines.begin(), start_lines.end()};
  }
  const LexedSource source = lex_source(text, *syntax);
  if (syntax->blocks == BlockStyle::kIndentation) {
    const IndentExtents extents(text, source);
    return ends_by(extents, source.lines.size(), start_lines);
  }
  BlockExtents extents(text, source, *syntax);
  return ends_by(extents, source.lines.size(), start_lines);
}

std::optional<std::string> read_source_file(const std::filesystem::path& repo_root,
                                            const std::string& path) {
  const UniqueFd file(
      ::open((repo_root / path).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat st;
  if (file.get() < 0 || ::fstat(file.get(), &st) != 0 || !S_ISREG(st.st_mode) ||
      static_cast<std::uint64_t>(st.st_size) > kMaxSourceBytes) {
    return std::nullopt;
  }
  std::string text(static_cast<std::size_t>(st.st_size), '\0');
  std::size_t size = 0;
  while (size < text.size()) {
    const ssize_t got = ::read(file.get(), text.data() + size, text.size() - size);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) break;  // shrunk since: what is there is what ctags read
    size += static_cast<std::size_t>(got);
  }
  text.resize(size);
  return text;
}

}  // namespace lomarind::repository_changes
