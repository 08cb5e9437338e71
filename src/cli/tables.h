// The readable form of each answer: a summary line, a table of the page's
// rows (with symbol lines under a row when asked for) and a page footer.
// Every name is escaped for the terminal.
#pragma once

#include <string>

#include "cli/answer_text.h"
#include "lomarind/utils/json.h"

namespace lomarind::cli {

std::string recent_table(const Json& answer, const RenderOptions& options);
std::string hotspots_table(const Json& answer, const RenderOptions& options);
std::string diff_table(const Json& answer, const RenderOptions& options);

}  // namespace lomarind::cli
