#include <fmt/format.h>

#include "cli/commands.h"
#include "cli/relative_time.h"

namespace lomarind::cli {

namespace {

std::string summary(const Json& answer) {
  std::string line =
      fmt::format("{} since {}: {} commits", field_text(answer, "branch"),
                  quoted_text(answer.value("since", "")), field_text(answer, "commit_count"));
  if (answer.value("commit_limit_reached", false)) {
    line += " (the commit limit; older commits are left out)";
  }
  const std::int64_t excluded = answer.value("excluded_files", std::int64_t{0});
  if (excluded > 0) line += fmt::format("; {} files are not production source", excluded);
  return line;
}

std::string age_text(const Json& row, std::chrono::sys_seconds now) {
  const auto when = parse_answer_time(row.value("last_changed", ""));
  return when ? relative_time(*when, now) : field_text(row, "last_changed");
}

}  // namespace

std::string recent_table(const Json& answer, const RenderOptions& options) {
  Table table({{"PATH"},
               {"STATUS"},
               {"COMMITS", Align::kRight},
               {"LINES", Align::kRight},
               {"LAST CHANGED"}});
  for (const Json& row : answer.value("files", Json::array())) {
    table.add_row({{path_text(row)},
                   status_cell(row),
                   {field_text(row, "commits")},
                   {lines_text(row)},
                   {age_text(row, options.now)}},
                  symbol_lines(row));
  }
  std::string out = styled(summary(answer), Style::kBold, options.colour) + "\n";
  if (!table.empty()) out += table.render(options.colour);
  return out + page_footer(answer, "files", "files");
}

}  // namespace lomarind::cli
