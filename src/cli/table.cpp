#include "cli/table.h"

#include <algorithm>
#include <cassert>

#include "cli/display_text.h"

namespace lomarind::cli {

namespace {

constexpr std::string_view kColumnGap = "  ";
constexpr std::string_view kDetailIndent = "    ";

const char* ansi_code(Style style) {
  switch (style) {
    case Style::kPlain:
      return "";
    case Style::kBold:
      return "\x1b[1m";
    case Style::kDim:
      return "\x1b[2m";
    case Style::kGreen:
      return "\x1b[32m";
    case Style::kRed:
      return "\x1b[31m";
    case Style::kYellow:
      return "\x1b[33m";
    case Style::kCyan:
      return "\x1b[36m";
  }
  return "";
}

}  // namespace

std::string styled(const std::string& text, Style style, bool colour) {
  if (!colour || style == Style::kPlain) return text;
  return ansi_code(style) + text + "\x1b[0m";
}

void Table::add_row(std::vector<Cell> cells, std::vector<std::string> details) {
  assert(cells.size() == columns_.size());
  rows_.push_back(Row{std::move(cells), std::move(details)});
}

std::vector<std::size_t> Table::widths() const {
  std::vector<std::size_t> widths;
  for (const Column& column : columns_) widths.push_back(display_width(column.title));
  for (const Row& row : rows_) {
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
      widths[i] = std::max(widths[i], display_width(row.cells[i].text));
    }
  }
  return widths;
}

std::string Table::render_line(const std::vector<Cell>& cells,
                               const std::vector<std::size_t>& widths, bool colour) const {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::size_t pad = widths[i] - display_width(cells[i].text);
    const bool last = i + 1 == cells.size();
    if (i > 0) line += kColumnGap;
    if (columns_[i].align == Align::kRight) line.append(pad, ' ');
    line += styled(cells[i].text, cells[i].style, colour);
    if (columns_[i].align == Align::kLeft && !last) line.append(pad, ' ');
  }
  return line + '\n';
}

std::size_t Table::first_width(const std::vector<std::size_t>& widths, std::size_t width) const {
  constexpr std::size_t kNarrowest = 12;  // still enough to tell paths apart
  std::size_t others = 0;
  for (std::size_t i = 1; i < widths.size(); ++i) others += kColumnGap.size() + widths[i];
  if (width == 0 || widths[0] + others <= width) return widths[0];
  const std::size_t room = width > others ? width - others : 0;
  return std::max({std::min(widths[0], kNarrowest), room, display_width(columns_[0].title)});
}

std::string Table::render(bool colour, std::size_t width) const {
  std::vector<std::size_t> column_widths = widths();
  column_widths[0] = first_width(column_widths, width);
  const auto fit = [&](const std::string& text, std::size_t columns) {
    return width == 0 ? text : shortened_middle(text, columns);
  };
  std::vector<Cell> header;
  for (const Column& column : columns_) header.push_back(Cell{column.title, Style::kBold});
  std::string out = render_line(header, column_widths, colour);
  for (const Row& row : rows_) {
    std::vector<Cell> cells = row.cells;
    cells[0].text = fit(cells[0].text, column_widths[0]);
    out += render_line(cells, column_widths, colour);
    for (const std::string& detail : row.details) {
      out += kDetailIndent;
      // However narrow the terminal, a symbol line keeps enough to be read.
      constexpr std::size_t kNarrowestDetail = 24;
      out += styled(fit(detail, std::max(width, kDetailIndent.size() + kNarrowestDetail) -
                                    kDetailIndent.size()),
                    Style::kDim, colour);
      out += '\n';
    }
  }
  return out;
}

}  // namespace lomarind::cli
