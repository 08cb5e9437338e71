// Reading ctags' JSON output (one object per line) and mapping its tags onto
// the index's symbols. Pure functions, no process is run here.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "lomarind/storage/index_writer.h"

namespace lomarind::repository_changes {

// The fields of one ctags tag that the index keeps.
struct CtagsTag {
  std::string path;
  std::string name;
  std::string kind;        // ctags' long kind name ("function", "member", "func")
  std::string scope;       // the enclosing scope, already qualified ("ns::C", "Foo.Inner")
  std::string scope_kind;  // the kind of that scope
  std::int64_t line = 0;
  std::optional<std::int64_t> end;

  bool operator==(const CtagsTag&) const = default;
};

// Parses one output line. nullopt for a line that holds no tag (a
// pseudo-tag, a blank or malformed line).
std::optional<CtagsTag> parse_ctags_line(std::string_view line);

// The index's kind for a tag of a file in `language` (our language name):
// ctags' names for the same idea differ between languages (a Python method
// is a "member", a Go function "func", a Rust trait an "interface"). Kinds
// without an equivalent keep ctags' name.
std::string symbol_kind(std::string_view kind, std::string_view scope_kind,
                        std::string_view language);

// The symbol for a tag: its kind mapped, fqn = scope + separator + name,
// end line ctags' end, else the start line (until the runner derives the
// end from the source).
IndexedSymbol to_symbol(const CtagsTag& tag, std::string_view language);

}  // namespace lomarind::repository_changes
