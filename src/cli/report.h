// `lomarind report`: a period's hotspots, change coupling and recent changes
// as one page to look at (HTML) or as tables for a wiki (Markdown). Every
// part is one of the module's own answers, exactly as `lomarind hotspots`,
// `lomarind coupling` and `lomarind recent` give it, all built from one read
// of the period's log.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "lomarind/workers/git_history/answers.h"

namespace lomarind::cli {

class HistorySession;

inline constexpr std::int64_t kMapFiles = 400;       // files on the map, busiest first
inline constexpr std::int64_t kTableFiles = 50;      // rows of the file table
inline constexpr std::int64_t kMaxComponents = 200;  // rows of the component table
inline constexpr std::int64_t kRecentRows = 30;      // rows of recent changes
inline constexpr std::int64_t kCouplingPairs = 30;   // pairs of the coupling table and picture
inline constexpr std::size_t kMaxWeeks = 260;        // bars of the weekly chart

struct WeekCount {
  std::int64_t start = 0;  // Monday 00:00, Unix seconds, UTC
  std::int64_t commits = 0;
};

// What a report shows.
struct ReportContent {
  std::string repository;  // the work tree's top level
  bool index_used = false;
  std::int64_t generated = 0;               // Unix seconds, UTC
  std::int64_t period_start = 0;            // Unix seconds, UTC
  git_history::HotspotsAnswer files;        // by file: the kMapFiles busiest
  git_history::HotspotsAnswer components;   // by component
  git_history::CouplingAnswer coupling;     // the kCouplingPairs strongest, usual thresholds
  git_history::RecentChangesAnswer recent;  // the latest kRecentRows, symbols when indexed
  std::vector<WeekCount> weeks;                      // oldest first
};

// Asks the module each answer of the report. The session's git reader is
// wrapped so that the period's log is read once. Throws what the answers
// throw.
ReportContent gather_report(const HistorySession& session, const ReportArgs& args, bool index_used,
                            std::chrono::sys_seconds now);

// Commits per week from `period_start` to `now`, counted from a log
// (newest first): at most kMaxWeeks, the latest; when `cut` (the commit
// limit cut the period) the chart starts at the oldest commit read.
std::vector<WeekCount> weekly_commits(const std::vector<std::int64_t>& timestamps,
                                      std::int64_t period_start, std::int64_t now, bool cut);

// The file and component rows of the report's two hotspot answers.
const std::vector<git_history::FileHotspot>& file_rows(const ReportContent& content);
const std::vector<git_history::ComponentHotspot>& component_rows(const ReportContent& content);

std::string report_html(const ReportContent& content);
std::string report_markdown(const ReportContent& content);

enum class ReportFormat { kHtml, kMarkdown };

// The format asked for, else the one the output's name says (.md or
// .markdown, .html or .htm), else HTML. Throws std::runtime_error for an
// output named as the other format than the one asked for: it is refused
// before anything is read, rather than written in the wrong format.
ReportFormat report_format(const ReportArgs& args);

// Writes the report that `args` asks for and prints the path it wrote, or
// writes the report itself to stdout for the output "-".
int run_report(const HistorySession& session, const ReportArgs& args, ReportFormat format,
               bool index_used, const Terminal& terminal);

}  // namespace lomarind::cli
