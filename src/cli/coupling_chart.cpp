#include "cli/coupling_chart.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

#include "cli/display_text.h"
#include "cli/markup_text.h"

namespace lomarind::cli {

namespace {

constexpr double kRow = 22;         // between two files
constexpr double kClusterGap = 16;  // added between two clusters
constexpr double kTop = 14;
constexpr double kCharWidth = 7.3;      // of the labels' 12px monospace font
constexpr std::size_t kLongLabel = 72;  // columns; a longer path shows as …/name

// Files joined by a pair share a root: clusters are the connected parts.
class Clusters {
 public:
  explicit Clusters(std::size_t size) : parent_(size) {
    std::iota(parent_.begin(), parent_.end(), std::size_t{0});
  }
  std::size_t root(std::size_t i) {
    while (parent_[i] != i) i = parent_[i] = parent_[parent_[i]];
    return i;
  }
  void join(std::size_t a, std::size_t b) {
    a = root(a);
    b = root(b);
    // The earlier file stays the root, so roots keep the pairs' order.
    if (a != b) parent_[std::max(a, b)] = std::min(a, b);
  }

 private:
  std::vector<std::size_t> parent_;
};

// A path as its label shows it, and the columns that takes.
std::pair<std::string, std::size_t> label_of(const std::string& path) {
  const std::size_t width = display_width(terminal_text(path));
  if (width <= kLongLabel) return {html_text(path), width};
  const std::string name = path.substr(path.rfind('/') + 1);
  return {"…/" + html_text(name), 2 + display_width(terminal_text(name))};
}

std::string file_svg(const ChartFile& file, double y, double axis) {
  return fmt::format(
      R"(<g class="node"><title>{0}: {1} commit{2}</title><circle cx="{3:.1f}" cy="{4:.1f}" )"
      R"(r="4"/><text x="{5:.1f}" y="{6:.1f}" text-anchor="end">{7}</text></g>)",
      html_text(file.path), file.commits, file.commits == 1 ? "" : "s", axis, y, axis - 10, y + 4,
      label_of(file.path).first);
}

// A half circle to the right of the line, from one file down to the other.
std::string arc_svg(const git_history::CouplingPair& pair, double y_from, double y_to, double axis,
                    std::int64_t most_shared) {
  const double top = std::min(y_from, y_to);
  const double bottom = std::max(y_from, y_to);
  const double width = 1.5 + 5.0 * static_cast<double>(pair.shared_commits) /
                                 static_cast<double>(std::max<std::int64_t>(most_shared, 1));
  return fmt::format(
      R"(<g class="arc"><title>{0} and {1}: degree {2:.2f}, {3} shared commits</title>)"
      R"(<path d="M {4:.1f} {5:.1f} A {6:.1f} {6:.1f} 0 0 1 {4:.1f} {7:.1f}" stroke="{8}" )"
      R"(stroke-width="{9:.1f}"/></g>)",
      html_text(pair.path), html_text(pair.coupled_path), pair.degree, pair.shared_commits, axis,
      top, (bottom - top) / 2, bottom, degree_colour(pair.degree), width);
}

// Where each file stands, the first and last row of each cluster, and the
// files' line: right of the longest label.
struct Layout {
  std::map<std::string, double> y_of;
  std::vector<std::pair<double, double>> bands;
  double axis = 0;
};

Layout layout(const std::vector<ChartFile>& files) {
  Layout at;
  std::size_t longest = 0;
  for (const ChartFile& file : files) longest = std::max(longest, label_of(file.path).second);
  at.axis = static_cast<double>(longest) * kCharWidth + 24;
  double y = kTop;
  for (std::size_t i = 0; i < files.size(); ++i) {
    if (i == 0 || files[i].cluster != files[i - 1].cluster) {
      if (i > 0) y += kClusterGap;
      at.bands.emplace_back(y, y);
    }
    at.y_of[files[i].path] = y;
    at.bands.back().second = y;
    y += kRow;
  }
  return at;
}

}  // namespace

std::string degree_colour(double degree) {
  degree = std::clamp(std::isfinite(degree) ? degree : 0.0, 0.0, 1.0);
  const auto mix = [degree](int from, int to) {
    return static_cast<int>(std::lround(from + (to - from) * degree));
  };
  return fmt::format("#{:02x}{:02x}{:02x}", mix(0xc7, 0x31), mix(0xd2, 0x2e), mix(0xfe, 0x81));
}

std::vector<ChartFile> chart_files(std::span<const git_history::CouplingPair> pairs) {
  std::vector<ChartFile> files;
  std::map<std::string, std::size_t> index;
  const auto add = [&](const std::string& path, std::int64_t commits) {
    const auto [it, added] = index.try_emplace(path, files.size());
    if (added) files.push_back({path, commits, 0});
    return it->second;
  };
  std::vector<std::pair<std::size_t, std::size_t>> links;
  for (const git_history::CouplingPair& pair : pairs) {
    // Named in the pair's order: the arguments of one call may be read in any.
    const std::size_t first = add(pair.path, pair.commits);
    links.emplace_back(first, add(pair.coupled_path, pair.coupled_commits));
  }
  Clusters clusters(files.size());
  for (const auto& [a, b] : links) clusters.join(a, b);
  std::map<std::size_t, std::size_t> cluster_of_root;
  for (std::size_t i = 0; i < files.size(); ++i) {
    files[i].cluster =
        cluster_of_root.try_emplace(clusters.root(i), cluster_of_root.size()).first->second;
  }
  std::stable_sort(files.begin(), files.end(),
                   [](const ChartFile& a, const ChartFile& b) { return a.cluster < b.cluster; });
  return files;
}

std::string coupling_chart_svg(std::span<const git_history::CouplingPair> pairs) {
  const std::vector<ChartFile> files = chart_files(pairs);
  if (files.empty()) return "";
  const Layout at = layout(files);
  std::string bands, nodes, arcs;
  for (const auto& [top, bottom] : at.bands) {
    bands +=
        fmt::format(R"(<rect class="cluster" x="0" y="{:.1f}" width="{}" height="{:.1f}" rx="6"/>)",
                    top - kRow / 2, at.axis + 10, bottom - top + kRow);
  }
  for (const ChartFile& file : files) nodes += file_svg(file, at.y_of.at(file.path), at.axis);
  std::int64_t most_shared = 0;
  double widest = 0;
  for (const git_history::CouplingPair& pair : pairs) {
    most_shared = std::max(most_shared, pair.shared_commits);
    widest = std::max(widest, std::abs(at.y_of.at(pair.path) - at.y_of.at(pair.coupled_path)) / 2);
  }
  // The weakest first, so that the strongest arcs are drawn on top.
  for (auto it = pairs.rbegin(); it != pairs.rend(); ++it) {
    arcs += arc_svg(*it, at.y_of.at(it->path), at.y_of.at(it->coupled_path), at.axis, most_shared);
  }
  // Drawn at its own size (no wider than the page), so labels keep their size.
  return fmt::format(
      R"(<svg class="coupling" width="{0:.0f}" height="{1:.0f}" viewBox="0 0 {0:.0f} {1:.0f}" )"
      R"(role="img" aria-label="Change coupling">{2}{3}{4}</svg>)",
      at.axis + widest + 24, at.bands.back().second + kRow / 2 + kTop, bands, arcs, nodes);
}

std::string coupling_legend_html() {
  std::string swatches;
  for (double degree : {0.3, 0.5, 0.75, 1.0}) {
    swatches +=
        fmt::format(R"(<span class="swatch" style="background:{}"></span>)", degree_colour(degree));
  }
  return R"(<div class="legend"><span>degree 0.30</span>)" + swatches +
         R"(<span>1 (always together)</span><span class="legend-gap"></span>)"
         R"(<span>thicker arc: more shared commits</span><span class="legend-gap"></span>)"
         R"(<span class="region-sample"></span><span>cluster: files tied by arcs</span></div>)";
}

}  // namespace lomarind::cli
