#include "cli/answer_text.h"

#include <fmt/format.h>

#include <span>
#include <variant>

#include "cli/display_text.h"
#include "cli/time_text.h"

namespace lomarind::cli {

namespace gh = git_history;

namespace {

// "1 commit", "3 commits".
std::string counted(std::int64_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

Style status_style(std::string_view status) {
  if (status == "added") return Style::kGreen;
  if (status == "deleted") return Style::kRed;
  if (status == "renamed" || status == "copied") return Style::kCyan;
  return Style::kPlain;
}

Cell terminal_cell(const CellValue& value, const RenderOptions& options) {
  switch (value.kind) {
    case CellKind::kTime:
      return {
          relative_time(std::chrono::sys_seconds(std::chrono::seconds(value.time)), options.now)};
    case CellKind::kStatus:
      return {terminal_text(*value.text), status_style(*value.text)};
    case CellKind::kRisk:
    case CellKind::kDegree:
      return {*value.text, value.risk >= 0.75  ? Style::kRed
                           : value.risk >= 0.4 ? Style::kYellow
                                               : Style::kPlain};
    case CellKind::kName:
      if (value.old_name && value.text) {
        return {terminal_text(*value.old_name) + " -> " + terminal_text(*value.text)};
      }
      break;
    default:
      break;
  }
  return {value.text ? terminal_text(*value.text) : "-"};
}

// The period's summary: branch, since, commits, the limit and what was
// left out.
std::string period_summary(const gh::PeriodFields& period) {
  std::string line =
      fmt::format("{} since {} ({}): {}", terminal_text(period.branch), quoted_text(period.since),
                  date_text(period.start), counted(period.commit_count, "commit"));
  if (period.commit_limit_reached) {
    line += fmt::format(" (the commit limit: commits before {} are left out)",
                        date_text(period.oldest));
  }
  return line;
}

std::string excluded_text(std::int64_t excluded) {
  if (excluded <= 0) return "";
  return fmt::format("; {} {} not production source", counted(excluded, "file"),
                     excluded == 1 ? "is" : "are");
}

std::string table_text(const std::string& summary, const Grid& grid, const gh::PageFields& page,
                       std::string_view noun, const RenderOptions& options) {
  return styled(summary, Style::kBold, options.colour) + "\n" + terminal_table(grid, options) +
         page_footer(page, grid.lines.size(), noun);
}

// The short list under a branch's files: what it probably forgot.
std::string partners_text(const std::vector<gh::MissingPartner>& partners,
                          const gh::BranchDiffAnswer& answer, const RenderOptions& options) {
  const std::string base = terminal_text(answer.base_branch);
  if (partners.empty()) {
    return fmt::format("Probably also needs: nothing; no file on {} keeps changing with these.\n",
                       base);
  }
  return fmt::format(
      "\n{}\n{}",
      styled(fmt::format("Probably also needs (they keep changing with these files on {}):", base),
             Style::kBold, options.colour),
      terminal_table(make_grid(missing_partner_columns(), std::span(partners)), options));
}

}  // namespace

std::string terminal_table(const Grid& grid, const RenderOptions& options) {
  if (grid.lines.empty()) return "";
  std::vector<Column> columns;
  for (const Column& column : grid.columns) {
    std::string title = column.title;
    for (char& c : title) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    columns.push_back({std::move(title), column.align});
  }
  Table table(std::move(columns));
  for (const Grid::Line& line : grid.lines) {
    std::vector<Cell> cells;
    for (const CellValue& value : line.cells) cells.push_back(terminal_cell(value, options));
    std::vector<std::string> details;
    for (const std::string& detail : line.details) details.push_back(terminal_text(detail));
    table.add_row(std::move(cells), std::move(details));
  }
  return table.render(options.colour, options.width);
}

std::string page_footer(const gh::PageFields& page, std::size_t shown, std::string_view noun) {
  const auto count = static_cast<std::int64_t>(shown);
  if (page.total_count == 0) return fmt::format("No {}.\n", noun);
  if (count == 0) {
    return fmt::format("No {} at offset {}; there are {}.\n", noun, page.offset, page.total_count);
  }
  std::string footer = fmt::format("Showing {} {}-{} of {}", noun, page.offset + 1,
                                   page.offset + count, page.total_count);
  if (page.has_more) {
    footer += fmt::format("; pass --offset {} for the next page",
                          page.next_offset.value_or(page.offset + count));
  }
  return footer + ".\n";
}

std::string recent_table(const gh::RecentChangesAnswer& answer, const RenderOptions& options) {
  const std::string summary = period_summary(answer.period) + excluded_text(answer.excluded_files);
  return table_text(summary, make_grid(history_columns(), std::span(answer.files)), answer.page,
                    "files", options);
}

std::string hotspots_table(const gh::HotspotsAnswer& answer, const RenderOptions& options) {
  const std::string summary = period_summary(answer.period) + ", by " +
                              terminal_text(answer.group_by()) +
                              excluded_text(answer.excluded_files);
  const Grid grid = std::visit(
      [](const auto& rows) -> Grid {
        using Row = typename std::decay_t<decltype(rows)>::value_type;
        if constexpr (std::is_same_v<Row, gh::FileHotspot>) {
          return make_grid(file_hotspot_columns(), std::span(rows));
        } else {
          return make_grid(component_hotspot_columns(), std::span(rows));
        }
      },
      answer.hotspots);
  return table_text(summary, grid, answer.page, "rows", options);
}

std::string diff_table(const gh::BranchDiffAnswer& answer, const RenderOptions& options) {
  std::string summary =
      fmt::format("{} against {}: {}", terminal_text(answer.head_branch),
                  terminal_text(answer.base_branch), counted(answer.commit_count, "commit"));
  if (answer.note) summary += "; " + terminal_text(*answer.note);
  summary += excluded_text(answer.excluded_files);
  std::string text = table_text(summary, make_grid(diff_columns(), std::span(answer.files)),
                                answer.page, "files", options);
  if (answer.missing_partners) text += partners_text(*answer.missing_partners, answer, options);
  return text;
}

std::string coupling_table(const gh::CouplingAnswer& answer, const RenderOptions& options) {
  std::string summary = period_summary(answer.period);
  if (answer.bulk_commits > 0) {
    summary +=
        fmt::format("; {} {} too many files to count", counted(answer.bulk_commits, "commit"),
                    answer.bulk_commits == 1 ? "changes" : "change");
  }
  summary += excluded_text(answer.excluded_files);
  return table_text(summary, make_grid(coupling_columns(), std::span(answer.pairs)), answer.page,
                    "pairs", options);
}

}  // namespace lomarind::cli
