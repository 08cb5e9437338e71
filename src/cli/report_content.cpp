#include <algorithm>
#include <cstdint>
#include <utility>

#include "cli/history_session.h"
#include "cli/report.h"
#include "lomarind/git/kept_log_reader.h"
#include "lomarind/workers/git_history/period.h"

namespace lomarind::cli {

namespace {

constexpr std::int64_t kWeek = 7 * 86400;
constexpr std::int64_t kFirstMonday = 4 * 86400;  // 1970-01-05

std::int64_t week_start(std::int64_t time) {
  const std::int64_t since = time - kFirstMonday;
  const std::int64_t weeks = since / kWeek - (since % kWeek < 0 ? 1 : 0);
  return weeks * kWeek + kFirstMonday;
}

// The report's questions, each one answer of the module about the period.
struct Questions {
  const git_history::GitHistory& history;
  const HistoryQuery& query;
  const ReportArgs& args;

  git_history::HotspotsAnswer hotspots(const char* group_by, std::int64_t limit) const {
    return history.hotspots(query.repository, query.repo_root,
                            {.since = args.since,
                             .branch = args.branch,
                             .group_by = group_by,
                             .limit = limit,
                             .offset = 0,
                             .source_only = args.source_only});
  }

  git_history::CouplingAnswer coupling(std::int64_t limit) const {
    return history.change_coupling(query.repository, query.repo_root,
                                   {.since = args.since,
                                    .branch = args.branch,
                                    .path = std::nullopt,
                                    .source_only = args.source_only,
                                    .min_revisions = git_history::kDefaultMinRevisions,
                                    .min_shared = git_history::kDefaultMinShared,
                                    .min_degree = git_history::kDefaultMinDegree,
                                    .max_changeset = git_history::kDefaultMaxChangeset,
                                    .limit = limit,
                                    .offset = 0});
  }

  git_history::RecentChangesAnswer recent(std::int64_t limit, bool symbols) const {
    return history.recent_changes(query.repository, query.repo_root,
                                  {.since = args.since,
                                   .branch = args.branch,
                                   .include_symbols = symbols,
                                   .limit = limit,
                                   .offset = 0,
                                   .source_only = args.source_only});
  }
};

}  // namespace

const std::vector<git_history::FileHotspot>& file_rows(const ReportContent& content) {
  return std::get<std::vector<git_history::FileHotspot>>(content.files.hotspots);
}

const std::vector<git_history::ComponentHotspot>& component_rows(const ReportContent& content) {
  return std::get<std::vector<git_history::ComponentHotspot>>(content.components.hotspots);
}

std::vector<WeekCount> weekly_commits(const std::vector<std::int64_t>& timestamps,
                                      std::int64_t period_start, std::int64_t now, bool cut) {
  std::int64_t last = week_start(now);
  std::int64_t first = week_start(period_start);
  if (!timestamps.empty()) {
    const auto [oldest, newest] = std::minmax_element(timestamps.begin(), timestamps.end());
    last = std::max(last, week_start(*newest));
    // A cut period, or one far longer than its history, starts where the
    // commits do: the weeks before are unknown, or empty by construction.
    if (cut || first <= last - static_cast<std::int64_t>(kMaxWeeks) * kWeek) {
      first = std::max(first, week_start(*oldest));
    }
  }
  first = std::max(first, last - static_cast<std::int64_t>(kMaxWeeks - 1) * kWeek);
  std::vector<WeekCount> weeks;
  // Counted, not stepped up to `last`, which may sit at the end of the range.
  const std::int64_t count = (last - first) / kWeek + 1;
  for (std::int64_t i = 0; i < count; ++i) weeks.push_back({first + i * kWeek, 0});
  for (std::int64_t time : timestamps) {
    const std::int64_t week = week_start(time);
    if (week >= first && week <= last)
      ++weeks[static_cast<std::size_t>((week - first) / kWeek)].commits;
  }
  return weeks;
}

ReportContent gather_report(const HistorySession& session, const ReportArgs& args, bool index_used,
                            std::chrono::sys_seconds now) {
  const git_history::Neighbours production = session.production().neighbours();
  const git_utils::KeptLogReader git(production.git);
  const git_history::GitHistory history(git_history::Neighbours{
      git, production.index, production.filters, production.logger, production.parse_time_spec});
  const HistoryQuery query = session.query();

  ReportContent content;
  content.repository = query.repo_root.string();
  content.index_used = index_used;
  content.generated = now.time_since_epoch().count();
  const Questions ask{history, query, args};
  content.files = ask.hotspots("file", kMapFiles);
  content.components = ask.hotspots("component", kMaxComponents);
  content.coupling = ask.coupling(kCouplingPairs);
  content.recent = ask.recent(kRecentRows, index_used);

  const git_utils::KeptLog& log = *git.last_log();
  content.period_start = log.since.time_since_epoch().count();
  std::vector<std::int64_t> timestamps;
  timestamps.reserve(log.commits.size());
  for (const git_utils::CommitChanges& commit : log.commits) timestamps.push_back(commit.timestamp);
  content.weeks = weekly_commits(timestamps, content.period_start, content.generated,
                                 content.files.period.commit_limit_reached);
  return content;
}

}  // namespace lomarind::cli
