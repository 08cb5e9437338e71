// Small helpers on text that several readers of outside text share.
#pragma once

#include <string_view>

namespace lomarind::text {

// `text` without the blanks (spaces, tabs, carriage returns, line feeds)
// at either end.
std::string_view trim(std::string_view text);

}  // namespace lomarind::text
