// The rows and answers of the history module as typed records. Each field
// is one key of the answer; answer_json.h writes them out in the answers'
// own key order, and the program's tables read the fields themselves.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace lomarind::git_history {

// name, kind, fqn, line, end_line.
struct SymbolRow {
  std::string name{};
  std::string kind{};
  std::string fqn{};
  std::int64_t line = 0;
  std::int64_t end_line = 0;

  bool operator==(const SymbolRow&) const = default;
};

// Symbol rows by path, in insertion order: the given files first, then any
// path the index answered for that was not asked about.
using SymbolsByPath = std::vector<std::pair<std::string, std::vector<SymbolRow>>>;

// path, status, old_path (only for a rename or copy), additions, deletions.
struct ChangeRow {
  std::string path{};
  std::string status{};
  std::optional<std::string> old_path{};
  std::int64_t additions = 0;
  std::int64_t deletions = 0;

  bool operator==(const ChangeRow&) const = default;
};

// A file of the branch answer: its change row, then symbols when asked for.
struct DiffRow {
  ChangeRow change{};
  std::optional<std::vector<SymbolRow>> symbols{};

  bool operator==(const DiffRow&) const = default;
};

// A file of the recent-changes answer: its change row, commits,
// last_changed, then symbols when asked for.
struct HistoryRow {
  ChangeRow change{};
  std::int64_t commits = 0;
  std::int64_t last_changed = 0;  // Unix seconds, UTC
  std::optional<std::vector<SymbolRow>> symbols{};

  bool operator==(const HistoryRow&) const = default;
};

// name, type "file", commits, additions, deletions, component (null when
// the index holds none), risk_score.
struct FileHotspot {
  std::string name{};
  std::int64_t commits = 0;
  std::int64_t additions = 0;
  std::int64_t deletions = 0;
  std::optional<std::string> component{};
  double risk_score = 0;
  // Not part of the answer: when the file last changed (Unix seconds, UTC),
  // for a report's titles.
  std::int64_t last_changed = 0;

  bool operator==(const FileHotspot&) const = default;
};

// name, type "component", commits, additions, deletions, files, risk_score.
// A component's commits add up its files' commits.
struct ComponentHotspot {
  std::string name{};
  std::int64_t commits = 0;
  std::int64_t additions = 0;
  std::int64_t deletions = 0;
  std::int64_t files = 0;
  double risk_score = 0;

  bool operator==(const ComponentHotspot&) const = default;
};

// since, branch, commit_count, and commit_limit_reached only when reached.
// `start` and `oldest` are no answer keys: tables show them beside.
struct PeriodFields {
  std::string since{};
  std::string branch{};
  std::int64_t commit_count = 0;
  bool commit_limit_reached = false;
  std::int64_t start = 0;   // the period's first instant, Unix seconds, UTC
  std::int64_t oldest = 0;  // the oldest commit read, Unix seconds, UTC; 0 without one

  bool operator==(const PeriodFields&) const = default;
};

// The fields after a list answer's rows: total_count, truncated, has_more,
// offset, and next_offset and hint while there are more rows.
struct PageFields {
  std::int64_t total_count = 0;
  bool truncated = false;
  bool has_more = false;
  std::int64_t offset = 0;
  std::optional<std::int64_t> next_offset{};
  std::optional<std::string> hint{};

  bool operator==(const PageFields&) const = default;
};

// Two files that kept changing in the same commits: path, coupled_path
// (path first in code-point order, or the file asked about), degree,
// shared_commits, commits (of path), coupled_commits.
struct CouplingPair {
  std::string path{};
  std::string coupled_path{};
  double degree = 0;  // 2 x shared / (commits + coupled_commits), two places
  std::int64_t shared_commits = 0;
  std::int64_t commits = 0;
  std::int64_t coupled_commits = 0;

  bool operator==(const CouplingPair&) const = default;
};

// A file the branch did not change although it keeps changing with one it
// did: path, coupled_path (that changed file), degree, shared_commits.
struct MissingPartner {
  std::string path{};
  std::string coupled_path{};
  double degree = 0;
  std::int64_t shared_commits = 0;

  bool operator==(const MissingPartner&) const = default;
};

// base_branch, head_branch, commit_count, excluded_files, note, files, page,
// and missing_partners last, only when asked for.
struct BranchDiffAnswer {
  std::string base_branch{};
  std::string head_branch{};
  std::int64_t commit_count = 0;
  std::int64_t excluded_files = 0;
  std::optional<std::string> note{};
  std::vector<DiffRow> files{};
  PageFields page{};
  std::optional<std::vector<MissingPartner>> missing_partners{};

  bool operator==(const BranchDiffAnswer&) const = default;
};

// The period fields, excluded_files, files, page.
struct RecentChangesAnswer {
  PeriodFields period{};
  std::int64_t excluded_files = 0;
  std::vector<HistoryRow> files{};
  PageFields page{};

  bool operator==(const RecentChangesAnswer&) const = default;
};

// The period fields, group_by, excluded_files, hotspots, page. The rows are
// files or components, as group_by says.
struct HotspotsAnswer {
  PeriodFields period{};
  std::int64_t excluded_files = 0;
  std::variant<std::vector<FileHotspot>, std::vector<ComponentHotspot>> hotspots{};
  PageFields page{};

  // "file" or "component", as the rows are.
  std::string_view group_by() const { return hotspots.index() == 0 ? "file" : "component"; }

  bool operator==(const HotspotsAnswer&) const = default;
};

// The period fields, bulk_commits, excluded_files, pairs, page.
struct CouplingAnswer {
  PeriodFields period{};
  std::int64_t bulk_commits = 0;  // commits over the change-set limit, counted nowhere
  std::int64_t excluded_files = 0;
  std::vector<CouplingPair> pairs{};
  PageFields page{};

  bool operator==(const CouplingAnswer&) const = default;
};

}  // namespace lomarind::git_history
