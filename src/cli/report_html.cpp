#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <span>

#include "cli/columns.h"
#include "cli/coupling_chart.h"
#include "cli/markup_text.h"
#include "cli/report.h"
#include "cli/report_charts.h"
#include "cli/time_text.h"

namespace lomarind::cli {

namespace {

// Nothing may be fetched: only the page's own inline styles apply.
constexpr const char* kPolicy =
    "default-src 'none'; style-src 'unsafe-inline'; img-src data:; base-uri 'none'; "
    "form-action 'none'";

constexpr const char* kStyle = R"(
:root{--ink:#1f2430;--muted:#667085;--line:#e4e7ec;--panel:#fff;--bg:#f5f6f8;--accent:#b91c1c}
*{box-sizing:border-box}
body{margin:0;background:var(--bg);color:var(--ink);font:14px/1.45 system-ui,-apple-system,"Segoe UI",Roboto,sans-serif}
main{max-width:1240px;margin:0 auto;padding:28px 20px 40px}
header.top{background:linear-gradient(135deg,#1f2430,#3b2530);color:#fff;border-radius:14px;padding:22px 26px;margin-bottom:20px}
header.top h1{margin:0;font-size:26px;font-weight:650;word-break:break-all}
header.top h1 span{color:#fca5a5;font-weight:500}
header.top .path{margin:2px 0 16px;color:#cbd5e1;font-size:13px;word-break:break-all}
dl.facts{display:grid;grid-template-columns:repeat(auto-fit,minmax(170px,1fr));gap:10px;margin:0}
dl.facts div{background:rgba(255,255,255,.08);border-radius:10px;padding:8px 12px}
dl.facts dt{font-size:11px;text-transform:uppercase;letter-spacing:.06em;color:#cbd5e1}
dl.facts dd{margin:2px 0 0;font-size:15px;font-weight:600;word-break:break-all}
dd.warn{color:#fcd34d}
dl.facts dd small{display:block;font-size:12px;font-weight:400;color:#cbd5e1;word-break:normal}
dl.facts dd small span{white-space:nowrap}
section{background:var(--panel);border:1px solid var(--line);border-radius:14px;padding:18px 20px;margin-bottom:20px}
h2{margin:0 0 4px;font-size:18px}
p.note{margin:0 0 12px;color:var(--muted)}
svg{display:block;width:100%;height:auto}
svg.map .region-box{fill:#eef0f4;stroke:#98a2b3;stroke-width:1}
svg.map .region-label{font-size:12px;font-weight:650;fill:#344054}
svg.map .file rect{stroke:#fff;stroke-width:.6}
svg.map .file:hover rect{stroke:#111;stroke-width:2}
svg.map .file-label{font-size:11px;fill:#1f2430;pointer-events:none}
svg.map .file-label.light{fill:#fff}
svg.coupling{width:auto;max-width:100%;margin-bottom:4px}
#coupling .legend{margin-bottom:14px}
svg.coupling .cluster{fill:#f2f3f7}
svg.coupling .node circle{fill:#312e81}
svg.coupling .node text{font-size:12px;fill:#1f2430;font-family:ui-monospace,SFMono-Regular,Menlo,monospace}
svg.coupling .node:hover text{font-weight:700}
svg.coupling .arc path{fill:none;stroke-opacity:.8}
svg.coupling .arc:hover path{stroke-opacity:1;stroke:#b91c1c}
svg.weeks .week rect{fill:#e8590c}
svg.weeks .week:hover rect{fill:#b91c1c}
svg.weeks .axis{stroke:#98a2b3}
svg.weeks .axis-label{font-size:11px;fill:var(--muted)}
.legend{display:flex;align-items:center;flex-wrap:wrap;gap:6px;margin-top:10px;color:var(--muted);font-size:12px}
.legend .swatch{width:26px;height:12px;border-radius:3px;display:inline-block}
.legend .region-sample{width:26px;height:12px;border:1px solid #98a2b3;background:#eef0f4;border-radius:3px}
.legend .legend-gap{width:18px}
table{width:100%;border-collapse:collapse}
th{text-align:left;font-size:11px;text-transform:uppercase;letter-spacing:.05em;color:var(--muted);border-bottom:1px solid var(--line);padding:6px 8px}
td{padding:6px 8px;border-bottom:1px solid #f0f1f4;vertical-align:top}
tr:hover td{background:#fafbfc}
td.num,th.num{text-align:right;font-variant-numeric:tabular-nums;white-space:nowrap}
td.name{font-family:ui-monospace,SFMono-Regular,Menlo,monospace;font-size:13px;word-break:break-all}
.add{color:#15803d}.del{color:#b91c1c}
td.risk{width:210px;white-space:nowrap}
.bar{display:inline-block;width:150px;height:10px;background:#f0f1f4;border-radius:5px;overflow:hidden;vertical-align:middle;margin-right:8px}
.bar span{display:block;height:100%;border-radius:5px}
.status{display:inline-block;padding:1px 8px;border-radius:10px;font-size:12px;background:#eef0f4}
.status.added{background:#dcfce7;color:#166534}.status.deleted{background:#fee2e2;color:#991b1b}
.status.renamed,.status.copied{background:#e0f2fe;color:#075985}
.old{color:var(--muted);font-size:12px}
ul.symbols{margin:4px 0 0;padding-left:16px;color:#475467;font-size:12px}
.empty{color:var(--muted);font-style:italic}
footer{color:var(--muted);font-size:12px;text-align:center}
ol.hottest{margin:10px 0 0;padding-left:22px;columns:2;font-size:12px;font-family:ui-monospace,SFMono-Regular,Menlo,monospace;word-break:break-all}
ol.hottest span{color:var(--muted);font-family:system-ui,sans-serif}
)";

std::string fact(std::string_view label, const std::string& value, bool warn = false) {
  return fmt::format("<div><dt>{}</dt><dd{}>{}</dd></div>", label, warn ? " class=\"warn\"" : "",
                     value);
}

std::string header_html(const ReportContent& content) {
  const git_history::HotspotsAnswer& answer = content.files;
  const std::string name = std::filesystem::path(content.repository).filename().string();
  std::string files = fmt::format("{}<small>still present", answer.page.total_count);
  if (answer.excluded_files > 0) {
    files += fmt::format("; {} more are not production source", answer.excluded_files);
  }
  files += "</small>";
  const bool cut = answer.period.commit_limit_reached;
  std::string out = fmt::format(
      "<header class=\"top\" id=\"header\"><h1>{} <span>hotspots</span></h1>"
      "<p class=\"path\">{}</p><dl class=\"facts\">",
      html_text(name), html_text(content.repository));
  out += fact("Branch", html_text(answer.period.branch));
  out += fact("Period", fmt::format("since {}<small><span>{}</span> to <span>{}</span></small>",
                                    html_text(answer.period.since), date_text(content.period_start),
                                    date_text(content.generated)));
  out += fact("Commits read", std::to_string(answer.period.commit_count));
  out += fact("Commit limit",
              cut ? "reached<small>older commits are left out</small>"
                  : "not reached<small>the whole period is read</small>",
              cut);
  out += fact("Index",
              content.index_used ? "used<small>components and symbols</small>"
                                 : "none<small>components and symbols unknown</small>",
              !content.index_used);
  out += fact("Changed files", files);
  return out + "</dl></header>";
}

std::string html_cell(const CellValue& value) {
  const std::string text = value.text ? html_text(*value.text) : "-";
  switch (value.kind) {
    case CellKind::kName: {
      std::string old_name;
      if (value.old_name)
        old_name = "<div class=\"old\">from " + html_text(*value.old_name) + "</div>";
      return "<td class=\"name\">" + text + old_name;
    }
    case CellKind::kCount:
    case CellKind::kCounts:
      return "<td class=\"num\">" + text;
    case CellKind::kAdded:
      return "<td class=\"num add\">" + text;
    case CellKind::kDeleted:
      return "<td class=\"num del\">" + text;
    case CellKind::kStatus:
      return fmt::format("<td><span class=\"status {0}\">{0}</span>", text);
    case CellKind::kRisk:
    case CellKind::kDegree:
      return fmt::format(
          R"(<td class="risk"><span class="bar"><span style="width:{:.0f}%;background:{}"></span></span>{})",
          value.risk * 100,
          value.kind == CellKind::kRisk ? risk_colour(value.risk) : degree_colour(value.risk),
          text);
    case CellKind::kTime:
      return "<td class=\"num\">" + date_minute_text(value.time);
    case CellKind::kText:
      break;
  }
  return "<td>" + text;
}

// A section holding the grid as a table: one <tr class="row_class"> per
// row, the row's symbols listed in its first cell.
std::string html_table(const Grid& grid, std::string_view row_class, std::string_view empty) {
  std::string out = "<table><thead><tr>";
  for (const Column& column : grid.columns) {
    out += fmt::format("<th{}>{}</th>", column.align == Align::kRight ? " class=\"num\"" : "",
                       column.title);
  }
  out += "</tr></thead><tbody>";
  for (const Grid::Line& line : grid.lines) {
    out += fmt::format("<tr class=\"{}\">", row_class);
    for (std::size_t i = 0; i < line.cells.size(); ++i) {
      out += html_cell(line.cells[i]);
      if (i == 0 && !line.details.empty()) {
        out += "<ul class=\"symbols\">";
        for (const std::string& detail : line.details) out += "<li>" + html_text(detail) + "</li>";
        out += "</ul>";
      }
      out += "</td>";
    }
    out += "</tr>";
  }
  if (grid.lines.empty()) {
    out += fmt::format("<tr><td colspan=\"{}\" class=\"empty\">{}</td></tr>", grid.columns.size(),
                       empty);
  }
  return out + "</tbody></table>";
}

std::string file_table(const ReportContent& content) {
  const auto& rows = file_rows(content);
  const auto shown = std::span(rows).first(std::min<std::size_t>(rows.size(), kTableFiles));
  return "<section id=\"files\"><h2>File hotspots</h2><p class=\"note\">The files changed in the "
         "most commits, then the most lines; risk is a file's commits against the busiest "
         "file's.</p>" +
         html_table(make_grid(file_hotspot_columns(), shown), "hotspot", "No files.") +
         "</section>";
}

std::string component_table(const ReportContent& content) {
  return "<section id=\"components\"><h2>Component hotspots</h2><p class=\"note\">A "
         "component's commits add up its files' commits, so a commit that changed three of its "
         "files counts three times, and it can exceed the commits read; risk is a component's "
         "commits against the busiest component's.</p>" +
         html_table(make_grid(component_hotspot_columns(), std::span(component_rows(content))),
                    "component", "No components.") +
         "</section>";
}

std::string coupling_section(const ReportContent& content) {
  const git_history::CouplingAnswer& coupling = content.coupling;
  const auto shown = static_cast<std::int64_t>(coupling.pairs.size());
  std::string note = fmt::format(
      "Pairs of files that kept changing in the same commits{}: degree is 2 &times; shared "
      "commits / (commits of one + commits of the other). Only files with at least {} commits, "
      "sharing at least {}, with degree {:.2f} or more",
      shown < coupling.page.total_count
          ? fmt::format(", the {} strongest of {}", shown, coupling.page.total_count)
          : "",
      git_history::kDefaultMinRevisions, git_history::kDefaultMinShared,
      git_history::kDefaultMinDegree);
  if (coupling.bulk_commits > 0) {
    note += fmt::format("; {} commit{} of more than {} files (bulk changes) are left out",
                        coupling.bulk_commits, coupling.bulk_commits == 1 ? "" : "s",
                        git_history::kDefaultMaxChangeset);
  }
  const std::string picture =
      coupling.pairs.empty() ? ""
                             : "<p class=\"note\">Each arc ties two files that change together; "
                               "files tied by arcs form a cluster.</p>" +
                                   coupling_chart_svg(coupling.pairs) + coupling_legend_html();
  return "<section id=\"coupling\"><h2>Change coupling</h2><p class=\"note\">" + note + ".</p>" +
         picture +
         html_table(make_grid(coupling_columns(), std::span(coupling.pairs)), "pair",
                    "No files changed together often enough.") +
         "</section>";
}

std::string recent_table(const ReportContent& content) {
  const git_history::RecentChangesAnswer& recent = content.recent;
  return fmt::format(
             "<section id=\"recent\"><h2>Recent changes</h2><p class=\"note\">The latest {} of {} "
             "changed files{}; times are UTC.</p>",
             recent.files.size(), recent.page.total_count,
             content.index_used ? ", with the symbols on their changed lines" : "") +
         html_table(make_grid(history_columns(), std::span(recent.files)), "change",
                    "No changes.") +
         "</section>";
}

std::string map_section(const ReportContent& content) {
  const std::int64_t total = content.files.page.total_count;
  const std::size_t shown = file_rows(content).size();
  if (shown == 0) {
    return "<section id=\"map\"><h2>Hotspot map</h2><p class=\"empty\">No file that the "
           "period changed is still there.</p></section>";
  }
  const std::string scope = static_cast<std::int64_t>(shown) < total
                                ? fmt::format(" It shows the {} busiest of {} files.", shown, total)
                                : "";
  return fmt::format(
      "<section id=\"map\"><h2>Hotspot map</h2><p class=\"note\">Each region is a component "
      "and each box a file in it, sized by the lines the period changed and coloured by risk: "
      "its commits against the busiest file's. The hottest files are numbered where their "
      "name does not fit. Hover over a box for its numbers.{}</p>{}{}{}</section>",
      scope, hotspot_map_svg(content), hotspot_legend_html(), hottest_key_html(content));
}

}  // namespace

std::string report_html(const ReportContent& content) {
  const std::string name = std::filesystem::path(content.repository).filename().string();
  std::string page = fmt::format(
      "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"{}\">"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
      "<title>{} hotspots since {}</title><style>{}</style></head><body><main>",
      kPolicy, html_text(name), html_text(content.files.period.since), kStyle);
  page += header_html(content);
  page += map_section(content);
  page += "<section id=\"weeks\"><h2>Commits per week</h2>" + weekly_chart_svg(content.weeks) +
          "</section>";
  page += file_table(content);
  page += component_table(content);
  page += coupling_section(content);
  page += recent_table(content);
  page += fmt::format("<footer>Written by lomarind on {} (UTC).</footer></main></body></html>\n",
                      date_text(content.generated));
  return page;
}

}  // namespace lomarind::cli
