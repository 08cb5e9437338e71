#include <string>
#include <utility>
#include <vector>

#include "lomarind/workers/git_history/git_history.h"
#include "lomarind/workers/git_history/paging.h"
#include "lomarind/workers/git_history/source.h"
#include "lomarind/workers/git_history/symbols.h"

namespace lomarind::git_history {

BranchDiffAnswer GitHistory::branch_diff(const repository_changes::Repository& repository,
                                         const std::filesystem::path& repo_root,
                                         const BranchDiffOptions& options) const {
  const BranchChanges changes = branch_changes(repo_root, options.base_branch, options.head_branch);
  std::vector<git_utils::FileChange> files = by_lines_changed(changes.files());
  if (options.source_only) {
    detail::drop_non_source(files, n_.filters, detail::index_facts(n_.index, repository.db, files));
  }
  const std::vector<git_utils::FileChange> page =
      detail::page(files, options.limit, options.offset);
  BranchDiffAnswer answer{
      .base_branch = changes.base_branch(),
      .head_branch = changes.head_branch(),
      .commit_count = changes.commit_count(),
      .excluded_files = static_cast<std::int64_t>(changes.files().size() - files.size()),
      .note = changes.note()};
  answer.files.reserve(page.size());
  for (const git_utils::FileChange& file : page) answer.files.push_back({change_row(file)});
  if (options.include_symbols && !page.empty()) {
    detail::attach_symbols(answer.files,
                           touched_symbols(repository, repo_root, changes.base_commit(),
                                           changes.head_commit(), page, {.merge_base = true}));
  }
  answer.page = detail::page_fields(static_cast<std::int64_t>(files.size()), options.limit,
                                    options.offset, static_cast<std::int64_t>(page.size()));
  return answer;
}

}  // namespace lomarind::git_history
