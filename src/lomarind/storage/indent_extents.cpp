#include "lomarind/storage/indent_extents.h"

#include <algorithm>

namespace lomarind::repository_changes {
namespace {

// A declaration is looked for at most this far above a line that
// continues it.
constexpr std::uint32_t kMaxStatementLines = 10000;
constexpr std::uint32_t kTabStop = 8;  // as Python reads a tab

}  // namespace

// One pass with a stack of the statements whose blocks are still open: a
// statement closes every open one indented as deep or deeper.
IndentExtents::IndentExtents(std::string_view text, const LexedSource& source)
    : text_(text), source_(source), block_end_(source.lines.size(), 0) {
  struct Open {
    std::uint32_t indentation;
    std::uint32_t line;
  };
  std::vector<Open> open;
  std::uint32_t last_code = 0;
  for (std::uint32_t line = 0; line < source.lines.size(); ++line) {
    if (!source.lines[line].has_code()) continue;
    if (starts_statement(line)) {
      const std::uint32_t indentation = this->indentation(source.lines[line]);
      for (; !open.empty() && open.back().indentation >= indentation; open.pop_back()) {
        block_end_[open.back().line] = last_code;
      }
      open.push_back({indentation, line});
    }
    last_code = line;
  }
  for (const Open& statement : open) block_end_[statement.line] = last_code;
}

std::uint32_t IndentExtents::end_of(std::uint32_t line) const {
  const auto& lines = source_.lines;
  if (line >= lines.size() || !lines[line].has_code()) return line;
  std::uint32_t start = line;
  while (start > 0 && line - start < kMaxStatementLines &&
         !(lines[start].has_code() && starts_statement(start))) {
    --start;
  }
  if (!lines[start].has_code() || !starts_statement(start)) return line;
  return std::max(line, block_end_[start]);
}

bool IndentExtents::starts_statement(std::uint32_t index) const {
  const SourceLine& line = source_.lines[index];
  if (line.starts_in_string || line.depth > 0) return false;
  if (index == 0) return true;
  const SourceLine& above = source_.lines[index - 1];
  return !(above.has_code() && !above.code_ends_in_string && text_[above.code_end - 1] == '\\');
}

std::uint32_t IndentExtents::indentation(const SourceLine& line) const {
  std::uint32_t width = 0;
  for (std::uint32_t at = line.begin; at < line.code_begin; ++at) {
    width = text_[at] == '\t' ? (width / kTabStop + 1) * kTabStop : width + 1;
  }
  return width;
}

}  // namespace lomarind::repository_changes
