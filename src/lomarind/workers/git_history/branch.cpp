#include <algorithm>
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
  std::vector<git_utils::FileChange> ordered(files.begin(), files.end());
  std::stable_sort(ordered.begin(), ordered.end(),
                   [](const git_utils::FileChange& a, const git_utils::FileChange& b) {
                     const std::int64_t lines_a = a.additions + a.deletions;
                     const std::int64_t lines_b = b.additions + b.deletions;
                     if (lines_a != lines_b) return lines_a > lines_b;
                     return detail::code_point_less(a.path, b.path);
                   });
  return ordered;
}

Json change_row(const git_utils::FileChange& change) {
  Json row = Json::object();
  row["path"] = change.path;
  row["status"] = change.status;
  if (change.old_path) row["old_path"] = *change.old_path;
  row["additions"] = change.additions;
  row["deletions"] = change.deletions;
  return row;
}

}  // namespace lomarind::git_history
