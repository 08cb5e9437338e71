// The report's picture of change coupling: an arc diagram in inline SVG.
// Files stand on one vertical line, grouped into clusters (files linked
// through coupled pairs), and each pair is an arc between its two files:
// thicker for more shared commits, darker for a higher degree. A cluster is
// a shaded band whose files are tied together by arcs.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "lomarind/workers/git_history/answers.h"

namespace lomarind::cli {

// A degree of coupling in [0, 1] as a colour from pale to deep indigo.
std::string degree_colour(double degree);

// The files of `pairs` in drawing order, each with its cluster: clusters in
// the order of their strongest pair (pairs come strongest first), files
// within a cluster in the order the pairs first name them.
struct ChartFile {
  std::string path;
  std::int64_t commits = 0;
  std::size_t cluster = 0;

  bool operator==(const ChartFile&) const = default;
};
std::vector<ChartFile> chart_files(std::span<const git_history::CouplingPair> pairs);

// The diagram, every name escaped; "" when there are no pairs.
std::string coupling_chart_svg(std::span<const git_history::CouplingPair> pairs);

// The legend that says how to read the diagram.
std::string coupling_legend_html();

}  // namespace lomarind::cli
