#include "lomarind/workers/git_history/records.h"

#include <algorithm>
#include <utility>

#include "lomarind/utils/utf8.h"

namespace lomarind::git_history {

bool GitHistoryError::cause_is_git_error() const {
  if (!cause_) return false;
  try {
    std::rethrow_exception(cause_);
  } catch (const git_utils::GitError&) {
    return true;
  } catch (...) {
    return false;
  }
}

std::optional<std::string> BranchChanges::note() const {
  if (base_commit_ == head_commit_) return std::string(detail::kSameCommitNote);
  return std::nullopt;
}

namespace detail {
namespace {

// The code point at `pos` and its length in bytes; a byte that starts no
// well-formed sequence is one code point of its own, 0xDC00 + the byte, as a
// host decoding names with surrogate escapes sees it.
std::pair<char32_t, std::size_t> code_point_at(std::string_view s, std::size_t pos) {
  if (const std::optional<utf8::CodePoint> cp = utf8::decode_utf8(s, pos)) {
    return {cp->value, cp->length};
  }
  return {0xDC00 + static_cast<unsigned char>(s[pos]), 1};
}

}  // namespace

bool code_point_less(std::string_view a, std::string_view b) {
  // No sequence spans an ASCII byte, so up to the last ASCII byte before
  // the first difference both names decode alike; compare from there.
  const auto [diff_a, diff_b] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  std::size_t pos_a = static_cast<std::size_t>(diff_a - a.begin());
  while (pos_a > 0 && static_cast<unsigned char>(a[pos_a - 1]) >= 0x80) --pos_a;
  std::size_t pos_b = pos_a;
  while (pos_a < a.size() && pos_b < b.size()) {
    const auto [cp_a, length_a] = code_point_at(a, pos_a);
    const auto [cp_b, length_b] = code_point_at(b, pos_b);
    if (cp_a != cp_b) return cp_a < cp_b;
    pos_a += length_a;
    pos_b += length_b;
  }
  return pos_a == a.size() && pos_b < b.size();
}

std::string PathHistory::status() const {
  if (!exists) return "deleted";
  if (created) return "added";
  if (path == origin) return "modified";
  return "renamed";
}

git_utils::FileChange PathHistory::as_change() const {
  const std::string current = status();
  std::optional<std::string> old_path;
  if (current == "renamed") old_path = origin;
  return git_utils::FileChange{path, current, additions, deletions, old_path};
}

}  // namespace detail
}  // namespace lomarind::git_history
