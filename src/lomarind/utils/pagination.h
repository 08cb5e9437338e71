// The shared next-page hint of every paginated answer.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "lomarind/utils/json.h"

namespace lomarind::pagination {

// Where the next page starts and the sentence that says how to ask for it.
struct NextPage {
  std::int64_t next_offset = 0;
  std::string hint;
};

// The next page after `count` rows shown from `offset` of `total` (written
// as the answer writes it), or nullopt when there are no more rows.
std::optional<NextPage> next_page(bool has_more, std::int64_t offset, std::string_view total,
                                  std::int64_t count);

// When result["has_more"] is true, appends next_offset and hint; otherwise
// returns the result unchanged.
Json add_pagination_hint(Json result, std::int64_t count);

}  // namespace lomarind::pagination
