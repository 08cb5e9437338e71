#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "lomarind/workers/git_history/hotspots.h"

namespace lomarind::git_history::detail {
namespace {

struct ComponentTotals {
  std::string name;
  std::int64_t commits = 0;
  std::int64_t additions = 0;
  std::int64_t deletions = 0;
  std::int64_t files = 0;
};

std::string component_name(const std::string& path, const repository_changes::IndexedPaths& facts) {
  const auto fact = facts.find(path);
  if (fact == facts.end() || !fact->second.component || fact->second.component->empty()) {
    return "unknown";
  }
  return *fact->second.component;
}

// Totals per component, in the order of each name's first appearance.
std::vector<ComponentTotals> totals_by_component(std::span<const PathHistory> histories,
                                                 const repository_changes::IndexedPaths& facts) {
  std::vector<ComponentTotals> totals;
  std::unordered_map<std::string, std::size_t> at;
  for (const PathHistory& history : histories) {
    std::string name = component_name(history.path, facts);
    const auto [it, inserted] = at.try_emplace(name, totals.size());
    if (inserted) totals.push_back(ComponentTotals{.name = std::move(name)});
    ComponentTotals& component = totals[it->second];
    component.commits += history.commits;
    component.additions += history.additions;
    component.deletions += history.deletions;
    component.files += 1;
  }
  return totals;
}

}  // namespace

double risk_score(std::int64_t commits, std::int64_t busiest) {
  const double quotient = static_cast<double>(commits) / static_cast<double>(busiest);
  // to_chars with a precision rounds the exact binary value, ties to even,
  // independent of the locale; reading the text back gives the nearest double.
  char text[64];
  const auto written =
      std::to_chars(text, text + sizeof text, quotient, std::chars_format::fixed, 2);
  double rounded = quotient;
  std::from_chars(text, written.ptr, rounded);
  return rounded;
}

std::vector<FileHotspot> file_rows(std::span<const PathHistory> histories,
                                   const repository_changes::IndexedPaths& facts) {
  return file_rows(histories, facts, histories.empty() ? 1 : histories.front().commits);
}

std::vector<FileHotspot> file_rows(std::span<const PathHistory> histories,
                                   const repository_changes::IndexedPaths& facts,
                                   std::int64_t busiest) {
  std::vector<FileHotspot> rows;
  rows.reserve(histories.size());
  for (const PathHistory& history : histories) {
    const auto fact = facts.find(history.path);
    rows.push_back(
        FileHotspot{.name = history.path,
                    .commits = history.commits,
                    .additions = history.additions,
                    .deletions = history.deletions,
                    .component = fact != facts.end() ? fact->second.component : std::nullopt,
                    .risk_score = risk_score(history.commits, busiest),
                    .last_changed = history.last_changed});
  }
  return rows;
}

std::vector<ComponentHotspot> component_rows(std::span<const PathHistory> histories,
                                             const repository_changes::IndexedPaths& facts) {
  std::vector<ComponentTotals> ranked = totals_by_component(histories, facts);
  std::sort(ranked.begin(), ranked.end(), [](const ComponentTotals& a, const ComponentTotals& b) {
    if (a.commits != b.commits) return a.commits > b.commits;
    return code_point_less(a.name, b.name);
  });
  const std::int64_t busiest = ranked.empty() ? 1 : ranked.front().commits;
  std::vector<ComponentHotspot> rows;
  rows.reserve(ranked.size());
  for (ComponentTotals& component : ranked) {
    rows.push_back(ComponentHotspot{.name = std::move(component.name),
                                    .commits = component.commits,
                                    .additions = component.additions,
                                    .deletions = component.deletions,
                                    .files = component.files,
                                    .risk_score = risk_score(component.commits, busiest)});
  }
  return rows;
}

}  // namespace lomarind::git_history::detail
