// One column model per row type: each column's header, alignment and how a
// row fills its cell. The terminal table, the HTML table and the Markdown
// table all draw the same columns from these models, each in its own way
// (a time is an age in the terminal and a date on a page, a risk score is a
// bar on a page), so a column is defined once for every output.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/table.h"
#include "lomarind/workers/git_history/answers.h"

namespace lomarind::cli {

// What a cell holds; a renderer draws each kind in its own way.
enum class CellKind {
  kName,     // a path or component name
  kText,     // a word such as a type
  kCount,    // a whole number
  kAdded,    // lines added: "+12"
  kDeleted,  // lines deleted: "-3"
  kStatus,   // added, modified, deleted, renamed, copied
  kRisk,     // a risk score in [0, 1], two decimals
  kTime,     // an instant, Unix seconds, UTC
};

// One cell, as raw text (renderers escape it for their output). An absent
// value (a file the index holds no component for) has no text.
struct CellValue {
  CellKind kind = CellKind::kText;
  std::optional<std::string> text{};
  std::optional<std::string> old_name{};  // kName: the path before a rename or copy
  double risk = 0;                        // kRisk
  std::int64_t time = 0;                  // kTime
};

template <typename Row>
struct ColumnSpec {
  std::string_view header;  // as a page shows it; the terminal upper-cases it
  Align align = Align::kLeft;
  CellValue (*cell)(const Row&) = nullptr;
};

// A page of rows drawn through a model, ready for any renderer. `details`
// are the lines under a row (a file's symbols).
struct Grid {
  struct Line {
    std::vector<CellValue> cells;
    std::vector<std::string> details;
  };
  std::vector<Column> columns;
  std::vector<Line> lines;
  bool has_details = false;  // the rows carry symbol lists
};

std::span<const ColumnSpec<git_history::DiffRow>> diff_columns();
std::span<const ColumnSpec<git_history::HistoryRow>> history_columns();
std::span<const ColumnSpec<git_history::FileHotspot>> file_hotspot_columns();
std::span<const ColumnSpec<git_history::ComponentHotspot>> component_hotspot_columns();

// "function run (lines 10-24)", raw text.
std::string symbol_text(const git_history::SymbolRow& symbol);

// The rows' symbol lines, when the row type has any.
template <typename Row>
std::vector<std::string> detail_lines(const Row& row) {
  std::vector<std::string> lines;
  if constexpr (requires { row.symbols; }) {
    if (row.symbols) {
      for (const git_history::SymbolRow& symbol : *row.symbols)
        lines.push_back(symbol_text(symbol));
    }
  }
  return lines;
}

template <typename Row>
Grid make_grid(std::span<const ColumnSpec<Row>> model, std::span<const Row> rows) {
  Grid grid;
  for (const ColumnSpec<Row>& spec : model)
    grid.columns.push_back({std::string(spec.header), spec.align});
  for (const Row& row : rows) {
    Grid::Line line;
    for (const ColumnSpec<Row>& spec : model) line.cells.push_back(spec.cell(row));
    line.details = detail_lines(row);
    if constexpr (requires { row.symbols; }) grid.has_details |= row.symbols.has_value();
    grid.lines.push_back(std::move(line));
  }
  return grid;
}

}  // namespace lomarind::cli
