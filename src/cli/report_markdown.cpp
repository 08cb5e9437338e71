#include <fmt/format.h>

#include <filesystem>

#include "cli/markup_text.h"
#include "cli/report.h"
#include "cli/report_charts.h"

namespace lomarind::cli {

namespace {

// A cell's text; an absent value is an empty cell.
std::string cell(const Json& row, const char* key) {
  const auto it = row.find(key);
  if (it == row.end() || it->is_null()) return "";
  return markdown_text(it->is_string() ? it->get<std::string>() : it->dump());
}

std::string risk(const Json& row) { return fmt::format("{:.2f}", row.value("risk_score", 0.0)); }

std::string header_md(const ReportContent& content) {
  const Json& answer = content.files;
  const std::string name = std::filesystem::path(content.repository).filename().string();
  const bool cut = answer.contains("commit_limit_reached");
  std::string out = fmt::format("# Hotspots of {}\n\n| | |\n|---|---|\n", markdown_text(name));
  out += fmt::format("| Repository | {} |\n", markdown_text(content.repository));
  out += fmt::format("| Branch | {} |\n", cell(answer, "branch"));
  out += fmt::format("| Period | since {} ({} to {}) |\n", cell(answer, "since"),
                     date_text(content.period_start), date_text(content.generated));
  out += fmt::format("| Commits read | {} |\n", cell(answer, "commit_count"));
  out += fmt::format("| Commit limit | {} |\n",
                     cut ? "reached: older commits are left out" : "not reached");
  out += fmt::format("| Index | {} |\n", content.index_used ? "used" : "none");
  return out;
}

std::string files_md(const ReportContent& content) {
  std::string out =
      "\n## File hotspots\n\n| File | Commits | Added | Deleted | Component | Risk |\n"
      "|---|--:|--:|--:|---|--:|\n";
  std::int64_t shown = 0;
  for (const Json& row : content.files.at("hotspots")) {
    if (shown++ == kTableFiles) break;
    out += fmt::format("| {} | {} | {} | {} | {} | {} |\n", cell(row, "name"), cell(row, "commits"),
                       cell(row, "additions"), cell(row, "deletions"), cell(row, "component"),
                       risk(row));
  }
  return out;
}

std::string components_md(const ReportContent& content) {
  std::string out =
      "\n## Component hotspots\n\n| Component | Commits | Added | Deleted | Files | Risk |\n"
      "|---|--:|--:|--:|--:|--:|\n";
  for (const Json& row : content.components.at("hotspots")) {
    out +=
        fmt::format("| {} | {} | {} | {} | {} | {} |\n", cell(row, "name"), cell(row, "commits"),
                    cell(row, "additions"), cell(row, "deletions"), cell(row, "files"), risk(row));
  }
  return out;
}

std::string symbols_md(const Json& row) {
  std::string out;
  for (const Json& symbol : row.value("symbols", Json::array())) {
    if (!out.empty()) out += "; ";
    out += fmt::format("{} {} ({}-{})", cell(symbol, "kind"), cell(symbol, "name"),
                       cell(symbol, "line"), cell(symbol, "end_line"));
  }
  return out;
}

std::string recent_md(const ReportContent& content) {
  std::string out =
      "\n## Recent changes\n\n| File | Status | Old path | Commits | Added | Deleted | "
      "Last change | Symbols |\n|---|---|---|--:|--:|--:|---|---|\n";
  for (const Json& row : content.recent.at("files")) {
    out += fmt::format("| {} | {} | {} | {} | {} | {} | {} | {} |\n", cell(row, "path"),
                       cell(row, "status"), cell(row, "old_path"), cell(row, "commits"),
                       cell(row, "additions"), cell(row, "deletions"), cell(row, "last_changed"),
                       symbols_md(row));
  }
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
  return header_md(content) + files_md(content) + components_md(content) + recent_md(content) +
         weeks_md(content);
}

}  // namespace lomarind::cli
