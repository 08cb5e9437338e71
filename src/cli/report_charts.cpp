#include "cli/report_charts.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <map>
#include <string_view>
#include <vector>

#include "cli/display_text.h"
#include "cli/markup_text.h"
#include "cli/time_text.h"
#include "cli/treemap.h"
#include "lomarind/utils/utf8.h"

namespace lomarind::cli {

namespace {

constexpr double kMapWidth = 1200;
constexpr double kMapHeight = 680;
constexpr double kLabelHeight = 18;

struct Stop {
  double at;
  int r, g, b;
};
constexpr std::array<Stop, 4> kRiskStops = {{{0.0, 0xfe, 0xf3, 0xc7},
                                             {0.35, 0xfc, 0xd3, 0x4d},
                                             {0.7, 0xf9, 0x73, 0x16},
                                             {1.0, 0xb9, 0x1c, 0x1c}}};

// The region a file is drawn in: as the component answer groups it.
std::string component_of(const git_history::FileHotspot& row) {
  return row.component && !row.component->empty() ? *row.component : "unknown";
}

double lines(const git_history::FileHotspot& row) {
  // A file changed without line counts (binary, a pure rename) still shows.
  return static_cast<double>(std::max<std::int64_t>(1, row.additions + row.deletions));
}

// The path on the first line (a line break in it is shown escaped), the
// numbers below it.
std::string file_title(const git_history::FileHotspot& row) {
  return fmt::format("{}\n{} commit{}, +{} -{} lines, risk {:.2f}\nlast change {}",
                     html_text(row.name), row.commits, row.commits == 1 ? "" : "s", row.additions,
                     row.deletions, row.risk_score, date_text(row.last_changed));
}

std::string rect_svg(const Rect& r, std::string_view attributes) {
  return fmt::format(R"(<rect x="{:.1f}" y="{:.1f}" width="{:.1f}" height="{:.1f}" {}/>)", r.x, r.y,
                     r.width, r.height, attributes);
}

constexpr std::size_t kRankedFiles = 10;  // the hottest files always carry a label
constexpr double kFileCharWidth = 7;      // of an 11px label, roughly
constexpr double kRegionCharWidth = 7.5;  // of a 12px bold title, roughly

// What the map writes on each file: the shortest tail of its path (whole
// folders) that no other file on the map ends with, so that eight mod.rs
// read runtime/mod.rs, sync/mod.rs...; and the rank of the hottest files.
struct MapLabels {
  std::map<std::string, std::string> name;
  std::map<std::string, std::size_t> rank;  // 1 for the busiest file
};

// The ends of `path` at each folder boundary, shortest first: "mod.rs",
// "sync/mod.rs", ..., the whole path.
std::vector<std::string_view> tails(std::string_view path) {
  std::vector<std::string_view> ends;
  for (std::size_t at = path.rfind('/'); at != std::string_view::npos && at > 0;
       at = path.rfind('/', at - 1)) {
    ends.push_back(path.substr(at + 1));
  }
  ends.push_back(path);
  return ends;
}

MapLabels map_labels(const std::vector<git_history::FileHotspot>& rows) {
  std::vector<std::vector<std::string_view>> ends;
  std::map<std::string_view, std::size_t> uses;  // how many files end so
  for (const git_history::FileHotspot& row : rows) {
    ends.push_back(tails(row.name));
    for (std::string_view end : ends.back()) ++uses[end];
  }
  MapLabels labels;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const auto unique = std::find_if(ends[i].begin(), ends[i].end(),
                                     [&](std::string_view end) { return uses[end] == 1; });
    labels.name[rows[i].name] = std::string(unique == ends[i].end() ? ends[i].back() : *unique);
    if (i < kRankedFiles) labels.rank[rows[i].name] = i + 1;
  }
  return labels;
}

// `text` cut to `chars` columns, with an ellipsis where it was cut.
std::string fitted(const std::string& text, double chars) {
  if (static_cast<double>(display_width(text)) <= chars) return text;
  std::string out;
  for (std::size_t pos = 0; pos < text.size();) {
    const auto cp = utf8::decode_utf8(text, pos);
    const std::size_t length = cp ? cp->length : 1;
    if (static_cast<double>(display_width(out + text.substr(pos, length))) + 1 > chars) break;
    out += text.substr(pos, length);
    pos += length;
  }
  return out + "\u2026";
}

// A file's label: its name where the box holds it, else (for the hottest
// files) its rank, which the key under the map names.
std::string file_label(const git_history::FileHotspot& row, Rect box, const MapLabels& labels) {
  const std::string name = page_text(labels.name.at(row.name));
  const char* style = row.risk_score >= 0.6 ? "file-label light" : "file-label";  // dark boxes
  std::string text;
  if (box.height >= 16 &&
      static_cast<double>(display_width(name)) * kFileCharWidth + 8 <= box.width) {
    text = name;
  } else if (const auto rank = labels.rank.find(row.name); rank != labels.rank.end()) {
    text = std::to_string(rank->second);
  } else {
    return "";
  }
  return fmt::format(R"(<text x="{:.1f}" y="{:.1f}" class="{}">{}</text>)", box.x + 3,
                     box.y + std::min(12.0, box.height), style, html_text(text));
}

// The file boxes of one region, each labelled by file_label.
std::string files_svg(const std::vector<const git_history::FileHotspot*>& files, Rect area,
                      const MapLabels& labels) {
  std::vector<double> weights;
  for (const git_history::FileHotspot* row : files) weights.push_back(lines(*row));
  const std::vector<Rect> boxes = squarify(weights, area);
  std::string out;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const git_history::FileHotspot& row = *files[i];
    const Rect box = inset(boxes[i], 0.5);
    out += fmt::format("<g class=\"file\"><title>{}</title>{}{}</g>", file_title(row),
                       rect_svg(box, fmt::format("fill=\"{}\"", risk_colour(row.risk_score))),
                       file_label(row, box, labels));
  }
  return out;
}

// One component: its box, its name (cut to fit; whole on hover), and its
// files inside.
std::string region_svg(const std::string& component,
                       const std::vector<const git_history::FileHotspot*>& members, Rect region,
                       const MapLabels& labels) {
  std::int64_t changed = 0;
  for (const git_history::FileHotspot* row : members) changed += row->additions + row->deletions;
  const std::string name = page_text(component);
  std::string out =
      fmt::format("<g class=\"region\"><title>{}: {} file{}, {} lines changed</title>{}",
                  html_text(name), members.size(), members.size() == 1 ? "" : "s", changed,
                  rect_svg(region, "class=\"region-box\""));
  Rect inner = inset(region, 2);
  if (region.height >= 2.5 * kLabelHeight && region.width >= 40) {
    out += fmt::format(R"svg(<text x="{:.1f}" y="{:.1f}" class="region-label">{}</text>)svg",
                       region.x + 5, region.y + 13,
                       html_text(fitted(name, (region.width - 10) / kRegionCharWidth)));
    inner.y += kLabelHeight - 2;
    inner.height = std::max(0.0, inner.height - (kLabelHeight - 2));
  }
  return out + files_svg(members, inner, labels) + "</g>";
}

}  // namespace

std::string risk_colour(double risk) {
  risk = std::clamp(std::isfinite(risk) ? risk : 0.0, 0.0, 1.0);
  std::size_t i = 1;
  while (i + 1 < kRiskStops.size() && risk > kRiskStops[i].at) ++i;
  const Stop& a = kRiskStops[i - 1];
  const Stop& b = kRiskStops[i];
  const double t = (risk - a.at) / (b.at - a.at);
  const auto mix = [t](int x, int y) { return static_cast<int>(std::lround(x + (y - x) * t)); };
  return fmt::format("#{:02x}{:02x}{:02x}", mix(a.r, b.r), mix(a.g, b.g), mix(a.b, b.b));
}

std::string hotspot_map_svg(const ReportContent& content) {
  // Regions in the order the files first name them, the busiest file first.
  std::vector<std::string> names;
  std::map<std::string, std::vector<const git_history::FileHotspot*>> files;
  for (const git_history::FileHotspot& row : file_rows(content)) {
    auto [it, added] = files.try_emplace(component_of(row));
    if (added) names.push_back(it->first);
    it->second.push_back(&row);
  }
  std::vector<double> weights;
  for (const std::string& name : names) {
    double sum = 0;
    for (const git_history::FileHotspot* row : files[name]) sum += lines(*row);
    weights.push_back(sum);
  }
  const std::vector<Rect> regions = squarify(weights, {0, 0, kMapWidth, kMapHeight});
  const MapLabels labels = map_labels(file_rows(content));
  std::string out =
      fmt::format(R"(<svg class="map" viewBox="0 0 {} {}" role="img" aria-label="Hotspot map">)",
                  kMapWidth, kMapHeight);
  for (std::size_t i = 0; i < names.size(); ++i) {
    out += region_svg(names[i], files[names[i]], inset(regions[i], 1.5), labels);
  }
  return out + "</svg>";
}

std::string hottest_key_html(const ReportContent& content) {
  const std::vector<git_history::FileHotspot>& rows = file_rows(content);
  std::string out = "<ol class=\"hottest\">";
  for (std::size_t i = 0; i < rows.size() && i < kRankedFiles; ++i) {
    out += fmt::format("<li>{} <span>{} commit{}</span></li>", html_text(page_text(rows[i].name)),
                       rows[i].commits, rows[i].commits == 1 ? "" : "s");
  }
  return out + "</ol>";
}

std::string hotspot_legend_html() {
  std::string swatches;
  for (double risk : {0.0, 0.25, 0.5, 0.75, 1.0}) {
    swatches +=
        fmt::format(R"(<span class="swatch" style="background:{}"></span>)", risk_colour(risk));
  }
  return R"(<div class="legend"><span>risk 0</span>)" + swatches +
         R"(<span>1 (the busiest file)</span><span class="legend-gap"></span>)"
         R"(<span class="region-sample"></span><span>component</span><span class="legend-gap"></span>)"
         R"(<span>area: lines changed</span></div>)";
}

std::string weekly_chart_svg(const std::vector<WeekCount>& weeks) {
  constexpr double kWidth = 1200, kHeight = 170, kTop = 16, kBottom = 22;
  std::int64_t most = 0;
  for (const WeekCount& week : weeks) most = std::max(most, week.commits);
  const std::string scale =
      most == 0 ? "no commits"
                : fmt::format("busiest week: {} commit{}", most, most == 1 ? "" : "s");
  const double slot = weeks.empty() ? kWidth : kWidth / static_cast<double>(weeks.size());
  const double plot = kHeight - kTop - kBottom;
  std::string out = fmt::format(
      R"(<svg class="weeks" viewBox="0 0 {0} {1}" role="img" aria-label="Commits per week">)"
      R"(<line x1="0" y1="{2}" x2="{0}" y2="{2}" class="axis"/>)"
      R"(<text x="0" y="11" class="axis-label">{3}</text>)",
      kWidth, kHeight, kHeight - kBottom, scale);
  for (std::size_t i = 0; i < weeks.size(); ++i) {
    const double height = plot * static_cast<double>(weeks[i].commits) /
                          static_cast<double>(std::max<std::int64_t>(most, 1));
    const double gap = slot > 4 ? std::min(2.0, slot * 0.2) : 0;
    out += fmt::format(
        R"(<g class="week"><title>week of {}: {} commits</title><rect x="{:.2f}" y="{:.2f}" width="{:.2f}" height="{:.2f}"/></g>)",
        date_text(weeks[i].start), weeks[i].commits, static_cast<double>(i) * slot + gap / 2,
        kHeight - kBottom - height, std::max(0.5, slot - gap), height);
  }
  if (!weeks.empty()) {
    out += fmt::format(R"(<text x="0" y="{0}" class="axis-label">{1}</text>)"
                       R"(<text x="{2}" y="{0}" class="axis-label" text-anchor="end">{3}</text>)",
                       kHeight - 6, date_text(weeks.front().start), kWidth,
                       date_text(weeks.back().start));
  }
  return out + "</svg>";
}

}  // namespace lomarind::cli
