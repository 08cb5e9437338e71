#include "lomarind/workers/git_history/period.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "lomarind/workers/git_history/git_history.h"

namespace lomarind::git_history::detail {
namespace {

PathHistory new_history(const git_utils::FileChange& change,
                        const std::optional<std::string>& moved_from) {
  const bool created = change.status == "added" || change.status == "copied";
  const std::string& origin = moved_from && !moved_from->empty() ? *moved_from : change.path;
  return PathHistory{.path = change.path, .origin = origin, .created = created};
}

void record_change(PathHistory& history, const git_utils::FileChange& change,
                   std::int64_t timestamp) {
  if (history.path != change.path) history.path = change.path;
  history.exists = change.status != "deleted";
  history.commits += 1;
  history.additions += change.additions;
  history.deletions += change.deletions;
  history.last_changed = std::max(history.last_changed, timestamp);
}

// The working map of the fold: records in insertion order, with an index
// from path to slot. A record moved away by a rename leaves an empty slot
// behind, so nothing is ever erased from the middle of the order.
class HistoryMap {
 public:
  explicit HistoryMap(std::size_t expected) { slot_of_.reserve(expected); }

  void apply(const git_utils::FileChange& change, std::int64_t timestamp) {
    std::optional<std::string> moved_from;
    if (change.status == "renamed") moved_from = change.old_path;
    std::optional<PathHistory> taken;
    if (moved_from) taken = take(*moved_from);
    const auto [it, inserted] = slot_of_.try_emplace(change.path, slots_.size());
    if (inserted) {
      slots_.push_back(taken ? std::move(*taken) : new_history(change, moved_from));
    } else if (taken) {
      slots_[it->second] = std::move(*taken);
    }
    record_change(*slots_[it->second], change, timestamp);
  }

  std::vector<PathHistory> release() && {
    std::vector<PathHistory> out;
    out.reserve(slot_of_.size());
    for (std::optional<PathHistory>& slot : slots_) {
      if (slot) out.push_back(std::move(*slot));
    }
    return out;
  }

 private:
  std::optional<PathHistory> take(const std::string& path) {
    const auto it = slot_of_.find(path);
    if (it == slot_of_.end()) return std::nullopt;
    std::optional<PathHistory> taken = std::move(slots_[it->second]);
    slots_[it->second].reset();
    slot_of_.erase(it);
    return taken;
  }

  std::vector<std::optional<PathHistory>> slots_;
  std::unordered_map<std::string, std::size_t> slot_of_;
};

}  // namespace

std::vector<PathHistory> histories(std::span<const git_utils::CommitChanges> commits) {
  std::size_t changes = 0;
  for (const git_utils::CommitChanges& commit : commits) changes += commit.files.size();
  HistoryMap map(changes);
  for (auto commit = commits.rbegin(); commit != commits.rend(); ++commit) {
    for (const git_utils::FileChange& change : commit->files) map.apply(change, commit->timestamp);
  }
  return std::move(map).release();
}

}  // namespace lomarind::git_history::detail
