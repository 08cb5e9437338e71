// The commit cache file: what each commit changed, as git showed it, kept
// in one SQLite file so that a commit's diff is computed once. Paths are
// stored once each. Entries are keyed by commit and by a fingerprint of the
// repository state that shaped the diff; each path also carries the `diff`
// attribute it had, so that a caller can tell whether git would still count
// the file the same way. The file stays under a size cap: the entries
// stored longest ago are pruned first, and with them the paths no entry
// names any more. It is never memory-mapped: another process may truncate
// it, and a mapped page that vanished would kill the host. Internal to
// storage/.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lomarind/storage/stored_changes.h"

namespace lomarind::commit_cache {

// The cache file of the repository whose git common dir is `common_dir`,
// beside the default index and shared by every worktree.
std::filesystem::path cache_file(const std::filesystem::path& common_dir);

// The cap on the cache file's size.
inline constexpr std::uint64_t kCacheBytes = 64ull << 20;

struct CachedCommit {
  std::string commit;
  std::vector<CachedChange> files;
};

struct FoundCommits {
  // By position of the commits asked for; nullopt for one not held.
  std::vector<std::optional<std::vector<StoredChange>>> commits;
  // Every path the found commits name, by number.
  PathTable paths;
};

// What an entry is kept under: the repository state that shaped its diff,
// and the git program that read it (its version), whose entries only it
// replaces.
struct CacheKey {
  std::uint64_t fingerprint = 0;
  std::uint64_t git = 0;
};

// An open cache file. Move-only.
class CommitCache {
 public:
  ~CommitCache();
  CommitCache(CommitCache&&) noexcept;
  CommitCache& operator=(CommitCache&&) noexcept;

  // Opens the cache at `file`, creating it (and its folder) when missing;
  // stores keep it under `max_bytes`. Throws CacheError for a symbolic link,
  // a file of another kind or schema, a damaged file, or one that cannot be
  // opened; such a file is left as it is.
  static CommitCache open(const std::filesystem::path& file, std::uint64_t max_bytes = kCacheBytes);

  // The entries of `commits` under `fingerprint`, and the paths they name,
  // read together; an entry that names a path the table lacks, or no
  // longer matches its checksum, counts as not held. Throws CacheError when
  // the file cannot be read or is damaged.
  FoundCommits find(std::uint64_t fingerprint, const std::vector<std::string>& commits) const;
  // Every path the cache names, each once; nullopt when there are more than
  // `at_most`. Throws CacheError as find() does.
  std::optional<std::vector<std::string>> known_paths(std::size_t at_most) const;

  // Adds `commits` under `key` in one transaction, replacing their entries
  // and dropping those of the same git under another fingerprint (another
  // git's stay: a host running it still reads them), then prunes the file
  // to its cap. Throws CacheError when the file cannot be written
  // (read-only, locked); nothing is then written.
  void store(const CacheKey& key, const std::vector<CachedCommit>& commits);

 private:
  struct Impl;
  explicit CommitCache(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace lomarind::commit_cache
