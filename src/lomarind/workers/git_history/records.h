// The history module's own records, constants and error type.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lomarind/utils/git_utils.h"
#include "lomarind/workers/retrieval.h"

namespace lomarind::git_history {

// The most commits one period's log reads.
inline constexpr int MAX_COMMITS = 5000;
// The most symbols listed for one changed file.
inline constexpr int SYMBOLS_PER_ROW = 10;
// The symbol kinds asked of the index for changed lines: exactly those the
// retrieval worker can return (the same object, not a copy).
inline constexpr const auto& CHANGE_KINDS = retrieval::RETRIEVABLE_KINDS;
// The name of the module's logger.
inline constexpr std::string_view kLoggerName = "lomarind.workers.git_history";

namespace detail {
// Every line of a file: first line 1, last line two thousand million.
inline constexpr git_utils::LineSpan kWholeFile{1, 2000000000, true};
inline constexpr std::string_view kSameCommitNote = "Already on base branch";

// Paths in code-point order, as a host that decodes names with
// surrogateescape orders them: a byte that starts no valid UTF-8 sequence
// stands for U+DC80..U+DCFF. For valid UTF-8 this is the byte order.
bool code_point_less(std::string_view a, std::string_view b);
}  // namespace detail

// A question about the history that cannot be answered as asked; the
// message says why.
class GitHistoryError : public std::runtime_error {
 public:
  explicit GitHistoryError(const std::string& message, std::exception_ptr cause = nullptr)
      : std::runtime_error(message), cause_(std::move(cause)) {}

  // The failure this error stands for: a git_utils::GitError when git
  // failed, the parser's std::invalid_argument for a bad period, else null.
  const std::exception_ptr& cause() const { return cause_; }
  bool cause_is_git_error() const;

 private:
  std::exception_ptr cause_;
};

// What a branch changed since it left its base, and the two commits compared.
class BranchChanges {
 public:
  BranchChanges(std::string base_branch, std::string head_branch, std::string base_commit,
                std::string head_commit, std::int64_t commit_count,
                std::vector<git_utils::FileChange> files)
      : base_branch_(std::move(base_branch)),
        head_branch_(std::move(head_branch)),
        base_commit_(std::move(base_commit)),
        head_commit_(std::move(head_commit)),
        commit_count_(commit_count),
        files_(std::move(files)) {}

  const std::string& base_branch() const { return base_branch_; }
  const std::string& head_branch() const { return head_branch_; }
  const std::string& base_commit() const { return base_commit_; }
  const std::string& head_commit() const { return head_commit_; }
  std::int64_t commit_count() const { return commit_count_; }
  const std::vector<git_utils::FileChange>& files() const { return files_; }

  // Why there is nothing to compare, when the head is the base.
  std::optional<std::string> note() const;

  bool operator==(const BranchChanges&) const = default;

 private:
  std::string base_branch_;
  std::string head_branch_;
  std::string base_commit_;
  std::string head_commit_;
  std::int64_t commit_count_;
  std::vector<git_utils::FileChange> files_;
};

namespace detail {

// What a period did to one file, followed across renames.
struct PathHistory {
  std::string path;    // the file's last path in the period
  std::string origin;  // its path before the period's first change to it
  bool created = false;
  bool exists = true;
  std::int64_t commits = 0;
  std::int64_t additions = 0;
  std::int64_t deletions = 0;
  std::int64_t last_changed = 0;  // Unix seconds, UTC

  // "deleted", "added", "modified" or "renamed", in that order of precedence.
  std::string status() const;
  git_utils::FileChange as_change() const;

  bool operator==(const PathHistory&) const = default;
};

}  // namespace detail
}  // namespace lomarind::git_history
