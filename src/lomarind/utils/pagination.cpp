#include "lomarind/utils/pagination.h"

#include <fmt/format.h>

#include <utility>

namespace lomarind::pagination {

std::optional<NextPage> next_page(bool has_more, std::int64_t offset, std::string_view total,
                                  std::int64_t count) {
  if (!has_more) return std::nullopt;
  if (count == 0) {
    return NextPage{offset, fmt::format("Showing no rows of {}; pass a positive limit", total)};
  }
  return NextPage{offset + count,
                  fmt::format("Showing rows {}-{} of {}; pass offset={} for the next page",
                              offset + 1, offset + count, total, offset + count)};
}

Json add_pagination_hint(Json result, std::int64_t count) {
  const auto has_more = result.find("has_more");
  const bool more = has_more != result.end() && has_more->is_boolean() && has_more->get<bool>();
  if (!more) return result;
  std::optional<NextPage> next = next_page(true, result.at("offset").get<std::int64_t>(),
                                           result.at("total_count").dump(), count);
  result["next_offset"] = next->next_offset;
  result["hint"] = std::move(next->hint);
  return result;
}

}  // namespace lomarind::pagination
