#include "lomarind/workers/git_history/answer_json.h"

#include <utility>

#include "lomarind/utils/civil_time.h"

namespace lomarind::git_history {
namespace {

// The page's rows under `key`, then the pagination fields.
template <typename Rows>
Json paginated(Json object, const char* key, const Rows& rows, const PageFields& page) {
  object[key] = to_json(rows);
  object["total_count"] = page.total_count;
  object["truncated"] = page.truncated;
  object["has_more"] = page.has_more;
  object["offset"] = page.offset;
  if (page.next_offset) object["next_offset"] = *page.next_offset;
  if (page.hint) object["hint"] = *page.hint;
  return object;
}

// name, type, commits, additions, deletions: how every hotspot row starts.
template <typename Hotspot>
Json hotspot_head(const Hotspot& row, const char* type) {
  Json object = Json::object();
  object["name"] = row.name;
  object["type"] = type;
  object["commits"] = row.commits;
  object["additions"] = row.additions;
  object["deletions"] = row.deletions;
  return object;
}

// path, coupled_path, degree, shared_commits: how every coupled pair starts.
template <typename Pair>
Json pair_head(const Pair& row) {
  Json object = Json::object();
  object["path"] = row.path;
  object["coupled_path"] = row.coupled_path;
  object["degree"] = row.degree;
  object["shared_commits"] = row.shared_commits;
  return object;
}

template <typename Row>
void add_symbols(Json& object, const Row& row) {
  if (row.symbols) object["symbols"] = to_json(*row.symbols);
}

}  // namespace

Json to_json(const SymbolRow& row) {
  Json object = Json::object();
  object["name"] = row.name;
  object["kind"] = row.kind;
  object["fqn"] = row.fqn;
  object["line"] = row.line;
  object["end_line"] = row.end_line;
  return object;
}

Json to_json(const ChangeRow& row) {
  Json object = Json::object();
  object["path"] = row.path;
  object["status"] = row.status;
  if (row.old_path) object["old_path"] = *row.old_path;
  object["additions"] = row.additions;
  object["deletions"] = row.deletions;
  return object;
}

Json to_json(const DiffRow& row) {
  Json object = to_json(row.change);
  add_symbols(object, row);
  return object;
}

Json to_json(const HistoryRow& row) {
  Json object = to_json(row.change);
  object["commits"] = row.commits;
  object["last_changed"] = civil_time::utc_timestamp(row.last_changed);
  add_symbols(object, row);
  return object;
}

Json to_json(const FileHotspot& row) {
  Json object = hotspot_head(row, "file");
  object["component"] = row.component ? Json(*row.component) : Json(nullptr);
  object["risk_score"] = row.risk_score;
  return object;
}

Json to_json(const ComponentHotspot& row) {
  Json object = hotspot_head(row, "component");
  object["files"] = row.files;
  object["risk_score"] = row.risk_score;
  return object;
}

Json to_json(const CouplingPair& row) {
  Json object = pair_head(row);
  object["commits"] = row.commits;
  object["coupled_commits"] = row.coupled_commits;
  return object;
}

Json to_json(const MissingPartner& row) { return pair_head(row); }

Json to_json(const PeriodFields& period) {
  Json object = Json::object();
  object["since"] = period.since;
  object["branch"] = period.branch;
  object["commit_count"] = period.commit_count;
  if (period.commit_limit_reached) object["commit_limit_reached"] = true;
  return object;
}

Json to_json(const BranchDiffAnswer& answer) {
  Json object = Json::object();
  object["base_branch"] = answer.base_branch;
  object["head_branch"] = answer.head_branch;
  object["commit_count"] = answer.commit_count;
  object["excluded_files"] = answer.excluded_files;
  if (answer.note) object["note"] = *answer.note;
  object = paginated(std::move(object), "files", answer.files, answer.page);
  if (answer.missing_partners) object["missing_partners"] = to_json(*answer.missing_partners);
  return object;
}

Json to_json(const RecentChangesAnswer& answer) {
  Json object = to_json(answer.period);
  object["excluded_files"] = answer.excluded_files;
  return paginated(std::move(object), "files", answer.files, answer.page);
}

Json to_json(const HotspotsAnswer& answer) {
  Json object = to_json(answer.period);
  object["group_by"] = answer.group_by();
  object["excluded_files"] = answer.excluded_files;
  return std::visit(
      [&](const auto& rows) { return paginated(std::move(object), "hotspots", rows, answer.page); },
      answer.hotspots);
}

Json to_json(const CouplingAnswer& answer) {
  Json object = to_json(answer.period);
  object["bulk_commits"] = answer.bulk_commits;
  object["excluded_files"] = answer.excluded_files;
  return paginated(std::move(object), "pairs", answer.pairs, answer.page);
}

}  // namespace lomarind::git_history
