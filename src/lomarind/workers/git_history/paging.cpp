#include "lomarind/workers/git_history/paging.h"

#include <string>
#include <utility>

#include "lomarind/utils/pagination.h"

namespace lomarind::git_history::detail {
namespace {

// Whether start + length < total, for non-negative start and length,
// without forming the sum (both may be near the int64 limit).
bool ends_before(std::int64_t start, std::int64_t length, std::int64_t total) {
  return start < total && length < total - start;
}

}  // namespace

PageFields page_fields(std::int64_t total, std::int64_t limit, std::int64_t offset,
                       std::int64_t count) {
  PageFields page;
  page.total_count = total;
  page.offset = std::max<std::int64_t>(offset, 0);
  page.truncated = ends_before(page.offset, std::max<std::int64_t>(limit, 0), total);
  page.has_more = ends_before(page.offset, count, total);
  if (auto next = pagination::next_page(page.has_more, page.offset, std::to_string(total), count)) {
    page.next_offset = next->next_offset;
    page.hint = std::move(next->hint);
  }
  return page;
}

}  // namespace lomarind::git_history::detail
