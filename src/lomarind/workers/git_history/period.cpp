#include "lomarind/workers/git_history/period.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <ranges>
#include <stdexcept>
#include <string_view>
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
  for (const git_utils::CommitChanges& commit : commits | std::views::reverse) {
    for (const git_utils::FileChange& change : commit.files) map.apply(change, commit.timestamp);
  }
  return std::move(map).release();
}

std::string utc_timestamp(std::int64_t seconds) {
  using namespace std::chrono;
  // 0001-01-01T00:00:00 and 9999-12-31T23:59:59 UTC.
  constexpr std::int64_t kFirst = -62135596800;
  constexpr std::int64_t kLast = 253402300799;
  if (seconds < kFirst || seconds > kLast) {
    throw std::out_of_range("timestamp " + std::to_string(seconds) + " is out of range");
  }
  const sys_seconds instant{std::chrono::seconds(seconds)};
  const sys_days day = floor<days>(instant);
  const year_month_day date{day};
  const hh_mm_ss time{instant - day};
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d+00:00",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
  return text;
}

Json period_fields(const std::string& since, const std::string& branch,
                   std::span<const git_utils::CommitChanges> commits) {
  Json fields = Json::object();
  fields["since"] = since;
  fields["branch"] = branch;
  fields["commit_count"] = static_cast<std::int64_t>(commits.size());
  if (commits.size() >= static_cast<std::size_t>(MAX_COMMITS))
    fields["commit_limit_reached"] = true;
  return fields;
}

}  // namespace lomarind::git_history::detail
