// Change coupling: which files of a period keep changing in the same
// commits. The log is folded as the period answers fold it, so a file
// renamed in the period is one file, and each commit's change set is the
// set of records its changes went into. Pairs are counted in one hash map
// keyed by the two records, at most max_changeset choose 2 pairs a commit:
// memory grows with the pairs that occur, never with a list per commit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "lomarind/storage/repository_changes.h"
#include "lomarind/utils/git_utils.h"
#include "lomarind/workers/git_history/answers.h"
#include "lomarind/workers/git_history/git_history.h"
#include "lomarind/workers/git_history/neighbour_interfaces.h"
#include "lomarind/workers/git_history/period.h"
#include "lomarind/workers/git_history/records.h"

namespace lomarind::git_history::detail {

struct CouplingThresholds {
  std::int64_t min_revisions;  // commits of each file, at least
  std::int64_t min_shared;     // commits the two share, at least
  double min_degree;           // the rounded degree, at least
  std::int64_t max_changeset;  // files a commit changes, at most, for it to count
};

// The thresholds an answer's options ask for.
CouplingThresholds thresholds_of(const CouplingOptions& options);

inline constexpr CouplingThresholds kDefaultCoupling{.min_revisions = kDefaultMinRevisions,
                                                     .min_shared = kDefaultMinShared,
                                                     .min_degree = kDefaultMinDegree,
                                                     .max_changeset = kDefaultMaxChangeset};

// The text of the value given for an option, by the option's name: how the
// caller's user wrote it (a Python host's repr of what it passed).
using ValueText = std::function<std::string(std::string_view option)>;

// Throws GitHistoryError for the first threshold out of range, in the order
// min_revisions (at least 1), min_shared (at least 1), min_degree (0 to 1),
// max_changeset (at least 2): "min_shared must be at least 1; got 0". The
// value is quoted by `shown` when given, else as Python's repr writes it.
void check_thresholds(const CouplingThresholds& thresholds, const ValueText& shown = nullptr);

// How often the kept files of a log changed, alone and together.
struct CouplingCounts {
  std::vector<PathHistory> files;       // the kept records, in fold order
  std::vector<std::int64_t> revisions;  // change sets holding files[i]
  // Change sets holding both files[i] and files[j], by pair_key(i, j), i < j.
  std::unordered_map<std::uint64_t, std::int64_t> shared;
  std::optional<std::size_t> focus;  // a lone marked path's kept file
  std::int64_t bulk_commits = 0;     // commits over max_changeset, counted nowhere
  std::int64_t excluded_files = 0;   // existing records that were not kept
};

inline std::uint64_t pair_key(std::size_t a, std::size_t b) {
  return (static_cast<std::uint64_t>(a) << 32) | static_cast<std::uint64_t>(b);
}

// Counts the change sets of `commits` over the records of `folded` (its
// fold) for which `kept` is true. A commit with more than `max_changeset`
// file changes is a bulk change and counts nowhere. With `marked` last
// paths, only the pairs with exactly one marked file are counted (none
// when no kept file is marked), and a lone marked path is the focus.
CouplingCounts count_coupling(std::span<const git_utils::CommitChanges> commits, FoldedLog folded,
                              const std::vector<bool>& kept, std::int64_t max_changeset,
                              const std::set<std::string, std::less<>>& marked);

// count_coupling over the records that exist at the end of the log, and
// with `source_only` only production source (one index query for them).
CouplingCounts count_period(const repository_changes::ChangeIndex& index,
                            const repository_changes::IndexDb& db, const SourceFilters& filters,
                            std::span<const git_utils::CommitChanges> commits, bool source_only,
                            std::int64_t max_changeset,
                            const std::set<std::string, std::less<>>& marked);

// A pair that passed the thresholds: files[first] is listed as `path`.
struct CoupledPair {
  std::size_t first = 0;
  std::size_t second = 0;
  std::int64_t shared = 0;
  double degree = 0;

  bool operator==(const CoupledPair&) const = default;
};

// The pairs whose files both have min_revisions, that share min_shared
// change sets and whose rounded degree reaches min_degree, each once, in no
// particular order. `first` is the focus, else the file whose path comes
// first in code-point order.
std::vector<CoupledPair> listed_pairs(const CouplingCounts& counts,
                                      const CouplingThresholds& thresholds);

// The order of the answer: degree, then shared commits, descending; then
// path and coupled path in code-point order.
struct StrongerFirst {
  const CouplingCounts& counts;
  bool operator()(const CoupledPair& a, const CoupledPair& b) const;
};

CouplingPair coupling_row(const CouplingCounts& counts, const CoupledPair& pair);

}  // namespace lomarind::git_history::detail
