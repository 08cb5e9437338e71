// Following a git config file and the files it includes, as git reads them,
// refusing before anything is read a file that would make git (or us) wait
// forever: a named pipe, a device, a socket. Internal to utils.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace lomarind::git_utils {

// Throws GitError ("refusing to run git: <role> <path> is not a regular
// file ...") when `path` exists and is neither a regular file, a folder nor
// /dev/null, which people name to switch a file off.
void refuse_unless_regular(const std::filesystem::path& path, const std::string& role);

class ConfigWalk {
 public:
  enum class Scope {
    // The user's and the repository's files: every includeIf counts,
    // whatever its condition; core.attributesFile is noted.
    kRepository,
    // The system's file, read before git knows of any repository: no
    // includeIf condition holds there; safe.directory is noted.
    kProtected,
  };

  // `home` expands "~/"; `work_tree` is where git reads a relative
  // core.attributesFile from.
  ConfigWalk(Scope scope, std::string home, std::filesystem::path work_tree);

  // Refuses `file` (naming it as `role`) or, when it is a regular file,
  // reads it and, in turn, what it includes. Throws GitError.
  void visit(const std::filesystem::path& file, const std::string& role) { visit(file, role, 0); }

  // The last core.attributesFile seen.
  const std::optional<std::filesystem::path>& attributes_file() const { return attributes_file_; }
  // The safe.directory values seen since the last one that empties the
  // list (an empty value, or none), in order.
  const std::vector<std::string>& safe_directories() const { return safe_directories_; }

 private:
  void visit(const std::filesystem::path& file, const std::string& role, int depth);
  std::filesystem::path expand(std::string_view value) const;

  const Scope scope_;
  const std::string home_;
  const std::filesystem::path work_tree_;
  std::optional<std::filesystem::path> attributes_file_;
  std::vector<std::string> safe_directories_;
};

}  // namespace lomarind::git_utils
