#include <fmt/format.h>

#include <filesystem>

#include "cli/markup_text.h"
#include "cli/report.h"
#include "cli/report_charts.h"

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
)";

std::int64_t integer(const Json& row, const char* key) {
  const auto it = row.find(key);
  return it != row.end() && it->is_number_integer() ? it->get<std::int64_t>() : 0;
}

std::string field(const Json& row, const char* key) {
  const auto it = row.find(key);
  if (it == row.end() || it->is_null()) return "-";
  return html_text(it->is_string() ? it->get<std::string>() : it->dump());
}

std::string fact(std::string_view label, const std::string& value, bool warn = false) {
  return fmt::format("<div><dt>{}</dt><dd{}>{}</dd></div>", label, warn ? " class=\"warn\"" : "",
                     value);
}

std::string header_html(const ReportContent& content) {
  const Json& answer = content.files;
  const std::string name = std::filesystem::path(content.repository).filename().string();
  const std::int64_t excluded = integer(answer, "excluded_files");
  std::string files = fmt::format("{}<small>still present", integer(answer, "total_count"));
  if (excluded > 0) files += fmt::format("; {} more are not production source", excluded);
  files += "</small>";
  const bool cut = answer.contains("commit_limit_reached");
  std::string out = fmt::format(
      "<header class=\"top\" id=\"header\"><h1>{} <span>hotspots</span></h1>"
      "<p class=\"path\">{}</p><dl class=\"facts\">",
      html_text(name), html_text(content.repository));
  out += fact("Branch", field(answer, "branch"));
  out += fact("Period", fmt::format("since {}<small><span>{}</span> to <span>{}</span></small>",
                                    field(answer, "since"), date_text(content.period_start),
                                    date_text(content.generated)));
  out += fact("Commits read", std::to_string(integer(answer, "commit_count")));
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

std::string risk_cell(const Json& row) {
  const double risk = row.value("risk_score", 0.0);
  return fmt::format(
      R"(<td class="risk"><span class="bar"><span style="width:{:.0f}%;background:{}"></span></span>{:.2f}</td>)",
      risk * 100, risk_colour(risk), risk);
}

std::string lines_cells(const Json& row) {
  return fmt::format(R"(<td class="num add">+{}</td><td class="num del">-{}</td>)",
                     integer(row, "additions"), integer(row, "deletions"));
}

std::string file_table(const ReportContent& content) {
  const Json& rows = content.files.at("hotspots");
  std::string out =
      "<section id=\"files\"><h2>File hotspots</h2><p class=\"note\">The files changed in the "
      "most commits, then the most lines; risk is a file's commits against the busiest "
      "file's.</p><table><thead><tr><th>File</th><th class=\"num\">Commits</th><th "
      "class=\"num\">Added</th><th class=\"num\">Deleted</th><th>Component</th><th>Risk</th>"
      "</tr></thead><tbody>";
  std::size_t shown = 0;
  for (const Json& row : rows) {
    if (shown++ == static_cast<std::size_t>(kTableFiles)) break;
    out += fmt::format(
        "<tr class=\"hotspot\"><td class=\"name\">{}</td><td "
        "class=\"num\">{}</td>{}<td>{}</td>{}</tr>",
        field(row, "name"), integer(row, "commits"), lines_cells(row), field(row, "component"),
        risk_cell(row));
  }
  if (rows.empty()) out += "<tr><td colspan=\"6\" class=\"empty\">No files.</td></tr>";
  return out + "</tbody></table></section>";
}

std::string component_table(const ReportContent& content) {
  const Json& rows = content.components.at("hotspots");
  std::string out =
      "<section id=\"components\"><h2>Component hotspots</h2><table><thead><tr><th>Component</th>"
      "<th class=\"num\">Commits</th><th class=\"num\">Added</th><th class=\"num\">Deleted</th>"
      "<th class=\"num\">Files</th><th>Risk</th></tr></thead><tbody>";
  for (const Json& row : rows) {
    out += fmt::format(
        "<tr class=\"component\"><td class=\"name\">{}</td><td class=\"num\">{}</td>{}"
        "<td class=\"num\">{}</td>{}</tr>",
        field(row, "name"), integer(row, "commits"), lines_cells(row), integer(row, "files"),
        risk_cell(row));
  }
  if (rows.empty()) out += "<tr><td colspan=\"6\" class=\"empty\">No components.</td></tr>";
  return out + "</tbody></table></section>";
}

std::string symbols_html(const Json& row) {
  const auto symbols = row.find("symbols");
  if (symbols == row.end() || !symbols->is_array() || symbols->empty()) return "";
  std::string out = "<ul class=\"symbols\">";
  for (const Json& symbol : *symbols) {
    out += fmt::format("<li>{} <b>{}</b> (lines {}-{})</li>", field(symbol, "kind"),
                       field(symbol, "name"), field(symbol, "line"), field(symbol, "end_line"));
  }
  return out + "</ul>";
}

std::string recent_table(const ReportContent& content) {
  const Json& rows = content.recent.at("files");
  std::string out = fmt::format(
      "<section id=\"recent\"><h2>Recent changes</h2><p class=\"note\">The latest {} of {} "
      "changed files{}.</p><table><thead><tr><th>File</th><th>Status</th><th "
      "class=\"num\">Commits</th><th class=\"num\">Added</th><th class=\"num\">Deleted</th>"
      "<th>Last change (UTC)</th></tr></thead><tbody>",
      rows.size(), integer(content.recent, "total_count"),
      content.index_used ? ", with the symbols on their changed lines" : "");
  for (const Json& row : rows) {
    const std::string status = field(row, "status");
    const std::string old_path =
        row.contains("old_path") ? "<div class=\"old\">from " + field(row, "old_path") + "</div>"
                                 : "";
    std::string when = field(row, "last_changed");
    if (when.size() >= 16) when = when.substr(0, 10) + " " + when.substr(11, 5);
    out += fmt::format(
        "<tr class=\"change\"><td class=\"name\">{}{}{}</td><td><span class=\"status {}\">{}</span>"
        "</td><td class=\"num\">{}</td>{}<td class=\"num\">{}</td></tr>",
        field(row, "path"), old_path, symbols_html(row), status, status, integer(row, "commits"),
        lines_cells(row), when);
  }
  if (rows.empty()) out += "<tr><td colspan=\"6\" class=\"empty\">No changes.</td></tr>";
  return out + "</tbody></table></section>";
}

std::string map_section(const ReportContent& content) {
  const std::int64_t total = integer(content.files, "total_count");
  const std::size_t shown = content.files.at("hotspots").size();
  if (shown == 0) {
    return "<section id=\"map\"><h2>Hotspot map</h2><p class=\"empty\">No file that the "
           "period changed is still there.</p></section>";
  }
  const std::string scope = static_cast<std::int64_t>(shown) < total
                                ? fmt::format(" It shows the {} busiest of {} files.", shown, total)
                                : "";
  return fmt::format(
      "<section id=\"map\"><h2>Hotspot map</h2><p class=\"note\">Each region is a component "
      "and each box a file in it, sized by the lines the period changed and coloured by risk. "
      "Hover over a file for its numbers.{}</p>{}{}</section>",
      scope, hotspot_map_svg(content), hotspot_legend_html());
}

}  // namespace

std::string report_html(const ReportContent& content) {
  const std::string name = std::filesystem::path(content.repository).filename().string();
  std::string page = fmt::format(
      "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"{}\">"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
      "<title>{} hotspots since {}</title><style>{}</style></head><body><main>",
      kPolicy, html_text(name), field(content.files, "since"), kStyle);
  page += header_html(content);
  page += map_section(content);
  page += "<section id=\"weeks\"><h2>Commits per week</h2>" + weekly_chart_svg(content.weeks) +
          "</section>";
  page += file_table(content);
  page += component_table(content);
  page += recent_table(content);
  page += fmt::format("<footer>Written by lomarind on {} (UTC).</footer></main></body></html>\n",
                      date_text(content.generated));
  return page;
}

}  // namespace lomarind::cli
