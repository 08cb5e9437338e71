// Languages by file extension, and which of them count as source code.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace lomarind::language_filter {

// The languages whose files are source code.
inline constexpr std::array<std::string_view, 30> SOURCE_LANGUAGES = {
    "c",      "cpp",     "csharp",  "go",      "java",    "javascript", "typescript", "kotlin",
    "scala",  "swift",   "ruby",    "php",     "python",  "rust",       "objective-c", "shell",
    "lua",    "perl",    "r",       "dart",    "elixir",  "erlang",     "haskell",    "ocaml",
    "clojure", "zig",    "julia",   "fortran", "vue",     "svelte"};

bool in_source_languages(std::string_view language);

// The extension of the path's file name: what follows its last dot, when
// that dot is not the name's first character.
std::optional<std::string_view> extension_of(std::string_view path);

// The language of a path by its extension (case-sensitive), if known.
std::optional<std::string_view> language_of(std::string_view path);

// Whether the path's extension belongs to a source language.
bool is_source_extension(std::string_view path);

}  // namespace lomarind::language_filter
