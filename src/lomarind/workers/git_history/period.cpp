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
// behind, so nothing is ever erased from the middle of the order. Each
// record keeps the number it was created under wherever it moves, so that a
// caller can tell which record took a change.
class HistoryMap {
 public:
  explicit HistoryMap(std::size_t expected) { slot_of_.reserve(expected); }

  // Folds in one change; returns the number of the record that took it.
  std::size_t apply(const git_utils::FileChange& change, std::int64_t timestamp) {
    std::optional<std::string> moved_from;
    if (change.status == "renamed") moved_from = change.old_path;
    std::optional<Record> taken;
    if (moved_from) taken = take(*moved_from);
    const auto [it, inserted] = slot_of_.try_emplace(change.path, slots_.size());
    if (inserted) {
      slots_.push_back(taken ? std::move(*taken) : new_record(change, moved_from));
    } else if (taken) {
      slots_[it->second] = std::move(*taken);
    }
    Record& record = *slots_[it->second];
    record_change(record.history, change, timestamp);
    return record.number;
  }

  // The records in fold order, and where each record number ended up there
  // (kNoRecord for a record that a rename onto its path dropped).
  std::pair<std::vector<PathHistory>, std::vector<std::size_t>> release() && {
    std::vector<PathHistory> out;
    out.reserve(slot_of_.size());
    std::vector<std::size_t> position(next_number_, kNoRecord);
    for (std::optional<Record>& slot : slots_) {
      if (!slot) continue;
      position[slot->number] = out.size();
      out.push_back(std::move(slot->history));
    }
    return {std::move(out), std::move(position)};
  }

 private:
  struct Record {
    PathHistory history;
    std::size_t number;
  };

  Record new_record(const git_utils::FileChange& change,
                    const std::optional<std::string>& moved_from) {
    return Record{new_history(change, moved_from), next_number_++};
  }

  std::optional<Record> take(const std::string& path) {
    const auto it = slot_of_.find(path);
    if (it == slot_of_.end()) return std::nullopt;
    std::optional<Record> taken = std::move(slots_[it->second]);
    slots_[it->second].reset();
    slot_of_.erase(it);
    return taken;
  }

  std::vector<std::optional<Record>> slots_;
  std::unordered_map<std::string, std::size_t> slot_of_;
  std::size_t next_number_ = 0;
};

// Folds the log oldest first, telling `on_change(commit, record)` the
// position of each change's commit in `commits` and the number of the
// record that took the change.
template <typename OnChange>
HistoryMap fold(std::span<const git_utils::CommitChanges> commits, OnChange on_change) {
  std::size_t changes = 0;
  for (const git_utils::CommitChanges& commit : commits) changes += commit.files.size();
  HistoryMap map(changes);
  for (std::size_t i = commits.size(); i-- > 0;) {
    for (const git_utils::FileChange& change : commits[i].files) {
      on_change(i, map.apply(change, commits[i].timestamp));
    }
  }
  return map;
}

}  // namespace

std::vector<PathHistory> histories(std::span<const git_utils::CommitChanges> commits) {
  return std::move(fold(commits, [](std::size_t, std::size_t) {})).release().first;
}

FoldedLog fold_log(std::span<const git_utils::CommitChanges> commits) {
  FoldedLog folded;
  folded.records_of_commit.resize(commits.size());
  for (std::size_t i = 0; i < commits.size(); ++i) {
    folded.records_of_commit[i].reserve(commits[i].files.size());
  }
  HistoryMap map = fold(commits, [&](std::size_t commit, std::size_t record) {
    folded.records_of_commit[commit].push_back(record);
  });
  auto [records, position] = std::move(map).release();
  for (std::vector<std::size_t>& records_of_commit : folded.records_of_commit) {
    for (std::size_t& record : records_of_commit) record = position[record];
  }
  folded.histories = std::move(records);
  return folded;
}

}  // namespace lomarind::git_history::detail
