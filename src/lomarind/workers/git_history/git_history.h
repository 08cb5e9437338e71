// The git-history answers: what a branch changed since it left its base,
// what a period changed, which files or components a period changed most,
// and which files change together. Every answer reads git through the
// injected GitReader and asks the injected ChangeIndex once for what it
// needs; it keeps no state between calls.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lomarind/storage/repository_changes.h"
#include "lomarind/utils/git_utils.h"
#include "lomarind/utils/logging.h"
#include "lomarind/workers/git_history/answers.h"
#include "lomarind/workers/git_history/neighbour_interfaces.h"
#include "lomarind/workers/git_history/records.h"

namespace lomarind::git_history {

// The neighbours an answer talks to. All must outlive the GitHistory.
struct Neighbours {
  const git_utils::GitReader& git;
  const repository_changes::ChangeIndex& index;
  const SourceFilters& filters;
  const Logger& logger;
  const TimeSpecParser& parse_time_spec;
};

struct BranchChangesOptions {
  // The name under which the caller's user gave the head; quoted in the
  // error for an unknown head.
  std::string head_parameter = "head_branch";
};

struct ChangedLineSpansOptions {
  // Compare with where the head left the base (a branch) rather than with
  // the base itself (a period).
  bool merge_base;
};

struct TouchedSymbolsOptions {
  bool merge_base;
  int per_file = SYMBOLS_PER_ROW;
};

struct RecentChangesOptions {
  std::string since;
  std::optional<std::string> branch;
  bool include_symbols;
  std::int64_t limit;
  std::int64_t offset;
  bool source_only;
};

struct HotspotsOptions {
  std::string since;
  std::optional<std::string> branch;
  std::string group_by;
  std::int64_t limit;
  std::int64_t offset;
  bool source_only;
};

struct FileHotspotsOptions {
  std::string since;
  std::optional<std::string> branch;
  std::int64_t limit;
};

struct BranchDiffOptions {
  std::optional<std::string> base_branch;
  std::optional<std::string> head_branch;
  bool include_symbols;
  std::int64_t limit;
  std::int64_t offset;
  bool source_only;
};

// Which files a period changed together. The thresholds have no defaults
// here; records.h holds the usual ones (kDefaultMinRevisions, ...).
struct CouplingOptions {
  std::string since;
  std::optional<std::string> branch;
  std::optional<std::string> path;  // only the pairs of this file (its last path)
  bool source_only;
  std::int64_t min_revisions;  // commits of each file, at least
  std::int64_t min_shared;     // commits the two share, at least
  double min_degree;           // in [0, 1]
  std::int64_t max_changeset;  // files of a commit, at most, for it to count
  std::int64_t limit;
  std::int64_t offset;
};

// What a branch probably forgot to change, judged by the base's history
// over the period `since`.
struct MissingPartnersOptions {
  std::optional<std::string> base_branch;
  std::optional<std::string> head_branch;
  std::string since;
  bool source_only;
};

class GitHistory {
 public:
  explicit GitHistory(const Neighbours& neighbours) : n_(neighbours) {}

  RecentChangesAnswer recent_changes(const repository_changes::Repository& repository,
                                     const std::filesystem::path& repo_root,
                                     const RecentChangesOptions& options) const;
  HotspotsAnswer hotspots(const repository_changes::Repository& repository,
                          const std::filesystem::path& repo_root,
                          const HotspotsOptions& options) const;
  std::vector<FileHotspot> file_hotspots(const repository_changes::Repository& repository,
                                         const std::filesystem::path& repo_root,
                                         const FileHotspotsOptions& options) const;
  BranchDiffAnswer branch_diff(const repository_changes::Repository& repository,
                               const std::filesystem::path& repo_root,
                               const BranchDiffOptions& options) const;

  // Pairs of files that kept changing in the same commits of a period, the
  // most coupled first. Throws GitHistoryError for a threshold out of range
  // (before any git command), a bad period, a missing branch or a git
  // failure.
  CouplingAnswer change_coupling(const repository_changes::Repository& repository,
                                 const std::filesystem::path& repo_root,
                                 const CouplingOptions& options) const;

  // The files that kept changing with the branch's files over the base's
  // period but that the branch did not change, each with its strongest
  // changed partner; at most kMaxMissingPartners, the strongest first. The
  // period is checked first, then the names, as branch_diff checks them.
  std::vector<MissingPartner> missing_partners(const repository_changes::Repository& repository,
                                               const std::filesystem::path& repo_root,
                                               const MissingPartnersOptions& options) const;

  // branch_diff with the missing partners over `partners_since` as its last
  // key, from one diff of the branch. The period is checked before git.
  BranchDiffAnswer branch_diff_with_partners(const repository_changes::Repository& repository,
                                             const std::filesystem::path& repo_root,
                                             const BranchDiffOptions& options,
                                             const std::string& partners_since) const;

  // What a branch changed since it left its base. Throws GitHistoryError
  // when a branch does not exist or git fails.
  BranchChanges branch_changes(const std::filesystem::path& repo_root,
                               const std::optional<std::string>& base_branch,
                               const std::optional<std::string>& head_branch,
                               const BranchChangesOptions& options = {}) const;

  // The head-side lines each file changed, by path: the whole file for an
  // added or copied file (and for every file when there is no base), the
  // hunks of one diff for the edited ones, nothing for a deleted one.
  git_utils::LineSpansByPath changed_line_spans(const std::filesystem::path& repo_root,
                                                const std::optional<std::string>& base_commit,
                                                const std::string& head_commit,
                                                std::span<const git_utils::FileChange> files,
                                                const ChangedLineSpansOptions& options) const;

  // The index's symbols on each file's changed lines: at most one git diff
  // and exactly one index query for all files.
  SymbolsByPath touched_symbols(const repository_changes::Repository& repository,
                                const std::filesystem::path& repo_root,
                                const std::optional<std::string>& base_commit,
                                const std::string& head_commit,
                                std::span<const git_utils::FileChange> files,
                                const TouchedSymbolsOptions& options) const;

  // Whether a changed file is production source: code that is no test and
  // not generated. `language` is the index's, absent for a file it does not
  // hold; then the extension and the directory decide.
  bool is_source_path(std::string_view path, const std::optional<std::string>& language) const;

 private:
  // The branch answer for changes already read.
  BranchDiffAnswer diff_answer(const repository_changes::Repository& repository,
                               const std::filesystem::path& repo_root, const BranchChanges& changes,
                               const BranchDiffOptions& options) const;
  // The missing partners of `changes` over the base's history since `start`.
  std::vector<MissingPartner> partners_of(const repository_changes::Repository& repository,
                                          const std::filesystem::path& repo_root,
                                          const BranchChanges& changes,
                                          std::chrono::sys_seconds start, bool source_only) const;

  Neighbours n_;
};

// The files in answer order: the most lines changed first, then by path in
// code-point order; ties keep their input order.
std::vector<git_utils::FileChange> by_lines_changed(std::span<const git_utils::FileChange> files);

// The answer row of one changed file.
ChangeRow change_row(const git_utils::FileChange& change);

// The spans of `paths`, in that order, as ranges for the index.
std::vector<repository_changes::LineRange> line_ranges(const git_utils::LineSpansByPath& spans,
                                                       std::span<const std::string> paths);

// The answer row of one symbol.
SymbolRow symbol_row(const repository_changes::SymbolOnLines& symbol);

}  // namespace lomarind::git_history
