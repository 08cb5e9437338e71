#include "lomarind/workers/git_history/records.h"

namespace lomarind::git_history {

bool GitHistoryError::cause_is_git_error() const {
  if (!cause_) return false;
  try {
    std::rethrow_exception(cause_);
  } catch (const git_utils::GitError&) {
    return true;
  } catch (...) {
    return false;
  }
}

std::optional<std::string> BranchChanges::note() const {
  if (base_commit_ == head_commit_) return std::string(detail::kSameCommitNote);
  return std::nullopt;
}

namespace detail {

std::string PathHistory::status() const {
  if (!exists) return "deleted";
  if (created) return "added";
  if (path == origin) return "modified";
  return "renamed";
}

git_utils::FileChange PathHistory::as_change() const {
  const std::string current = status();
  std::optional<std::string> old_path;
  if (current == "renamed") old_path = origin;
  return git_utils::FileChange{path, current, additions, deletions, old_path};
}

}  // namespace detail
}  // namespace lomarind::git_history
