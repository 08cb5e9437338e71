#include "lomarind/workers/git_history/hotspots.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "lomarind/utils/quoting.h"
#include "lomarind/workers/git_history/git_access.h"
#include "lomarind/workers/git_history/git_history.h"
#include "lomarind/workers/git_history/paging.h"
#include "lomarind/workers/git_history/period.h"
#include "lomarind/workers/git_history/source.h"

namespace lomarind::git_history {
namespace {

// The most commits first, then the most lines changed, then by path.
bool busiest_first(const detail::PathHistory& a, const detail::PathHistory& b) {
  if (a.commits != b.commits) return a.commits > b.commits;
  const std::int64_t lines_a = a.additions + a.deletions;
  const std::int64_t lines_b = b.additions + b.deletions;
  if (lines_a != lines_b) return lines_a > lines_b;
  return detail::code_point_less(a.path, b.path);
}

// The files that still exist at the end of the period, in fold order.
std::vector<detail::PathHistory> existing_files(std::vector<detail::PathHistory> histories) {
  std::erase_if(histories, [](const detail::PathHistory& history) { return !history.exists; });
  return histories;
}

// The rows of one page of file hotspots, scored against the busiest file
// of all. Only the page's files become rows: a period can name thousands.
std::vector<FileHotspot> file_page(std::vector<detail::PathHistory>& kept,
                                   const repository_changes::IndexedPaths& facts,
                                   std::int64_t limit, std::int64_t offset) {
  detail::sort_through_page(kept, limit, offset, busiest_first);
  const std::vector<detail::PathHistory> page = detail::page(kept, limit, offset);
  if (page.empty()) return {};
  return detail::file_rows(page, facts, kept.front().commits);
}

}  // namespace

HotspotsAnswer GitHistory::hotspots(const repository_changes::Repository& repository,
                                    const std::filesystem::path& repo_root,
                                    const HotspotsOptions& options) const {
  if (options.group_by != "file" && options.group_by != "component") {
    throw GitHistoryError("group_by must be 'file' or 'component'; got " +
                          quoting::quoted_name(options.group_by));
  }
  const detail::PeriodLog log = detail::read_period(n_.parse_time_spec, n_.git, n_.logger,
                                                    repo_root, options.since, options.branch);

  std::vector<detail::PathHistory> kept = existing_files(detail::histories(log.commits));
  const std::size_t existing = kept.size();
  const repository_changes::IndexedPaths facts = detail::index_facts(n_.index, repository.db, kept);
  if (options.source_only) detail::drop_non_source(kept, n_.filters, facts);
  HotspotsAnswer answer{.period = detail::period_fields(options.since, log),
                        .excluded_files = static_cast<std::int64_t>(existing - kept.size())};
  std::int64_t total = static_cast<std::int64_t>(kept.size());
  if (options.group_by == "component") {
    std::sort(kept.begin(), kept.end(), busiest_first);
    const std::vector<ComponentHotspot> ranked = detail::component_rows(kept, facts);
    total = static_cast<std::int64_t>(ranked.size());
    answer.hotspots = detail::page(ranked, options.limit, options.offset);
  } else {
    answer.hotspots = file_page(kept, facts, options.limit, options.offset);
  }
  const auto shown = std::visit([](const auto& rows) { return rows.size(); }, answer.hotspots);
  answer.page =
      detail::page_fields(total, options.limit, options.offset, static_cast<std::int64_t>(shown));
  return answer;
}

std::vector<FileHotspot> GitHistory::file_hotspots(const repository_changes::Repository& repository,
                                                   const std::filesystem::path& repo_root,
                                                   const FileHotspotsOptions& options) const {
  HotspotsAnswer answer;
  try {
    answer = hotspots(repository, repo_root,
                      {.since = options.since,
                       .branch = options.branch,
                       .group_by = "file",
                       .limit = options.limit,
                       .offset = 0,
                       .source_only = true});
  } catch (const GitHistoryError& error) {
    // A failed git command is worth an error; a history there is nothing to
    // read in (no commit yet, no such branch, no such period) is no hotspot.
    if (error.cause_is_git_error()) throw;
    n_.logger.info("No hotspots for %s: %s", {repo_root.string(), error.what()});
    return {};
  }
  return std::get<std::vector<FileHotspot>>(std::move(answer.hotspots));
}

}  // namespace lomarind::git_history
