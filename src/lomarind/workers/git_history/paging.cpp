#include "lomarind/workers/git_history/paging.h"

#include <string>
#include <utility>

namespace lomarind::git_history::detail {
namespace {

// Whether start + length < total, for non-negative start and length,
// without forming the sum (both may be near the int64 limit).
bool ends_before(std::int64_t start, std::int64_t length, std::int64_t total) {
  return start < total && length < total - start;
}

}  // namespace

Json paginated(Json result, std::string_view key, std::vector<Json> rows, std::int64_t total,
               std::int64_t limit, std::int64_t offset, const PaginationHint& hint) {
  const std::int64_t start = std::max<std::int64_t>(offset, 0);
  const auto count = static_cast<std::int64_t>(rows.size());
  result[std::string(key)] = Json(std::move(rows));
  result["total_count"] = total;
  result["truncated"] = ends_before(start, std::max<std::int64_t>(limit, 0), total);
  result["has_more"] = ends_before(start, count, total);
  result["offset"] = start;
  return hint.add_pagination_hint(std::move(result), count);
}

}  // namespace lomarind::git_history::detail
