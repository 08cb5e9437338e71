// The symbol kinds the retrieval worker can return.
#pragma once

#include <array>
#include <string_view>

namespace lomarind::retrieval {

inline constexpr std::array<std::string_view, 8> RETRIEVABLE_KINDS = {
    "class", "enum", "function", "interface", "method", "struct", "trait", "type"};

}  // namespace lomarind::retrieval
