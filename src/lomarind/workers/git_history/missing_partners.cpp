// What a branch probably forgot: the files that keep changing with the
// files it changed, judged by the base's own history, that it left alone.
#include <algorithm>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "lomarind/workers/git_history/coupling.h"
#include "lomarind/workers/git_history/git_access.h"
#include "lomarind/workers/git_history/git_history.h"

namespace lomarind::git_history {
namespace {

// Degree, then shared commits, descending; ties by `path` of the two.
bool stronger(const MissingPartner& a, const MissingPartner& b, const std::string& path_a,
              const std::string& path_b) {
  if (a.degree != b.degree) return a.degree > b.degree;
  if (a.shared_commits != b.shared_commits) return a.shared_commits > b.shared_commits;
  return detail::code_point_less(path_a, path_b);
}

// The paths the branch changed: each file's path, and the path a renamed
// file had before.
std::set<std::string, std::less<>> changed_paths(const BranchChanges& changes) {
  std::set<std::string, std::less<>> paths;
  for (const git_utils::FileChange& file : changes.files()) {
    paths.insert(file.path);
    if (file.status == "renamed" && file.old_path) paths.insert(*file.old_path);
  }
  return paths;
}

// For every listed pair with one file changed and the other not, the other
// is missing; each keeps its strongest changed partner.
std::vector<MissingPartner> strongest_partners(const detail::CouplingCounts& counts,
                                               std::span<const detail::CoupledPair> pairs,
                                               const std::set<std::string, std::less<>>& changed) {
  std::unordered_map<std::string, MissingPartner> best;
  for (const detail::CoupledPair& pair : pairs) {
    const std::string& first = counts.files[pair.first].path;
    const std::string& second = counts.files[pair.second].path;
    const bool first_changed = changed.contains(first);
    if (first_changed == changed.contains(second)) continue;
    MissingPartner candidate{.path = first_changed ? second : first,
                             .coupled_path = first_changed ? first : second,
                             .degree = pair.degree,
                             .shared_commits = pair.shared};
    const auto [it, added] = best.try_emplace(candidate.path, candidate);
    if (!added &&
        stronger(candidate, it->second, candidate.coupled_path, it->second.coupled_path)) {
      it->second = std::move(candidate);
    }
  }
  std::vector<MissingPartner> rows;
  rows.reserve(best.size());
  for (auto& [path, row] : best) rows.push_back(std::move(row));
  return rows;
}

}  // namespace

std::vector<MissingPartner> GitHistory::partners_of(
    const repository_changes::Repository& repository, const std::filesystem::path& repo_root,
    const BranchChanges& changes, std::chrono::sys_seconds start, bool source_only) const {
  if (changes.base_commit() == changes.head_commit()) return {};
  const std::vector<git_utils::CommitChanges> log = detail::reading_git(n_.logger, [&] {
    return n_.git.log_commit_changes(repo_root, start, changes.base_commit(), MAX_COMMITS);
  });
  const detail::CouplingThresholds thresholds = detail::kDefaultCoupling;
  // Only pairs of a changed file and an unchanged one can name a partner.
  const std::set<std::string, std::less<>> changed = changed_paths(changes);
  const detail::CouplingCounts counts = detail::count_period(
      n_.index, repository.db, n_.filters, log, source_only, thresholds.max_changeset, changed);
  std::vector<MissingPartner> rows =
      strongest_partners(counts, detail::listed_pairs(counts, thresholds), changed);
  const std::size_t shown = std::min(rows.size(), kMaxMissingPartners);
  std::partial_sort(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(shown), rows.end(),
                    [](const MissingPartner& a, const MissingPartner& b) {
                      return stronger(a, b, a.path, b.path);
                    });
  rows.resize(shown);
  return rows;
}

std::vector<MissingPartner> GitHistory::missing_partners(
    const repository_changes::Repository& repository, const std::filesystem::path& repo_root,
    const MissingPartnersOptions& options) const {
  const std::chrono::sys_seconds start = detail::period_start(n_.parse_time_spec, options.since);
  const BranchChanges changes = branch_changes(repo_root, options.base_branch, options.head_branch);
  return partners_of(repository, repo_root, changes, start, options.source_only);
}

BranchDiffAnswer GitHistory::branch_diff_with_partners(
    const repository_changes::Repository& repository, const std::filesystem::path& repo_root,
    const BranchDiffOptions& options, const std::string& partners_since) const {
  const std::chrono::sys_seconds start = detail::period_start(n_.parse_time_spec, partners_since);
  const BranchChanges changes = branch_changes(repo_root, options.base_branch, options.head_branch);
  BranchDiffAnswer answer = diff_answer(repository, repo_root, changes, options);
  answer.missing_partners = partners_of(repository, repo_root, changes, start, options.source_only);
  return answer;
}

}  // namespace lomarind::git_history
