#include "lomarind/storage/cached_git_reader.h"

#include <algorithm>
#include <future>
#include <numeric>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "lomarind/storage/commit_cache.h"
#include "lomarind/utils/diff_settings.h"

namespace lomarind::commit_cache {
namespace {

using git_utils::CommitChanges;
using git_utils::DiffSettings;

// Changes with the diff flags, the rename limit or the stored layout, so
// that entries written under other ones are never served.
constexpr std::string_view kFormat =
    "lomarind commit changes 1: log -z --raw --numstat -M, renameLimit=1000, myers, showRoot, "
    "no textconv";

// FNV-1a: stable across builds and processes, which std::hash is not.
std::uint64_t fingerprint(std::string_view state) {
  std::uint64_t hash = 14695981039346656037ull;
  for (std::string_view part : {kFormat, state}) {
    for (char c : part) {
      hash ^= static_cast<unsigned char>(c);
      hash *= 1099511628211ull;
    }
    hash ^= 0xff;
    hash *= 1099511628211ull;
  }
  return hash;
}

git_utils::FileChange change_of(const StoredChange& file, const FoundCommits& found) {
  git_utils::FileChange change{.path = found.paths[file.path].path,
                               .status = std::string(status_name(file.status)),
                               .additions = file.additions,
                               .deletions = file.deletions,
                               .old_path = std::nullopt};
  if (file.old_path != 0) change.old_path = found.paths[file.old_path].path;
  return change;
}

// One answer's use of the cache: the commits it holds, checked against the
// repository as it is now, and the commits read from git added to it.
class CacheUse {
 public:
  CacheUse(CommitCache cache, DiffSettings settings, const git_utils::GitRunner& runner,
           const std::filesystem::path& repo_root)
      : cache_(std::move(cache)),
        settings_(std::move(settings)),
        fingerprint_(fingerprint(settings_.repository_state)),
        runner_(runner),
        repo_root_(repo_root) {}

  // Reads the path table and, unless it is too long to be worth it, asks
  // git for the attributes of its paths. Throws CacheError or GitError.
  void prepare();
  // Gives the commits the cache holds their files; returns the positions
  // of the others. Throws CacheError or GitError, having filled nothing.
  std::vector<std::size_t> fill(std::vector<CommitChanges>& commits);
  // The commits at `read` positions as the cache keeps them. Throws
  // GitError.
  std::vector<CachedCommit> to_keep(const std::vector<CommitChanges>& commits,
                                    const std::vector<std::size_t>& read);
  // Adds `commits` to the cache. Throws CacheError.
  void keep(const std::vector<CachedCommit>& commits);

 private:
  // Asks git (once) for the `diff` attribute of each of `paths` not asked
  // yet.
  void learn_attributes(const std::vector<std::string>& paths);
  std::vector<bool> current_paths(const FoundCommits& found);

  CommitCache cache_;
  const DiffSettings settings_;
  const std::uint64_t fingerprint_;
  const git_utils::GitRunner& runner_;
  const std::filesystem::path repo_root_;
  std::vector<StoredPath> paths_;
  std::unordered_map<std::string, std::string> attributes_;
};

// Up to this many paths, the attributes of the whole path table are asked
// for while git lists the period's commits; beyond it, only those of the
// paths the period's cached commits name, once they are known.
constexpr std::size_t kPathsAskedAhead = 20000;

void CacheUse::prepare() {
  paths_ = cache_.paths();
  if (paths_.size() > kPathsAskedAhead) return;
  std::vector<std::string> paths;
  paths.reserve(paths_.size());
  for (std::size_t id = 1; id < paths_.size(); ++id) paths.push_back(paths_[id].path);
  learn_attributes(paths);
}

// The cache of the repository at `repo_root`, ready to be asked.
CacheUse start_use(const git_utils::GitRunner& runner, const std::filesystem::path& repo_root) {
  DiffSettings settings = git_utils::read_diff_settings(runner, repo_root);
  if (!settings.checkable)
    throw CacheError("what shapes this repository's diffs cannot be checked");
  CommitCache cache = CommitCache::open(cache_file(settings.common_dir));
  CacheUse use(std::move(cache), std::move(settings), runner, repo_root);
  use.prepare();
  return use;
}

void CacheUse::learn_attributes(const std::vector<std::string>& paths) {
  std::vector<std::string> asked;
  std::unordered_set<std::string_view> seen;
  for (const std::string& path : paths) {
    if (!attributes_.contains(path) && seen.insert(path).second) asked.push_back(path);
  }
  std::vector<std::string> values = git_utils::diff_attributes(runner_, repo_root_, asked);
  for (std::size_t i = 0; i < asked.size(); ++i) attributes_[asked[i]] = std::move(values[i]);
}

std::vector<std::size_t> CacheUse::fill(std::vector<CommitChanges>& commits) {
  std::vector<std::string> ids;
  ids.reserve(commits.size());
  for (const CommitChanges& commit : commits) ids.push_back(commit.commit);
  FoundCommits found = cache_.find(fingerprint_, ids, std::move(paths_));
  // A shallow commit's diff changes once its parents arrive.
  for (std::size_t i = 0; i < commits.size(); ++i) {
    if (settings_.shallow.contains(commits[i].commit)) found.commits[i].reset();
  }
  const std::vector<bool> current = current_paths(found);
  std::vector<std::size_t> missing;
  for (std::size_t i = 0; i < commits.size(); ++i) {
    const auto& files = found.commits[i];
    if (!files || !std::all_of(files->begin(), files->end(), [&](const StoredChange& file) {
          return current[file.path] && current[file.old_path];
        })) {
      missing.push_back(i);
      continue;
    }
    commits[i].files.reserve(files->size());
    for (const StoredChange& file : *files) commits[i].files.push_back(change_of(file, found));
  }
  return missing;
}

// Which path numbers still have the attribute they were stored with (0,
// "no path", always has).
std::vector<bool> CacheUse::current_paths(const FoundCommits& found) {
  std::vector<bool> used(found.paths.size(), false);
  for (const auto& files : found.commits) {
    if (!files) continue;
    for (const StoredChange& file : *files) used[file.path] = used[file.old_path] = true;
  }
  std::vector<std::string> paths;
  for (std::size_t id = 1; id < used.size(); ++id) {
    if (used[id]) paths.push_back(found.paths[id].path);
  }
  learn_attributes(paths);
  std::vector<bool> current(found.paths.size(), false);
  current[0] = true;
  for (std::size_t id = 1; id < used.size(); ++id) {
    current[id] = used[id] && attributes_.at(found.paths[id].path) == found.paths[id].attribute;
  }
  return current;
}

std::vector<CachedCommit> CacheUse::to_keep(const std::vector<CommitChanges>& commits,
                                            const std::vector<std::size_t>& read) {
  std::vector<std::string> paths;
  for (std::size_t i : read) {
    for (const git_utils::FileChange& file : commits[i].files) {
      paths.push_back(file.path);
      if (file.old_path) paths.push_back(*file.old_path);
    }
  }
  learn_attributes(paths);
  std::vector<CachedCommit> kept;
  for (std::size_t i : read) {
    if (settings_.shallow.contains(commits[i].commit)) continue;
    CachedCommit& commit = kept.emplace_back(CachedCommit{commits[i].commit, {}});
    for (const git_utils::FileChange& file : commits[i].files) {
      commit.files.push_back(
          {file, attributes_.at(file.path), file.old_path ? attributes_.at(*file.old_path) : ""});
    }
  }
  return kept;
}

void CacheUse::keep(const std::vector<CachedCommit>& commits) {
  cache_.store(fingerprint_, commits);
}

}  // namespace

std::filesystem::path cache_file(const std::filesystem::path& common_dir) {
  return common_dir / "lomarind" / "commits.db";
}

void CachedGitReader::warn_once(const std::string& message) const {
  if (warned_.exchange(true)) return;
  warnings_.warning("%s; reading every commit from git", {message});
}

std::vector<CommitChanges> CachedGitReader::log_commit_changes(
    const std::filesystem::path& repo_root, std::chrono::sys_seconds since, const std::string& ref,
    int max_commits) const {
  finish_storing();
  // The cache is made ready (what shapes diffs, the file, its paths and
  // their attributes) while git lists the commits.
  std::future<std::optional<CacheUse>> ready = std::async(std::launch::async, [this, &repo_root] {
    std::optional<CacheUse> use;
    if (!attempt([&] { use.emplace(start_use(runner_, repo_root)); })) use.reset();
    return use;
  });
  std::vector<CommitChanges> commits = git_.log_commit_times(repo_root, since, ref, max_commits);
  if (commits.empty()) return commits;
  std::optional<CacheUse> use = ready.get();
  std::vector<std::size_t> missing;
  if (!use || !attempt([&] { missing = use->fill(commits); })) {
    use.reset();
    missing.resize(commits.size());
    std::iota(missing.begin(), missing.end(), std::size_t{0});
  }
  read_missing(repo_root, commits, missing);
  std::vector<CachedCommit> kept;
  if (use && !missing.empty() && attempt([&] { kept = use->to_keep(commits, missing); })) {
    // Stored while the caller builds its answer; the next period, and the
    // reader's end, wait for it.
    const std::lock_guard<std::mutex> lock(storing_mutex_);
    storing_ = std::async(std::launch::async,
                          [this, use = std::move(*use), kept = std::move(kept)]() mutable {
                            attempt([&] { use.keep(kept); });
                          });
  }
  return commits;
}

void CachedGitReader::finish_storing() const {
  const std::lock_guard<std::mutex> lock(storing_mutex_);
  if (storing_.valid()) storing_.get();
}

template <typename Step>
bool CachedGitReader::attempt(Step&& step) const {
  try {
    std::forward<Step>(step)();
    return true;
  } catch (const CacheError& e) {
    warn_once(e.what());
  } catch (const git_utils::GitError& e) {
    warn_once(e.what());
  }
  return false;
}

void CachedGitReader::read_missing(const std::filesystem::path& repo_root,
                                   std::vector<CommitChanges>& commits,
                                   const std::vector<std::size_t>& missing) const {
  if (missing.empty()) return;
  std::vector<std::string> ids;
  ids.reserve(missing.size());
  for (std::size_t i : missing) ids.push_back(commits[i].commit);
  std::vector<CommitChanges> read = git_.read_commit_changes(repo_root, ids);
  for (std::size_t k = 0; k < missing.size(); ++k) {
    if (read[k].commit != ids[k]) {
      throw git_utils::GitError("git showed commit " + read[k].commit + " for " + ids[k]);
    }
    commits[missing[k]].files = std::move(read[k].files);
  }
}

std::optional<std::string> CachedGitReader::resolve_commit(const std::filesystem::path& repo_root,
                                                           const std::string& name) const {
  return git_.resolve_commit(repo_root, name);
}

std::optional<std::string> CachedGitReader::resolve_display_branch(
    const std::filesystem::path& repo_root) const {
  return git_.resolve_display_branch(repo_root);
}

std::string CachedGitReader::get_default_branch(const std::filesystem::path& repo_root) const {
  return git_.get_default_branch(repo_root);
}

std::chrono::sys_seconds CachedGitReader::parse_time_spec(const std::string& since) const {
  return git_.parse_time_spec(since);
}

std::vector<git_utils::FileChange> CachedGitReader::diff_file_changes(
    const std::filesystem::path& repo_root, const std::string& base_commit,
    const std::string& head_commit) const {
  return git_.diff_file_changes(repo_root, base_commit, head_commit);
}

std::int64_t CachedGitReader::count_commits(const std::filesystem::path& repo_root,
                                            const std::string& base_commit,
                                            const std::string& head_commit) const {
  return git_.count_commits(repo_root, base_commit, head_commit);
}

std::optional<std::string> CachedGitReader::commit_before(const std::filesystem::path& repo_root,
                                                          const std::string& tip,
                                                          std::chrono::sys_seconds start) const {
  return git_.commit_before(repo_root, tip, start);
}

git_utils::LineSpansByPath CachedGitReader::diff_line_spans(
    const std::filesystem::path& repo_root, const std::string& base_commit,
    const std::string& head_commit, bool merge_base, const std::vector<std::string>& paths) const {
  return git_.diff_line_spans(repo_root, base_commit, head_commit, merge_base, paths);
}

}  // namespace lomarind::commit_cache
