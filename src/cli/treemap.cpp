#include "cli/treemap.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace lomarind::cli {

namespace {

// The worst aspect ratio of a row of `sum` area, holding areas between
// `smallest` and `largest`, laid along a side of length `side`.
double worst_ratio(double sum, double smallest, double largest, double side) {
  const double side2 = side * side;
  const double sum2 = sum * sum;
  return std::max(side2 * largest / sum2, sum2 / (side2 * smallest));
}

// Places one row of areas along the shorter side of `free` and returns
// what is left of it.
Rect place_row(std::span<const std::size_t> row, const std::vector<double>& areas, double sum,
               Rect free, std::vector<Rect>& out) {
  if (free.width >= free.height) {
    const double column = free.height > 0 ? sum / free.height : 0;
    double y = free.y;
    for (std::size_t i : row) {
      const double height = column > 0 ? areas[i] / column : 0;
      out[i] = {free.x, y, column, height};
      y += height;
    }
    return {free.x + column, free.y, std::max(0.0, free.width - column), free.height};
  }
  const double band = free.width > 0 ? sum / free.width : 0;
  double x = free.x;
  for (std::size_t i : row) {
    const double width = band > 0 ? areas[i] / band : 0;
    out[i] = {x, free.y, width, band};
    x += width;
  }
  return {free.x, free.y + band, free.width, std::max(0.0, free.height - band)};
}

}  // namespace

std::vector<Rect> squarify(std::span<const double> weights, Rect bounds) {
  std::vector<Rect> out(weights.size(), Rect{bounds.x, bounds.y, 0, 0});
  const double total = std::accumulate(weights.begin(), weights.end(), 0.0);
  if (weights.empty() || total <= 0) return out;
  std::vector<std::size_t> order(weights.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return weights[a] > weights[b]; });
  const double scale = bounds.width * bounds.height / total;
  std::vector<double> areas(weights.size());
  for (std::size_t i = 0; i < weights.size(); ++i) areas[i] = weights[i] * scale;

  Rect free = bounds;
  std::vector<std::size_t> row;
  double sum = 0;
  for (std::size_t i : order) {
    const double side = std::min(free.width, free.height);
    // Areas come largest first, so a row's smallest is its last and its
    // largest its first.
    if (!row.empty() && side > 0 &&
        worst_ratio(sum + areas[i], areas[i], areas[row.front()], side) >
            worst_ratio(sum, areas[row.back()], areas[row.front()], side)) {
      free = place_row(row, areas, sum, free, out);
      row.clear();
      sum = 0;
    }
    row.push_back(i);
    sum += areas[i];
  }
  place_row(row, areas, sum, free, out);
  return out;
}

Rect inset(Rect rect, double margin) {
  const double dx = std::min(margin, rect.width / 2);
  const double dy = std::min(margin, rect.height / 2);
  return {rect.x + dx, rect.y + dy, rect.width - 2 * dx, rect.height - 2 * dy};
}

}  // namespace lomarind::cli
