#include <fmt/format.h>

#include "cli/commands.h"

namespace lomarind::cli {

namespace {

std::string summary(const Json& answer) {
  std::string line =
      fmt::format("{} against {}: {} commits", field_text(answer, "head_branch"),
                  field_text(answer, "base_branch"), field_text(answer, "commit_count"));
  if (answer.contains("note")) line += "; " + field_text(answer, "note");
  const std::int64_t excluded = answer.value("excluded_files", std::int64_t{0});
  if (excluded > 0) line += fmt::format("; {} files are not production source", excluded);
  return line;
}

}  // namespace

std::string diff_table(const Json& answer, const RenderOptions& options) {
  Table table({{"PATH"}, {"STATUS"}, {"LINES", Align::kRight}});
  for (const Json& row : answer.value("files", Json::array())) {
    table.add_row({{path_text(row)}, status_cell(row), {lines_text(row)}}, symbol_lines(row));
  }
  std::string out = styled(summary(answer), Style::kBold, options.colour) + "\n";
  if (!table.empty()) out += table.render(options.colour);
  return out + page_footer(answer, "files", "files");
}

}  // namespace lomarind::cli
