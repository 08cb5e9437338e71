#include "lomarind/workers/git_history/coupling.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "lomarind/utils/quoting.h"
#include "lomarind/workers/git_history/hotspots.h"

namespace lomarind::git_history::detail {
namespace {

constexpr std::size_t kNotKept = std::numeric_limits<std::size_t>::max();

[[noreturn]] void refuse(std::string_view option, std::string_view rule, std::string value,
                         const ValueText& shown) {
  throw GitHistoryError(std::string(option) + " must be " + std::string(rule) + "; got " +
                        (shown ? shown(option) : std::move(value)));
}

// The kept files of one change set, each once, ascending.
void change_set(std::span<const std::size_t> records, const std::vector<std::size_t>& kept_index,
                std::vector<std::size_t>& set) {
  set.clear();
  for (const std::size_t record : records) {
    if (record != kNoRecord && kept_index[record] != kNotKept) set.push_back(kept_index[record]);
  }
  std::sort(set.begin(), set.end());
  set.erase(std::unique(set.begin(), set.end()), set.end());
}

// One more shared change set for each pair of `set` (ascending), or, with
// `marked` (by kept file), only for the pairs with exactly one marked file.
void count_pairs(const std::vector<std::size_t>& set, const std::vector<bool>& marked,
                 std::unordered_map<std::uint64_t, std::int64_t>& shared) {
  if (marked.empty()) {
    for (std::size_t i = 0; i < set.size(); ++i) {
      for (std::size_t j = i + 1; j < set.size(); ++j) ++shared[pair_key(set[i], set[j])];
    }
    return;
  }
  for (const std::size_t one : set) {
    if (!marked[one]) continue;
    for (const std::size_t other : set) {
      if (!marked[other]) ++shared[pair_key(std::min(one, other), std::max(one, other))];
    }
  }
}

// The kept records moved into counts.files; their fold positions mapped to
// their places there, kNotKept for the others.
std::vector<std::size_t> keep(std::vector<PathHistory> records, const std::vector<bool>& kept,
                              CouplingCounts& counts) {
  std::vector<std::size_t> kept_index(records.size(), kNotKept);
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (!kept[i]) continue;
    kept_index[i] = counts.files.size();
    counts.files.push_back(std::move(records[i]));
  }
  counts.revisions.assign(counts.files.size(), 0);
  return kept_index;
}

}  // namespace

CouplingThresholds thresholds_of(const CouplingOptions& options) {
  return {.min_revisions = options.min_revisions,
          .min_shared = options.min_shared,
          .min_degree = options.min_degree,
          .max_changeset = options.max_changeset};
}

void check_thresholds(const CouplingThresholds& thresholds, const ValueText& shown) {
  if (thresholds.min_revisions < 1) {
    refuse("min_revisions", "at least 1", std::to_string(thresholds.min_revisions), shown);
  }
  if (thresholds.min_shared < 1) {
    refuse("min_shared", "at least 1", std::to_string(thresholds.min_shared), shown);
  }
  // Written so that NaN is refused too.
  if (!(thresholds.min_degree >= 0 && thresholds.min_degree <= 1)) {
    refuse("min_degree", "between 0 and 1", quoting::float_repr(thresholds.min_degree), shown);
  }
  if (thresholds.max_changeset < 2) {
    refuse("max_changeset", "at least 2", std::to_string(thresholds.max_changeset), shown);
  }
}

CouplingCounts count_coupling(std::span<const git_utils::CommitChanges> commits, FoldedLog folded,
                              const std::vector<bool>& kept, std::int64_t max_changeset,
                              const std::set<std::string, std::less<>>& marked) {
  CouplingCounts counts;
  const std::vector<std::size_t> kept_index = keep(std::move(folded.histories), kept, counts);
  std::vector<bool> marked_files;
  if (!marked.empty()) {
    marked_files.resize(counts.files.size());
    for (std::size_t i = 0; i < counts.files.size(); ++i) {
      marked_files[i] = marked.contains(counts.files[i].path);
      if (marked_files[i] && marked.size() == 1) counts.focus = i;
    }
  }
  std::vector<std::size_t> set;
  for (std::size_t c = 0; c < commits.size(); ++c) {
    if (commits[c].files.size() > static_cast<std::uint64_t>(max_changeset)) {
      ++counts.bulk_commits;
      continue;
    }
    change_set(folded.records_of_commit[c], kept_index, set);
    for (const std::size_t file : set) ++counts.revisions[file];
    count_pairs(set, marked_files, counts.shared);
  }
  return counts;
}

std::vector<CoupledPair> listed_pairs(const CouplingCounts& counts,
                                      const CouplingThresholds& thresholds) {
  std::vector<CoupledPair> pairs;
  for (const auto& [key, shared] : counts.shared) {
    const auto a = static_cast<std::size_t>(key >> 32);
    const auto b = static_cast<std::size_t>(key & 0xffffffffu);
    const std::int64_t revisions_a = counts.revisions[a];
    const std::int64_t revisions_b = counts.revisions[b];
    if (revisions_a < thresholds.min_revisions || revisions_b < thresholds.min_revisions ||
        shared < thresholds.min_shared) {
      continue;
    }
    // Rounded as a risk score is: the exact quotient's value, half to even.
    const double degree = risk_score(2 * shared, revisions_a + revisions_b);
    if (degree < thresholds.min_degree) continue;
    const bool a_first = counts.focus ? a == *counts.focus
                                      : code_point_less(counts.files[a].path, counts.files[b].path);
    pairs.push_back(a_first ? CoupledPair{a, b, shared, degree}
                            : CoupledPair{b, a, shared, degree});
  }
  return pairs;
}

bool StrongerFirst::operator()(const CoupledPair& a, const CoupledPair& b) const {
  if (a.degree != b.degree) return a.degree > b.degree;
  if (a.shared != b.shared) return a.shared > b.shared;
  const std::string& path_a = counts.files[a.first].path;
  const std::string& path_b = counts.files[b.first].path;
  if (path_a != path_b) return code_point_less(path_a, path_b);
  return code_point_less(counts.files[a.second].path, counts.files[b.second].path);
}

CouplingPair coupling_row(const CouplingCounts& counts, const CoupledPair& pair) {
  return CouplingPair{.path = counts.files[pair.first].path,
                      .coupled_path = counts.files[pair.second].path,
                      .degree = pair.degree,
                      .shared_commits = pair.shared,
                      .commits = counts.revisions[pair.first],
                      .coupled_commits = counts.revisions[pair.second]};
}

}  // namespace lomarind::git_history::detail
