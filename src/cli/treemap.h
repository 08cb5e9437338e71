// The squarified treemap layout: rectangles whose areas are proportional to
// given weights, tiling a bounding rectangle, each as close to a square as
// the layout allows, so that sizes can be compared at a glance.
#pragma once

#include <span>
#include <vector>

namespace lomarind::cli {

struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
};

// One rectangle per weight, in the order of `weights`, tiling `bounds`
// without overlap; larger weights are placed first, from the top left.
// REQUIRES: every weight is positive.
std::vector<Rect> squarify(std::span<const double> weights, Rect bounds);

// `rect` shrunk by `margin` on every side (never below zero size).
Rect inset(Rect rect, double margin);

}  // namespace lomarind::cli
