// The one JSON type of the library: answers and rows keep their keys in
// insertion order, so the order a worker writes is the order a caller reads.
#pragma once

#include <nlohmann/json.hpp>

namespace lomarind {

using Json = nlohmann::ordered_json;

}  // namespace lomarind
