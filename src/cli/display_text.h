// Text bound for a terminal: names from a repository may hold control
// characters (an escape sequence in a file name would drive the terminal)
// or bytes that are not UTF-8, so they are shown escaped, never raw.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lomarind::cli {

// `text` with every character that does not print escaped: \t, \n and \r,
// then \xhh, \uhhhh or \Uhhhhhhhh (control, format, separator other than
// the space, private-use and unassigned characters). A byte that is not
// valid UTF-8 is written \xhh. Printable characters pass unchanged.
std::string terminal_text(std::string_view text);

// As terminal_text, but keeps line feeds and tabs: for multi-line messages
// such as git's own error text.
std::string terminal_message(std::string_view text);

// As terminal_text, but a byte that is not valid UTF-8 is written \udcXX,
// as the JSON answers write it: for names on a report page.
std::string page_text(std::string_view text);

// `message` as lines for stderr: each made safe as by terminal_message,
// each starting with "lomarind: " and ending with a newline; `head` (such
// as "warning: ") opens the first. So every line of a multi-line message,
// git's own included, says where it came from.
std::string program_lines(std::string_view head, std::string_view message);

// `text` in single quotes, terminal-safe.
std::string quoted_text(std::string_view text);

// `text` in at most `width` terminal columns: when longer, its start and
// end with an ellipsis between, so both a path's top folder and its file
// name stay. REQUIRES: `text` came from terminal_text; width >= 1.
std::string shortened_middle(std::string_view text, std::size_t width);

// The number of terminal columns `text` takes (wide characters count two,
// combining marks none). REQUIRES: `text` came from terminal_text.
std::size_t display_width(std::string_view text);

}  // namespace lomarind::cli
