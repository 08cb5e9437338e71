// The readable form of each answer for a terminal: a summary line, the
// page's rows drawn through the row type's column model (symbol lines under
// a row when asked for) and a page footer. Every name is terminal-safe.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "cli/columns.h"
#include "lomarind/workers/git_history/answers.h"

namespace lomarind::cli {

// How tables are drawn: colour only on a terminal that allows it, and the
// time that relative ages count back from.
struct RenderOptions {
  bool colour = false;
  std::chrono::sys_seconds now{};
  std::size_t width = 0;  // a terminal's columns to fit; 0 (piped) never cuts
};

// The rows as an aligned table with a header, or "" when there are none.
std::string terminal_table(const Grid& grid, const RenderOptions& options);

// The line under a table: which rows were shown of how many, and the
// --offset that shows the next page.
std::string page_footer(const git_history::PageFields& page, std::size_t shown,
                        std::string_view noun);

std::string recent_table(const git_history::RecentChangesAnswer& answer,
                         const RenderOptions& options);
std::string hotspots_table(const git_history::HotspotsAnswer& answer, const RenderOptions& options);
std::string diff_table(const git_history::BranchDiffAnswer& answer, const RenderOptions& options);

}  // namespace lomarind::cli
