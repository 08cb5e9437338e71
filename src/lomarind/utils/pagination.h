// The shared next-page hint of every paginated answer.
#pragma once

#include <cstdint>

#include "lomarind/utils/json.h"

namespace lomarind::pagination {

// When result["has_more"] is true, appends next_offset and hint; otherwise
// returns the result unchanged.
Json add_pagination_hint(Json result, std::int64_t count);

}  // namespace lomarind::pagination
