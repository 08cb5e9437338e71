#include "lomarind/utils/pagination.h"

#include <string>

namespace lomarind::pagination {

Json add_pagination_hint(Json result, std::int64_t count) {
  const auto has_more = result.find("has_more");
  if (has_more == result.end() || !has_more->is_boolean() || !has_more->get<bool>()) {
    return result;
  }
  const std::int64_t offset = result.at("offset").get<std::int64_t>();
  const std::string total = result.at("total_count").dump();
  result["next_offset"] = offset + count;
  if (count == 0) {
    result["hint"] = "Showing no rows of " + total + "; pass a positive limit";
  } else {
    result["hint"] = "Showing rows " + std::to_string(offset + 1) + "-" +
                     std::to_string(offset + count) + " of " + total +
                     "; pass offset=" + std::to_string(offset + count) + " for the next page";
  }
  return result;
}

}  // namespace lomarind::pagination
