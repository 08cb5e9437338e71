// Writing a file that is never seen half written.
#pragma once

#include <filesystem>
#include <string_view>

#include "lomarind/utils/file_env.h"

namespace lomarind::cli {

// Writes `content` to `path` through a new temporary file in the same
// folder, flushed to disk and then renamed over `path`: an existing file is
// replaced whole (keeping its permissions), and a run that stops before the
// rename leaves `path` as it was. Ctrl-C and the like wait until the
// temporary file is gone. Throws std::runtime_error, saying what to
// pass instead, for a folder, a symbolic link or a place that cannot be
// written; nothing is left behind then.
void write_whole_file(const std::filesystem::path& path, std::string_view content,
                      const FileEnv& env = posix_file_env());

}  // namespace lomarind::cli
