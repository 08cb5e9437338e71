// A plain-text table for the terminal: a header row, aligned columns and,
// under any row, indented detail lines (a file's symbols). Cells must
// already be terminal-safe (display_text.h).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace lomarind::cli {

enum class Align { kLeft, kRight };

// How a cell is shown when colour is on; without colour every style is plain.
enum class Style { kPlain, kBold, kDim, kGreen, kRed, kYellow, kCyan };

struct Column {
  std::string title;
  Align align = Align::kLeft;
};

struct Cell {
  std::string text;
  Style style = Style::kPlain;
};

class Table {
 public:
  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

  // REQUIRES: cells.size() equals the number of columns.
  void add_row(std::vector<Cell> cells, std::vector<std::string> details = {});
  bool empty() const { return rows_.empty(); }

  // The table, one line per row, each ending in a newline. The last column
  // is not padded. Colour adds ANSI escapes around styled cells and the header.
  std::string render(bool colour) const;

 private:
  struct Row {
    std::vector<Cell> cells;
    std::vector<std::string> details;
  };

  std::vector<std::size_t> widths() const;
  std::string render_line(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths,
                          bool colour) const;

  std::vector<Column> columns_;
  std::vector<Row> rows_;
};

// `text` wrapped in the ANSI escapes of `style`, or unchanged without colour.
std::string styled(const std::string& text, Style style, bool colour);

}  // namespace lomarind::cli
