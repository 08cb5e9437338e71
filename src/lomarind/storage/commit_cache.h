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
#include <vector>

#include "lomarind/utils/git_utils.h"

namespace lomarind::commit_cache {

// The cache file cannot be used; the text says why. The caller reads git
// instead.
class CacheError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// One file of a commit with the `diff` attribute of its path (and of its
// old path, for a rename or copy) at the time git read it.
struct CachedChange {
  git_utils::FileChange change;
  std::string attribute;
  std::string old_attribute;  // empty without an old path

  bool operator==(const CachedChange&) const = default;
};

struct CachedCommit {
  std::string commit;
  std::vector<CachedChange> files;
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

  // The entries of `commits` under `fingerprint`, in the same order;
  // nullopt for a commit the cache does not hold. Throws CacheError when
  // the file cannot be read.
  std::vector<std::optional<std::vector<CachedChange>>> find(
      std::uint64_t fingerprint, const std::vector<std::string>& commits) const;

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
