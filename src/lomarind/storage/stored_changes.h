// How the commit cache stores one commit's files: a compact row of numbers
// (status, path numbers, line counts), paths being kept once in a table of
// their own. Internal to storage/.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
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

// A path of the cache's path table, with the `diff` attribute it had.
struct StoredPath {
  std::string path;
  std::string attribute;
};

// Paths of the path table by number: only those some rows name.
using PathTable = std::unordered_map<std::uint32_t, StoredPath>;

// One file of a commit as stored: its paths by their number in the path
// table, so that reading a commit copies no strings.
struct StoredChange {
  std::uint32_t status = 0;    // a number of status_name()
  std::uint32_t path = 0;      // head-side path
  std::uint32_t old_path = 0;  // 0: none
  std::int64_t additions = 0;
  std::int64_t deletions = 0;
};

// The status a StoredChange's number stands for.
std::string_view status_name(std::uint32_t status);

// The number of (path, attribute) in the path table, added when new.
using PathNumber =
    std::function<std::uint32_t(const std::string& path, const std::string& attribute)>;

// Whether the row format can hold `files`: statuses outside the stored set
// are rare enough to leave to git.
bool storable(const std::vector<CachedChange>& files);

// The row of `files`. REQUIRES: storable(files).
std::string encode(const std::vector<CachedChange>& files, const PathNumber& number);

// The files of a row that encode() wrote. Throws CacheError for anything
// else. Whether the path numbers it holds are in the path table is the
// caller's to check.
std::vector<StoredChange> decode(std::string_view row);

// FNV-1a, 64 bits: the same for the same input in every build and process,
// which std::hash is not.
class StableHash {
 public:
  // A field of text; a NUL after it keeps two fields from running together.
  void text(std::string_view part) {
    for (char c : part) byte(static_cast<unsigned char>(c));
    byte(0);
  }
  void number(std::uint64_t value) {
    for (int i = 0; i < 8; ++i) byte(static_cast<unsigned char>(value >> (8 * i)));
  }
  std::uint64_t value() const { return hash_; }

 private:
  void byte(unsigned char c) {
    hash_ ^= c;
    hash_ *= 1099511628211ull;
  }
  std::uint64_t hash_ = 14695981039346656037ull;
};

// What a row says, paths and attributes spelled out, as one number: a row
// whose bytes, key or paths were changed after it was written (by hand, by
// a faulty disk) no longer matches it, and is read from git again.
std::uint64_t checksum(std::string_view commit, std::uint64_t fingerprint,
                       const std::vector<CachedChange>& files);
// The same for a row as read, against the path table it names.
// REQUIRES: `paths` holds every path number of `files`.
std::uint64_t checksum(std::string_view commit, std::uint64_t fingerprint,
                       const std::vector<StoredChange>& files, const PathTable& paths);

}  // namespace lomarind::commit_cache
