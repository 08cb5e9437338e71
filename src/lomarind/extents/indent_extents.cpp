#include "lomarind/extents/indent_extents.h"

#include <algorithm>

namespace lomarind::repository_changes {
namespace {

constexpr std::uint32_t kNoStatement = 0xffffffff;
constexpr std::uint32_t kTabStop = 8;  // as Python reads a tab

}  // namespace

// One pass with a stack of the statements whose blocks are still open: a
// statement closes every open one indented as deep or deeper.
IndentExtents::IndentExtents(std::string_view text, const LexedSource& source)
    : text_(text),
      source_(source),
      block_end_(source.lines.size(), 0),
      statement_(source.lines.size(), kNoStatement) {
  struct Open {
    std::uint32_t indentation;
    std::uint32_t line;
  };
  std::vector<Open> open;
  std::uint32_t last_code = 0;
  std::uint32_t statement = kNoStatement;
  for (std::uint32_t line = 0; line < source.lines.size(); ++line) {
    if (!source.lines[line].has_code()) continue;
    if (starts_statement(line)) {
      const std::uint32_t indentation = this->indentation(source.lines[line]);
      for (; !open.empty() && open.back().indentation >= indentation; open.pop_back()) {
        block_end_[open.back().line] = last_code;
      }
      open.push_back({indentation, line});
      statement = line;
    }
    statement_[line] = statement;
    last_code = line;
  }
  for (const Open& opened : open) block_end_[opened.line] = last_code;
}

std::uint32_t IndentExtents::end_of(std::uint32_t line) const {
  if (line >= statement_.size() || statement_[line] == kNoStatement) return line;
  return std::max(line, block_end_[statement_[line]]);
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
