// The commit cache file: what each commit changed, as git showed it, kept
// in one SQLite file so that a commit's diff is computed once. Paths are
// stored once each. Entries are keyed by commit and by a fingerprint of the
// repository state that shaped the diff; each path also carries the `diff`
// attribute it had, so that a caller can tell whether git would still count
// the file the same way. Internal to storage/.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "lomarind/storage/stored_changes.h"

namespace lomarind::commit_cache {

struct CachedCommit {
  std::string commit;
  std::vector<CachedChange> files;
};

struct FoundCommits {
  // By position of the commits asked for; nullopt for one not held.
  std::vector<std::optional<std::vector<StoredChange>>> commits;
  // The path table by number; every number a StoredChange holds is within it.
  std::vector<StoredPath> paths;
};

// An open cache file. Move-only.
class CommitCache {
 public:
  ~CommitCache();
  CommitCache(CommitCache&&) noexcept;
  CommitCache& operator=(CommitCache&&) noexcept;

  // Opens the cache at `file`, creating it (and its folder) when missing.
  // Throws CacheError for a symbolic link, a file of another kind or
  // schema, a damaged file, or one that cannot be opened; such a file is
  // left as it is.
  static CommitCache open(const std::filesystem::path& file);

  // The path table by number (number 0 unused). Throws CacheError when
  // the file cannot be read.
  std::vector<StoredPath> paths() const;

  // The entries of `commits` under `fingerprint`, with `paths` (as paths()
  // gave it, or empty) extended by whatever was added since. Throws
  // CacheError when the file cannot be read or is damaged.
  FoundCommits find(std::uint64_t fingerprint, const std::vector<std::string>& commits,
                    std::vector<StoredPath> paths = {}) const;

  // Adds `commits` under `fingerprint` in one transaction, replacing their
  // entries and dropping those of other fingerprints. Throws CacheError
  // when the file cannot be written (read-only, locked); nothing is then
  // written.
  void store(std::uint64_t fingerprint, const std::vector<CachedCommit>& commits);

 private:
  struct Impl;
  explicit CommitCache(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace lomarind::commit_cache
