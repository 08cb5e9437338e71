// Names from a repository written into a report: shown as page_text shows
// them (control characters and bytes that are not UTF-8 escaped), then
// escaped for the format, so that no name can become markup.
#pragma once

#include <string>
#include <string_view>

namespace lomarind::cli {

// For HTML text and attribute values: & < > " and ' as character references.
std::string html_text(std::string_view text);

// For a cell of a GitHub-flavoured Markdown table: a backslash before every
// character that could start markup or end the cell (| ` * _ [ ] < > & ~ $
// and the backslash itself).
std::string markdown_text(std::string_view text);

}  // namespace lomarind::cli
