#include "lomarind/storage/cache_use.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "lomarind/storage/commit_cache.h"

namespace lomarind::commit_cache {
namespace {

using git_utils::CommitChanges;
using git_utils::DiffSettings;

// Changes with the diff flags, the rename limit or the stored layout, so
// that entries written under other ones are never served.
constexpr std::string_view kFormat =
    "lomarind commit changes 1: log -z --raw --numstat -M, renameLimit=1000, myers, showRoot, "
    "no textconv";

std::uint64_t hash_of(std::string_view text) {
  StableHash hash;
  hash.text(kFormat);
  hash.text(text);
  return hash.value();
}

CacheKey key_of(const DiffSettings& settings) {
  return {.fingerprint = hash_of(settings.repository_state), .git = hash_of(settings.git_version)};
}

git_utils::FileChange change_of(const StoredChange& file, const FoundCommits& found) {
  git_utils::FileChange change{.path = found.paths.at(file.path).path,
                               .status = std::string(status_name(file.status)),
                               .additions = file.additions,
                               .deletions = file.deletions,
                               .old_path = std::nullopt};
  if (file.old_path != 0) change.old_path = found.paths.at(file.old_path).path;
  return change;
}

}  // namespace

CacheUse::CacheUse(CommitCache cache, DiffSettings settings, const git_utils::GitRunner& runner,
                   const std::filesystem::path& repo_root)
    : cache_(std::move(cache)),
      settings_(std::move(settings)),
      key_(key_of(settings_)),
      runner_(runner),
      repo_root_(repo_root) {}

CacheUse start_use(const git_utils::GitRunner& runner, const std::filesystem::path& repo_root,
                   std::uint64_t max_bytes) {
  DiffSettings settings = git_utils::read_diff_settings(runner, repo_root);
  if (!settings.checkable)
    throw CacheError("what shapes this repository's diffs cannot be checked");
  CommitCache cache = CommitCache::open(cache_file(settings.common_dir), max_bytes);
  return CacheUse(std::move(cache), std::move(settings), runner, repo_root);
}

// Past this many, asking for paths the period may not name costs more than
// the one wait it saves.
constexpr std::size_t kKnownPathsAsked = 10000;

void CacheUse::learn_known_attributes() {
  if (const auto paths = cache_.known_paths(kKnownPathsAsked)) learn_attributes(*paths);
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
  FoundCommits found = cache_.find(key_.fingerprint, ids);
  // A shallow commit's diff changes once its parents arrive.
  for (std::size_t i = 0; i < commits.size(); ++i) {
    if (settings_.shallow.contains(commits[i].commit)) found.commits[i].reset();
  }
  const std::unordered_set<std::uint32_t> changed = changed_paths(found);
  std::vector<std::size_t> missing;
  for (std::size_t i = 0; i < commits.size(); ++i) {
    const auto& files = found.commits[i];
    if (!files || std::any_of(files->begin(), files->end(), [&](const StoredChange& file) {
          return changed.contains(file.path) || changed.contains(file.old_path);
        })) {
      missing.push_back(i);
      continue;
    }
    commits[i].files.reserve(files->size());
    for (const StoredChange& file : *files) commits[i].files.push_back(change_of(file, found));
  }
  return missing;
}

// The found paths are exactly those the found commits name.
std::unordered_set<std::uint32_t> CacheUse::changed_paths(const FoundCommits& found) {
  std::vector<std::string> paths;
  paths.reserve(found.paths.size());
  for (const auto& [id, path] : found.paths) paths.push_back(path.path);
  learn_attributes(paths);
  std::unordered_set<std::uint32_t> changed;
  for (const auto& [id, path] : found.paths) {
    if (attributes_.at(path.path) != path.attribute) changed.insert(id);
  }
  return changed;
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

void CacheUse::keep(const std::vector<CachedCommit>& commits) { cache_.store(key_, commits); }

}  // namespace lomarind::commit_cache
