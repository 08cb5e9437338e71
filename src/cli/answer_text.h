// Pieces shared by the tables of every answer: cell texts taken from answer
// rows (always terminal-safe), status colours, symbol lines and the
// pagination footer.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "cli/table.h"
#include "lomarind/utils/json.h"

namespace lomarind::cli {

// How tables are drawn: colour only on a terminal that allows it, and the
// time that relative ages count back from.
struct RenderOptions {
  bool colour = false;
  std::chrono::sys_seconds now{};
};

// `row[key]` as terminal-safe text: strings escaped, numbers as digits,
// an absent key or null as "-".
std::string field_text(const Json& row, std::string_view key);

// "+12 -3" from a row's additions and deletions.
std::string lines_text(const Json& row);

// A row's path, with "old -> new" for a rename or copy.
std::string path_text(const Json& row);

// A status cell coloured by what happened to the file.
Cell status_cell(const Json& row);

// One line per entry of row["symbols"]: "function run (lines 10-24)".
std::vector<std::string> symbol_lines(const Json& row);

// The line under a table: which rows were shown of how many, and the
// --offset that shows the next page.
std::string page_footer(const Json& answer, std::string_view key, std::string_view noun);

// `text` in single quotes, terminal-safe.
std::string quoted_text(std::string_view text);

}  // namespace lomarind::cli
