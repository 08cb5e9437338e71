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
// A risk or a degree: a fraction of 1, two places.
CellValue fraction(CellKind kind, double value) {
  return {.kind = kind, .text = fmt::format("{:.2f}", value), .risk = value};
}
CellValue risk(double value) { return fraction(CellKind::kRisk, value); }
CellValue degree(double value) { return fraction(CellKind::kDegree, value); }
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

constexpr ColumnSpec<gh::CouplingPair> kCouplingColumns[] = {
    {"File", Align::kLeft, [](const gh::CouplingPair& r) { return name(r.path); }},
    {"Coupled with", Align::kLeft, [](const gh::CouplingPair& r) { return name(r.coupled_path); }},
    {"Degree", Align::kRight, [](const gh::CouplingPair& r) { return degree(r.degree); }},
    {"Shared", Align::kRight, [](const gh::CouplingPair& r) { return count(r.shared_commits); }},
    {"Commits", Align::kRight,
     [](const gh::CouplingPair& r) {
       return CellValue{.kind = CellKind::kCounts,
                        .text = fmt::format("{} / {}", r.commits, r.coupled_commits)};
     }},
};

constexpr ColumnSpec<gh::MissingPartner> kMissingPartnerColumns[] = {
    {"File", Align::kLeft, [](const gh::MissingPartner& r) { return name(r.path); }},
    {"Changes with", Align::kLeft,
     [](const gh::MissingPartner& r) { return name(r.coupled_path); }},
    {"Degree", Align::kRight, [](const gh::MissingPartner& r) { return degree(r.degree); }},
    {"Shared", Align::kRight, [](const gh::MissingPartner& r) { return count(r.shared_commits); }},
};

}  // namespace

std::span<const ColumnSpec<gh::DiffRow>> diff_columns() { return kDiffColumns; }
std::span<const ColumnSpec<gh::HistoryRow>> history_columns() { return kHistoryColumns; }
std::span<const ColumnSpec<gh::FileHotspot>> file_hotspot_columns() { return kFileHotspotColumns; }
std::span<const ColumnSpec<gh::ComponentHotspot>> component_hotspot_columns() {
  return kComponentHotspotColumns;
}

std::span<const ColumnSpec<gh::CouplingPair>> coupling_columns() { return kCouplingColumns; }
std::span<const ColumnSpec<gh::MissingPartner>> missing_partner_columns() {
  return kMissingPartnerColumns;
}

std::string symbol_text(const gh::SymbolRow& symbol) {
  return fmt::format("{} {} (lines {}-{})", symbol.kind, symbol.name, symbol.line, symbol.end_line);
}

}  // namespace lomarind::cli
