#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <span>

#include "cli/columns.h"
#include "cli/markup_text.h"
#include "cli/report.h"
#include "cli/report_charts.h"
#include "cli/time_text.h"

namespace lomarind::cli {

namespace {

std::string markdown_cell(const CellValue& value) {
  if (value.kind == CellKind::kTime) return date_minute_text(value.time);
  std::string text = value.text ? markdown_text(*value.text) : "";
  if (value.old_name) text += " (from " + markdown_text(*value.old_name) + ")";
  return text;
}

// The grid as a GitHub-flavoured table under a "## title"; the rows'
// symbols, when they carry any, in a last column.
std::string markdown_table(std::string_view title, const Grid& grid) {
  std::string head = fmt::format("\n## {}\n\n|", title);
  std::string rule = "|";
  for (const Column& column : grid.columns) {
    head += " " + column.title + " |";
    rule += column.align == Align::kRight ? "--:|" : "---|";
  }
  if (grid.has_details) {
    head += " Symbols |";
    rule += "---|";
  }
  std::string out = head + "\n" + rule + "\n";
  for (const Grid::Line& line : grid.lines) {
    out += "|";
    for (const CellValue& value : line.cells) out += fmt::format(" {} |", markdown_cell(value));
    if (grid.has_details) {
      std::string symbols;
      for (const std::string& detail : line.details) {
        symbols += (symbols.empty() ? "" : "; ") + markdown_text(detail);
      }
      out += " " + symbols + " |";
    }
    out += "\n";
  }
  return out;
}

std::string header_md(const ReportContent& content) {
  const git_history::PeriodFields& period = content.files.period;
  const std::string name = std::filesystem::path(content.repository).filename().string();
  std::string out = fmt::format("# Hotspots of {}\n\n| | |\n|---|---|\n", markdown_text(name));
  out += fmt::format("| Repository | {} |\n", markdown_text(content.repository));
  out += fmt::format("| Branch | {} |\n", markdown_text(period.branch));
  out += fmt::format("| Period | since {} ({} to {}) |\n", markdown_text(period.since),
                     date_text(content.period_start), date_text(content.generated));
  out += fmt::format("| Commits read | {} |\n", period.commit_count);
  out += fmt::format("| Commit limit | {} |\n", period.commit_limit_reached
                                                    ? "reached: older commits are left out"
                                                    : "not reached");
  out += fmt::format("| Index | {} |\n", content.index_used ? "used" : "none");
  return out;
}

std::string weeks_md(const ReportContent& content) {
  std::string out = "\n## Commits per week\n\n| Week of | Commits |\n|---|--:|\n";
  for (const WeekCount& week : content.weeks) {
    out += fmt::format("| {} | {} |\n", date_text(week.start), week.commits);
  }
  return out;
}

}  // namespace

std::string report_markdown(const ReportContent& content) {
  const auto& files = file_rows(content);
  const auto shown = std::span(files).first(std::min<std::size_t>(files.size(), kTableFiles));
  return header_md(content) +
         markdown_table("File hotspots", make_grid(file_hotspot_columns(), shown)) +
         markdown_table("Component hotspots", make_grid(component_hotspot_columns(),
                                                        std::span(component_rows(content)))) +
         markdown_table("Change coupling",
                        make_grid(coupling_columns(), std::span(content.coupling.pairs))) +
         markdown_table("Recent changes (UTC)",
                        make_grid(history_columns(), std::span(content.recent.files))) +
         weeks_md(content);
}

}  // namespace lomarind::cli
