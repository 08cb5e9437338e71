#include <algorithm>
#include <numeric>
#include <utility>

#include "lomarind/workers/git_history/git_access.h"
#include "lomarind/workers/git_history/git_history.h"

namespace lomarind::git_history {

BranchChanges GitHistory::branch_changes(const std::filesystem::path& repo_root,
                                         const std::optional<std::string>& base_branch,
                                         const std::optional<std::string>& head_branch,
                                         const BranchChangesOptions& options) const {
  return detail::reading_git(n_.logger, [&] {
    detail::ResolvedRef base = detail::resolve_base(n_.git, repo_root, base_branch);
    detail::ResolvedRef head =
        detail::resolve_head(n_.git, repo_root, head_branch, options.head_parameter);
    if (base.commit == head.commit) {
      return BranchChanges(std::move(base.name), std::move(head.name), std::move(base.commit),
                           std::move(head.commit), 0, {});
    }
    std::vector<git_utils::FileChange> files =
        n_.git.diff_file_changes(repo_root, base.commit, head.commit);
    const std::int64_t count = n_.git.count_commits(repo_root, base.commit, head.commit);
    return BranchChanges(std::move(base.name), std::move(head.name), std::move(base.commit),
                         std::move(head.commit), count, std::move(files));
  });
}

std::vector<git_utils::FileChange> by_lines_changed(std::span<const git_utils::FileChange> files) {
  // Positions are sorted rather than the records themselves: a branch can
  // change thousands of files, and moving whole records at every step of
  // the sort costs more than comparing them.
  std::vector<std::size_t> order(files.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    const std::int64_t lines_a = files[a].additions + files[a].deletions;
    const std::int64_t lines_b = files[b].additions + files[b].deletions;
    if (lines_a != lines_b) return lines_a > lines_b;
    return detail::code_point_less(files[a].path, files[b].path);
  });
  std::vector<git_utils::FileChange> ordered;
  ordered.reserve(files.size());
  for (const std::size_t i : order) ordered.push_back(files[i]);
  return ordered;
}

}  // namespace lomarind::git_history
