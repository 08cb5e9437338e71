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
  // With a `width` (a terminal's columns), the first column's cells are
  // shortened in the middle, and detail lines likewise, until each line
  // fits, as far as the other columns leave room; 0 never cuts.
  std::string render(bool colour, std::size_t width = 0) const;

 private:
  struct Row {
    std::vector<Cell> cells;
    std::vector<std::string> details;
  };

  std::vector<std::size_t> widths() const;
  // The first column's width once the table fits in `width` columns.
  std::size_t first_width(const std::vector<std::size_t>& widths, std::size_t width) const;
  std::string render_line(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths,
                          bool colour) const;

  std::vector<Column> columns_;
  std::vector<Row> rows_;
};

// `text` wrapped in the ANSI escapes of `style`, or unchanged without colour.
std::string styled(const std::string& text, Style style, bool colour);

}  // namespace lomarind::cli
