// One period's use of the commit cache: the cached commits, checked
// against the repository as it is now, and the commits read from git added
// to it. Internal to storage/.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "lomarind/git/diff_settings.h"
#include "lomarind/git/git_runner.h"
#include "lomarind/storage/commit_cache.h"
#include "lomarind/utils/git_utils.h"

namespace lomarind::commit_cache {

class CacheUse {
 public:
  CacheUse(CommitCache cache, git_utils::DiffSettings settings, const git_utils::GitRunner& runner,
           const std::filesystem::path& repo_root);

  // Asks git now, in one go, for the `diff` attribute of every path the
  // cache names, unless there are too many: what fill() then needs is
  // usually known already. Throws GitError.
  void learn_known_attributes();
  // Gives the commits the cache holds their files; returns the positions
  // of the others. Throws CacheError or GitError, having filled nothing.
  std::vector<std::size_t> fill(std::vector<git_utils::CommitChanges>& commits);
  // The commits at `read` positions as the cache keeps them. Throws
  // GitError.
  std::vector<CachedCommit> to_keep(const std::vector<git_utils::CommitChanges>& commits,
                                    const std::vector<std::size_t>& read);
  // Adds `commits` to the cache. Throws CacheError.
  void keep(const std::vector<CachedCommit>& commits);

 private:
  // Asks git (once) for the `diff` attribute of each of `paths` not asked
  // yet.
  void learn_attributes(const std::vector<std::string>& paths);
  // The numbers of the found paths whose attribute is not the stored one.
  std::unordered_set<std::uint32_t> changed_paths(const FoundCommits& found);

  CommitCache cache_;
  const git_utils::DiffSettings settings_;
  const CacheKey key_;
  const git_utils::GitRunner& runner_;
  const std::filesystem::path repo_root_;
  std::unordered_map<std::string, std::string> attributes_;
};

// The cache of the repository at `repo_root`, ready to be asked, kept
// under `max_bytes`. Throws CacheError or GitError when it cannot be used.
CacheUse start_use(const git_utils::GitRunner& runner, const std::filesystem::path& repo_root,
                   std::uint64_t max_bytes = kCacheBytes);

}  // namespace lomarind::commit_cache
