#include "lomarind/workers/git_history/period.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <optional>
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

constexpr std::int64_t kSecondsPerDay = 86400;

struct CivilDate {
  std::int64_t year;  // proleptic Gregorian, astronomical: 0 is 1 BC
  unsigned month;     // 1 to 12
  unsigned day;       // 1 to 31
};

// The date of day `days` after 1970-01-01, for any day an int64 count of
// seconds reaches: whole 400-year eras of 146097 days, then the day within
// the era, counted from March so that the leap day comes last.
CivilDate civil_date(std::int64_t days) {
  const std::int64_t z = days + 719468;  // days since 0000-03-01
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const std::int64_t day_of_era = z - era * 146097;  // [0, 146096]
  const std::int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const std::int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 -
                                                 year_of_era / 100);  // [0, 365], from March 1
  const std::int64_t month_from_march = (5 * day_of_year + 2) / 153;  // [0, 11]
  const auto day = static_cast<unsigned>(day_of_year - (153 * month_from_march + 2) / 5 + 1);
  const auto month =
      static_cast<unsigned>(month_from_march < 10 ? month_from_march + 3 : month_from_march - 9);
  return {year_of_era + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

}  // namespace

std::vector<PathHistory> histories(std::span<const git_utils::CommitChanges> commits) {
  std::size_t changes = 0;
  for (const git_utils::CommitChanges& commit : commits) changes += commit.files.size();
  HistoryMap map(changes);
  // Reverse iterators rather than views::reverse, which clang 14 cannot
  // build over a span.
  for (auto commit = commits.rbegin(); commit != commits.rend(); ++commit) {
    for (const git_utils::FileChange& change : commit->files) map.apply(change, commit->timestamp);
  }
  return std::move(map).release();
}

std::string utc_timestamp(std::int64_t seconds) {
  // Floored, so that an instant before 1970 falls on the day it lies in.
  const std::int64_t remainder = seconds % kSecondsPerDay;
  const std::int64_t day = seconds / kSecondsPerDay - (remainder < 0 ? 1 : 0);
  const std::int64_t second_of_day = remainder < 0 ? remainder + kSecondsPerDay : remainder;
  const CivilDate date = civil_date(day);
  // Years 0 to 9999 take four digits; any other year takes its sign and at
  // least four digits, as ISO 8601's expanded years do.
  const bool expanded = date.year < 0 || date.year > 9999;
  const std::string year = fmt::format("{}{:04}", expanded ? (date.year < 0 ? "-" : "+") : "",
                                       date.year < 0 ? -date.year : date.year);
  return fmt::format("{}-{:02}-{:02}T{:02}:{:02}:{:02}+00:00", year, date.month, date.day,
                     second_of_day / 3600, second_of_day / 60 % 60, second_of_day % 60);
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
