#include "lomarind/workers/git_history/source.h"

#include <vector>

#include "lomarind/workers/git_history/git_history.h"

namespace lomarind::git_history::detail {
namespace {

// The anchor of a POSIX path: "/" for an absolute one, "//" kept as its own
// anchor, "" for a relative one.
std::string_view anchor_of(std::string_view path) {
  if (path.starts_with("//") && !path.starts_with("///")) return path.substr(0, 2);
  if (path.starts_with("/")) return path.substr(0, 1);
  return {};
}

// The components of the path, with empty and "." ones dropped.
std::vector<std::string_view> components_of(std::string_view path) {
  std::vector<std::string_view> parts;
  while (!path.empty()) {
    const std::size_t slash = path.find('/');
    const std::string_view part = path.substr(0, slash);
    if (!part.empty() && part != ".") parts.push_back(part);
    if (slash == std::string_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  return parts;
}

}  // namespace

std::string parent_directory(std::string_view path) {
  const std::string_view anchor = anchor_of(path);
  std::vector<std::string_view> parts = components_of(path);
  if (!parts.empty()) parts.pop_back();
  std::string parent(anchor);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) parent += '/';
    parent += parts[i];
  }
  return parent.empty() ? "." : parent;
}

bool is_source_path(const SourceFilters& filters, std::string_view path,
                    const std::optional<std::string>& language) {
  if (filters.is_test_path(path)) return false;
  if (language) return filters.in_source_languages(*language);
  if (!filters.is_source_extension(path)) return false;
  return !filters.should_skip_path(parent_directory(path));
}

bool is_source(const SourceFilters& filters, const std::string& path,
               const repository_changes::IndexedPaths& facts) {
  const auto fact = facts.find(path);
  if (fact == facts.end()) return is_source_path(filters, path, std::nullopt);
  return is_source_path(filters, path, fact->second.language);
}

}  // namespace lomarind::git_history::detail

namespace lomarind::git_history {

bool GitHistory::is_source_path(std::string_view path,
                                const std::optional<std::string>& language) const {
  return detail::is_source_path(n_.filters, path, language);
}

}  // namespace lomarind::git_history
