// Reading a git config file the way git reads it, so that a value we must
// check (a file git will open) is the value git will use: comments after a
// value, quotes, escapes and continued lines included. A pure parser of the
// file's text; it runs nothing and opens nothing.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lomarind::git_utils {

struct ConfigEntry {
  std::string section;               // lower-case, e.g. "core" or "includeif"
  std::string subsection;            // as written in [section "subsection"]; empty for none
  std::string key;                   // lower-case, e.g. "path"
  std::optional<std::string> value;  // none for a bare key (git reads it as true)

  bool operator==(const ConfigEntry&) const = default;
};

// The entries of `text` in order. As in git: `#` and `;` begin a comment
// outside double quotes; double quotes group; `\"`, `\\`, `\n`, `\t` and
// `\b` are escapes; a backslash at the end of a line continues the value
// on the next; blanks around a value are dropped, each blank inside it
// outside quotes becomes one space; section and key names are
// case-insensitive ([Section "Sub"] and the old [section.sub]); a key may
// follow its section header on the same line. At the first line git would
// reject, parsing stops with the entries before it, which git has already
// acted on by then.
std::vector<ConfigEntry> parse_git_config(std::string_view text);

}  // namespace lomarind::git_utils
