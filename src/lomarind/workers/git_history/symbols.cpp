#include "lomarind/workers/git_history/symbols.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "lomarind/workers/git_history/git_access.h"
#include "lomarind/workers/git_history/git_history.h"

namespace lomarind::git_history {
namespace {

// Position of each path's entry in an insertion-ordered list of pairs, so
// lookups stay constant-time while the list keeps the order.
template <typename Entries>
std::unordered_map<std::string_view, std::size_t> positions_of(const Entries& entries) {
  std::unordered_map<std::string_view, std::size_t> positions;
  positions.reserve(entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i) positions.emplace(entries[i].first, i);
  return positions;
}

// Puts `spans` under `path`: an existing entry keeps its place and takes
// the new value, a new path goes to the end.
void store_spans(git_utils::LineSpansByPath& map, std::unordered_map<std::string, std::size_t>& at,
                 const std::string& path, std::vector<git_utils::LineSpan> spans) {
  const auto [it, inserted] = at.try_emplace(path, map.size());
  if (inserted) {
    map.emplace_back(path, std::move(spans));
  } else {
    map[it->second].second = std::move(spans);
  }
}

}  // namespace

git_utils::LineSpansByPath GitHistory::changed_line_spans(
    const std::filesystem::path& repo_root, const std::optional<std::string>& base_commit,
    const std::string& head_commit, std::span<const git_utils::FileChange> files,
    const ChangedLineSpansOptions& options) const {
  git_utils::LineSpansByPath spans;
  std::unordered_map<std::string, std::size_t> at;
  std::vector<std::string> edited;
  for (const git_utils::FileChange& change : files) {
    if (change.status == "deleted") continue;
    if (!base_commit || change.status == "added" || change.status == "copied") {
      store_spans(spans, at, change.path, {detail::kWholeFile});
      continue;
    }
    edited.push_back(change.path);
    // Both sides of a rename, so the diff can pair them.
    if (change.old_path) edited.push_back(*change.old_path);
  }
  if (edited.empty() || !base_commit) return spans;
  git_utils::LineSpansByPath diffed = detail::reading_git(n_.logger, [&] {
    return n_.git.diff_line_spans(repo_root, *base_commit, head_commit, options.merge_base, edited);
  });
  for (auto& [path, file_spans] : diffed) store_spans(spans, at, path, std::move(file_spans));
  return spans;
}

std::vector<repository_changes::LineRange> line_ranges(const git_utils::LineSpansByPath& spans,
                                                       std::span<const std::string> paths) {
  const auto positions = positions_of(spans);
  std::vector<repository_changes::LineRange> ranges;
  for (const std::string& path : paths) {
    const auto found = positions.find(path);
    if (found == positions.end()) continue;
    for (const git_utils::LineSpan& span : spans[found->second].second) {
      ranges.push_back({path, span.start, span.end});
    }
  }
  return ranges;
}

SymbolsByPath GitHistory::touched_symbols(const repository_changes::Repository& repository,
                                          const std::filesystem::path& repo_root,
                                          const std::optional<std::string>& base_commit,
                                          const std::string& head_commit,
                                          std::span<const git_utils::FileChange> files,
                                          const TouchedSymbolsOptions& options) const {
  const git_utils::LineSpansByPath spans = changed_line_spans(
      repo_root, base_commit, head_commit, files, {.merge_base = options.merge_base});
  std::vector<std::string> paths;
  paths.reserve(files.size());
  for (const git_utils::FileChange& change : files) paths.push_back(change.path);
  const std::vector<repository_changes::SymbolOnLines> found = n_.index.symbols_on_lines(
      repository.db, line_ranges(spans, paths), CHANGE_KINDS, options.per_file);

  SymbolsByPath symbols;
  std::unordered_map<std::string, std::size_t> at;
  for (const std::string& path : paths) {
    if (at.try_emplace(path, symbols.size()).second)
      symbols.emplace_back(path, std::vector<SymbolRow>{});
  }
  for (const repository_changes::SymbolOnLines& symbol : found) {
    const auto [it, inserted] = at.try_emplace(symbol.path, symbols.size());
    if (inserted) symbols.emplace_back(symbol.path, std::vector<SymbolRow>{});
    symbols[it->second].second.push_back(symbol_row(symbol));
  }
  return symbols;
}

namespace detail {

namespace {

template <typename Row>
void attach_to(std::vector<Row>& rows, const SymbolsByPath& symbols) {
  const auto positions = positions_of(symbols);
  for (Row& row : rows) {
    const auto found = positions.find(row.change.path);
    row.symbols =
        found == positions.end() ? std::vector<SymbolRow>{} : symbols[found->second].second;
  }
}

}  // namespace

void attach_symbols(std::vector<DiffRow>& rows, const SymbolsByPath& symbols) {
  attach_to(rows, symbols);
}

void attach_symbols(std::vector<HistoryRow>& rows, const SymbolsByPath& symbols) {
  attach_to(rows, symbols);
}

}  // namespace detail
}  // namespace lomarind::git_history
