#include "cli/columns.h"

#include <fmt/format.h>

namespace lomarind::cli {

namespace gh = git_history;

namespace {

CellValue name(const std::string& text, const std::optional<std::string>& old_name = {}) {
  return {.kind = CellKind::kName, .text = text, .old_name = old_name};
}
CellValue count(std::int64_t value) {
  return {.kind = CellKind::kCount, .text = std::to_string(value)};
}
// A zero is shown bare: "+0" and "-0" read as signed zeros.
CellValue added(std::int64_t value) {
  return {.kind = CellKind::kAdded, .text = value == 0 ? "0" : fmt::format("+{}", value)};
}
CellValue deleted(std::int64_t value) {
  return {.kind = CellKind::kDeleted, .text = value == 0 ? "0" : fmt::format("-{}", value)};
}
CellValue risk(double value) {
  return {.kind = CellKind::kRisk, .text = fmt::format("{:.2f}", value), .risk = value};
}
CellValue status(const std::string& text) { return {.kind = CellKind::kStatus, .text = text}; }

constexpr ColumnSpec<gh::DiffRow> kDiffColumns[] = {
    {"File", Align::kLeft,
     [](const gh::DiffRow& r) { return name(r.change.path, r.change.old_path); }},
    {"Status", Align::kLeft, [](const gh::DiffRow& r) { return status(r.change.status); }},
    {"Added", Align::kRight, [](const gh::DiffRow& r) { return added(r.change.additions); }},
    {"Deleted", Align::kRight, [](const gh::DiffRow& r) { return deleted(r.change.deletions); }},
};

constexpr ColumnSpec<gh::HistoryRow> kHistoryColumns[] = {
    {"File", Align::kLeft,
     [](const gh::HistoryRow& r) { return name(r.change.path, r.change.old_path); }},
    {"Status", Align::kLeft, [](const gh::HistoryRow& r) { return status(r.change.status); }},
    {"Commits", Align::kRight, [](const gh::HistoryRow& r) { return count(r.commits); }},
    {"Added", Align::kRight, [](const gh::HistoryRow& r) { return added(r.change.additions); }},
    {"Deleted", Align::kRight, [](const gh::HistoryRow& r) { return deleted(r.change.deletions); }},
    {"Last change", Align::kLeft,
     [](const gh::HistoryRow& r) {
       return CellValue{.kind = CellKind::kTime, .time = r.last_changed};
     }},
};

constexpr ColumnSpec<gh::FileHotspot> kFileHotspotColumns[] = {
    {"File", Align::kLeft, [](const gh::FileHotspot& r) { return name(r.name); }},
    {"Commits", Align::kRight, [](const gh::FileHotspot& r) { return count(r.commits); }},
    {"Added", Align::kRight, [](const gh::FileHotspot& r) { return added(r.additions); }},
    {"Deleted", Align::kRight, [](const gh::FileHotspot& r) { return deleted(r.deletions); }},
    {"Component", Align::kLeft,
     [](const gh::FileHotspot& r) {
       return CellValue{.kind = CellKind::kName, .text = r.component};
     }},
    {"Risk", Align::kRight, [](const gh::FileHotspot& r) { return risk(r.risk_score); }},
};

constexpr ColumnSpec<gh::ComponentHotspot> kComponentHotspotColumns[] = {
    {"Component", Align::kLeft, [](const gh::ComponentHotspot& r) { return name(r.name); }},
    {"Commits", Align::kRight, [](const gh::ComponentHotspot& r) { return count(r.commits); }},
    {"Added", Align::kRight, [](const gh::ComponentHotspot& r) { return added(r.additions); }},
    {"Deleted", Align::kRight, [](const gh::ComponentHotspot& r) { return deleted(r.deletions); }},
    {"Files", Align::kRight, [](const gh::ComponentHotspot& r) { return count(r.files); }},
    {"Risk", Align::kRight, [](const gh::ComponentHotspot& r) { return risk(r.risk_score); }},
};

}  // namespace

std::span<const ColumnSpec<gh::DiffRow>> diff_columns() { return kDiffColumns; }
std::span<const ColumnSpec<gh::HistoryRow>> history_columns() { return kHistoryColumns; }
std::span<const ColumnSpec<gh::FileHotspot>> file_hotspot_columns() { return kFileHotspotColumns; }
std::span<const ColumnSpec<gh::ComponentHotspot>> component_hotspot_columns() {
  return kComponentHotspotColumns;
}

std::string symbol_text(const gh::SymbolRow& symbol) {
  return fmt::format("{} {} (lines {}-{})", symbol.kind, symbol.name, symbol.line, symbol.end_line);
}

}  // namespace lomarind::cli
