// The files git opens on its own while it reads a repository: its config
// (and every file an include names) and its attributes. git blocks forever
// on a named pipe or a device there, so a hostile repository could hang us;
// such a file is refused before git starts.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lomarind::git_utils {

// The value of `name` in `environment` ("NAME=value" entries).
std::optional<std::string_view> environment_variable(const std::vector<std::string>& environment,
                                                     std::string_view name);

// Throws GitError naming the first file, among those git would read for a
// command in `repo_root`, that exists but is no regular file: the work
// tree's .gitattributes, info/attributes, core.attributesFile, the
// repository's and the user's config files and what their include.path and
// includeIf.*.path name (every includeIf, whatever its condition), the
// config read as git reads it (git_config_text.h). `environment`
// ("NAME=value") gives HOME and
// XDG_CONFIG_HOME as git sees them. Outside a repository it checks nothing.
void refuse_blocking_inputs(const std::filesystem::path& repo_root,
                            const std::vector<std::string>& environment);

// The safe.directory entries of the system config at `file` (normally
// /etc/gitconfig) and of the files its include.path entries name, read as
// git reads them: those after the last entry that empties the list. The
// file and what it includes are refused as above; a missing file has none.
// `environment` gives HOME for "~/".
std::vector<std::string> system_safe_directories(const std::filesystem::path& file,
                                                 const std::vector<std::string>& environment);

// Throws GitError naming the first .gitattributes in any folder of the work
// tree of `repo_root` that is no regular file. git reads the one of each
// folder whose files it diffs; the walk costs too much to run before every
// command, so it is for a command that has gone quiet, and it gives up
// quietly after `budget` (a work tree may be a whole home folder).
void refuse_blocking_attributes_in_work_tree(const std::filesystem::path& repo_root,
                                             std::chrono::milliseconds budget);

}  // namespace lomarind::git_utils
