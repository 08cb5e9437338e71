#include <fmt/format.h>

#include "cli/commands.h"

namespace lomarind::cli {

namespace {

std::string summary(const Json& answer) {
  std::string line =
      fmt::format("{} since {}: {} commits, by {}", field_text(answer, "branch"),
                  quoted_text(answer.value("since", "")), field_text(answer, "commit_count"),
                  field_text(answer, "group_by"));
  if (answer.value("commit_limit_reached", false)) {
    line += " (the commit limit; older commits are left out)";
  }
  const std::int64_t excluded = answer.value("excluded_files", std::int64_t{0});
  if (excluded > 0) line += fmt::format("; {} files are not production source", excluded);
  return line;
}

std::string risk_text(const Json& row) {
  const auto it = row.find("risk_score");
  if (it == row.end() || !it->is_number()) return "-";
  return fmt::format("{:.2f}", it->get<double>());
}

Cell risk_cell(const Json& row) {
  const double risk = row.value("risk_score", 0.0);
  const Style style = risk >= 0.75 ? Style::kRed : risk >= 0.4 ? Style::kYellow : Style::kPlain;
  return Cell{risk_text(row), style};
}

bool has_component_rows(const Json& rows) {
  for (const Json& row : rows) {
    if (row.value("type", "") == "component") return true;
  }
  return false;
}

}  // namespace

std::string hotspots_table(const Json& answer, const RenderOptions& options) {
  const Json rows = answer.value("hotspots", Json::array());
  // A component row has a file count where a file row has its component.
  const bool components = has_component_rows(rows);
  Table table({{"NAME"},
               {"TYPE"},
               {"COMMITS", Align::kRight},
               {"LINES", Align::kRight},
               {components ? "FILES" : "COMPONENT", components ? Align::kRight : Align::kLeft},
               {"RISK", Align::kRight}});
  for (const Json& row : rows) {
    table.add_row({{field_text(row, "name")},
                   {field_text(row, "type")},
                   {field_text(row, "commits")},
                   {lines_text(row)},
                   {field_text(row, components ? "files" : "component")},
                   risk_cell(row)});
  }
  std::string out = styled(summary(answer), Style::kBold, options.colour) + "\n";
  if (!table.empty()) out += table.render(options.colour);
  return out + page_footer(answer, "hotspots", "rows");
}

}  // namespace lomarind::cli
