#include "lomarind/storage/stored_changes.h"

#include <algorithm>
#include <array>
#include <limits>

namespace lomarind::commit_cache {
namespace {

// The statuses the git reader gives, by their stored number.
constexpr std::array<std::string_view, 5> kStatuses = {"added", "modified", "deleted", "renamed",
                                                       "copied"};

[[noreturn]] void damaged(std::string_view what) {
  throw CacheError("the cache file is damaged (" + std::string(what) + ")");
}

void put_varint(std::string& out, std::uint64_t value) {
  while (value >= 0x80) {
    out.push_back(static_cast<char>((value & 0x7f) | 0x80));
    value >>= 7;
  }
  out.push_back(static_cast<char>(value));
}

std::uint64_t get_varint(std::string_view& in) {
  std::uint64_t value = 0;
  for (int shift = 0; shift < 64; shift += 7) {
    if (in.empty()) damaged("an entry ends early");
    const auto byte = static_cast<unsigned char>(in.front());
    in.remove_prefix(1);
    value |= static_cast<std::uint64_t>(byte & 0x7f) << shift;
    if ((byte & 0x80) == 0) return value;
  }
  damaged("a number is too long");
}

// One file of a row; `old_path` null for none.
void add_file(StableHash& hash, std::string_view status, const StoredPath& path,
              const StoredPath* old_path, std::int64_t additions, std::int64_t deletions) {
  hash.text(status);
  hash.text(path.path);
  hash.text(path.attribute);
  hash.number(old_path != nullptr);
  if (old_path != nullptr) {
    hash.text(old_path->path);
    hash.text(old_path->attribute);
  }
  hash.number(static_cast<std::uint64_t>(additions));
  hash.number(static_cast<std::uint64_t>(deletions));
}

StableHash row_hash(std::string_view commit, std::uint64_t fingerprint) {
  StableHash hash;
  hash.text(commit);
  hash.number(fingerprint);
  return hash;
}

}  // namespace

std::uint64_t checksum(std::string_view commit, std::uint64_t fingerprint,
                       const std::vector<CachedChange>& files) {
  StableHash hash = row_hash(commit, fingerprint);
  for (const CachedChange& file : files) {
    const StoredPath path{file.change.path, file.attribute};
    const StoredPath old_path{file.change.old_path.value_or(""), file.old_attribute};
    add_file(hash, file.change.status, path, file.change.old_path ? &old_path : nullptr,
             file.change.additions, file.change.deletions);
  }
  return hash.value();
}

std::uint64_t checksum(std::string_view commit, std::uint64_t fingerprint,
                       const std::vector<StoredChange>& files, const PathTable& paths) {
  StableHash hash = row_hash(commit, fingerprint);
  for (const StoredChange& file : files) {
    add_file(hash, status_name(file.status), paths.at(file.path),
             file.old_path != 0 ? &paths.at(file.old_path) : nullptr, file.additions,
             file.deletions);
  }
  return hash.value();
}

std::string_view status_name(std::uint32_t status) { return kStatuses.at(status); }

// One file after another: status, path number, old path number + 1 (0:
// none), additions, deletions, each a base-128 varint.
std::vector<StoredChange> decode(std::string_view blob) {
  auto path_id = [](std::uint64_t id) {
    if (id == 0 || id > std::numeric_limits<std::uint32_t>::max()) {
      damaged("an entry names an impossible path number");
    }
    return static_cast<std::uint32_t>(id);
  };
  std::vector<StoredChange> files;
  while (!blob.empty()) {
    StoredChange& file = files.emplace_back();
    const std::uint64_t status = get_varint(blob);
    if (status >= kStatuses.size()) damaged("an unknown status");
    file.status = static_cast<std::uint32_t>(status);
    file.path = path_id(get_varint(blob));
    if (const std::uint64_t old = get_varint(blob); old != 0) file.old_path = path_id(old - 1);
    file.additions = static_cast<std::int64_t>(get_varint(blob));
    file.deletions = static_cast<std::int64_t>(get_varint(blob));
  }
  return files;
}

std::string encode(const std::vector<CachedChange>& files, const PathNumber& number) {
  std::string blob;
  for (const CachedChange& file : files) {
    auto status = std::find(kStatuses.begin(), kStatuses.end(), file.change.status);
    put_varint(blob, static_cast<std::uint64_t>(status - kStatuses.begin()));
    put_varint(blob, static_cast<std::uint64_t>(number(file.change.path, file.attribute)));
    put_varint(
        blob,
        file.change.old_path
            ? static_cast<std::uint64_t>(number(*file.change.old_path, file.old_attribute)) + 1
            : 0);
    put_varint(blob, static_cast<std::uint64_t>(file.change.additions));
    put_varint(blob, static_cast<std::uint64_t>(file.change.deletions));
  }
  return blob;
}

bool storable(const std::vector<CachedChange>& files) {
  for (const CachedChange& file : files) {
    if (std::find(kStatuses.begin(), kStatuses.end(), file.change.status) == kStatuses.end() ||
        file.change.additions < 0 || file.change.deletions < 0) {
      return false;
    }
  }
  return true;
}

}  // namespace lomarind::commit_cache
