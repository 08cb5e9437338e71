#include "cli/answer_text.h"

#include <fmt/format.h>

#include "cli/display_text.h"

namespace lomarind::cli {

namespace {

std::int64_t integer(const Json& row, std::string_view key) {
  const auto it = row.find(key);
  if (it == row.end() || !it->is_number_integer()) return 0;
  return it->get<std::int64_t>();
}

bool flag(const Json& row, std::string_view key) {
  const auto it = row.find(key);
  return it != row.end() && it->is_boolean() && it->get<bool>();
}

}  // namespace

std::string field_text(const Json& row, std::string_view key) {
  const auto it = row.find(key);
  if (it == row.end() || it->is_null()) return "-";
  if (it->is_string()) return terminal_text(it->get_ref<const std::string&>());
  return terminal_text(it->dump());
}

std::string lines_text(const Json& row) {
  return fmt::format("+{} -{}", integer(row, "additions"), integer(row, "deletions"));
}

std::string path_text(const Json& row) {
  const auto old_path = row.find("old_path");
  if (old_path == row.end() || !old_path->is_string()) return field_text(row, "path");
  return field_text(row, "old_path") + " -> " + field_text(row, "path");
}

Cell status_cell(const Json& row) {
  std::string status = field_text(row, "status");
  Style style = Style::kPlain;
  if (status == "added") style = Style::kGreen;
  if (status == "deleted") style = Style::kRed;
  if (status == "renamed" || status == "copied") style = Style::kCyan;
  return Cell{std::move(status), style};
}

std::vector<std::string> symbol_lines(const Json& row) {
  std::vector<std::string> lines;
  const auto symbols = row.find("symbols");
  if (symbols == row.end() || !symbols->is_array()) return lines;
  for (const Json& symbol : *symbols) {
    lines.push_back(fmt::format("{} {} (lines {}-{})", field_text(symbol, "kind"),
                                field_text(symbol, "name"), field_text(symbol, "line"),
                                field_text(symbol, "end_line")));
  }
  return lines;
}

std::string page_footer(const Json& answer, std::string_view key, std::string_view noun) {
  const std::int64_t total = integer(answer, "total_count");
  const std::int64_t offset = integer(answer, "offset");
  const auto rows = answer.find(key);
  const auto shown =
      static_cast<std::int64_t>(rows != answer.end() && rows->is_array() ? rows->size() : 0);
  if (total == 0) return fmt::format("No {}.\n", noun);
  if (shown == 0) return fmt::format("No {} at offset {}; there are {}.\n", noun, offset, total);
  std::string footer =
      fmt::format("Showing {} {}-{} of {}", noun, offset + 1, offset + shown, total);
  if (flag(answer, "has_more")) {
    const std::int64_t next = integer(answer, "next_offset");
    footer += fmt::format("; pass --offset {} for the next page", next > 0 ? next : offset + shown);
  }
  return footer + ".\n";
}

std::string quoted_text(std::string_view text) {
  std::string quoted = "'";
  quoted += terminal_text(text);
  quoted += '\'';
  return quoted;
}

}  // namespace lomarind::cli
