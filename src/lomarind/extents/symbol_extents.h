// The extent of a symbol whose end ctags does not give (JavaScript,
// TypeScript, Rust, Kotlin, Lua, PHP...): derived from the file's text as
// its language delimits blocks, by braces, `end` keywords or indentation,
// with strings and comments skipped. A declaration runs through the first
// body that opens on or after its line; one without a body ends at its
// own line or at its `;`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lomarind::repository_changes {

// Larger files keep one-line symbols: their extents are not worth the
// memory, and ctags' largest inputs are generated code.
constexpr std::size_t kMaxSourceBytes = std::size_t{16} << 20;

// Whether end lines are derived for files of this language (the index's
// language names: "rust", "javascript").
bool derives_end_lines(std::string_view language);

// The last line (1-based, as the start lines) of the declaration starting
// on each of `start_lines` in `text`. A start line the text does not have,
// a language ends are not derived for, or a text over kMaxSourceBytes
// keeps its start line. Never throws but for memory; linear in the text's
// size whatever its bytes.
std::vector<std::int64_t> derive_end_lines(std::string_view text, std::string_view language,
                                           std::span<const std::int64_t> start_lines);

// The content of `path` (relative to `repo_root`) when it is a regular
// file, not a symbolic link, of at most kMaxSourceBytes; nullopt when it
// is anything else or cannot be read. Opening it never blocks (a FIFO
// put in its place is refused).
// REQUIRES: no directory on its way is a link out of the repository
// (ReadableFiles has accepted it).
std::optional<std::string> read_source_file(const std::filesystem::path& repo_root,
                                            const std::string& path);

}  // namespace lomarind::repository_changes
