// What shapes the diff git shows for a commit besides the commit itself:
// configuration, replace refs, grafts, shallow boundaries and the `diff`
// attribute of each path. A store of per-commit changes keys its entries
// by these so that it never serves a diff git would now show differently.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "lomarind/git/git_runner.h"

namespace lomarind::git_utils {

struct DiffSettings {
  std::filesystem::path common_dir;  // the repository's git common dir, absolute
  // Everything repository-wide that can change a commit's diff: git's
  // version, the diff and attribute settings, the replace refs and the
  // grafts. Equal text,
  // equal diffs (given equal attributes per path).
  std::string repository_state;
  // `git version`'s answer: hosts running different gits keep apart what
  // each read.
  std::string git_version;
  // Commits whose parents the repository does not have: their diff changes
  // when a fetch deepens the history.
  std::set<std::string> shallow;
  // False when something that shapes diffs cannot be checked cheaply (replace
  // refs kept elsewhere, a grafts or shallow file that is no regular file).
  bool checkable = true;
};

// Reads the settings of the repository at `repo_root` with four small git
// commands at once and two small files. Throws GitError when git fails.
DiffSettings read_diff_settings(const GitRunner& git, const std::filesystem::path& repo_root);

// The `diff` attribute of each path as git sees it now ("set", "unset",
// "unspecified" or a driver name), in the order of `paths`: what decides,
// with the settings above, whether git counts a file's lines or calls it
// binary. One git command for all paths.
std::vector<std::string> diff_attributes(const GitRunner& git,
                                         const std::filesystem::path& repo_root,
                                         const std::vector<std::string>& paths);

}  // namespace lomarind::git_utils
