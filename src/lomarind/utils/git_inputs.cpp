#include "lomarind/utils/git_inputs.h"

#include <pwd.h>
#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>

#include "lomarind/utils/git_config_text.h"
#include "lomarind/utils/git_utils.h"

namespace lomarind::git_utils {
namespace {

namespace fs = std::filesystem;

// git's own limit on nested includes.
constexpr int kMaxIncludeDepth = 10;

std::optional<std::string> variable(const std::vector<std::string>& environment,
                                    std::string_view name) {
  for (const std::string& entry : environment) {
    if (entry.size() > name.size() && entry.starts_with(name) && entry[name.size()] == '=') {
      return entry.substr(name.size() + 1);
    }
  }
  return std::nullopt;
}

std::string_view trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// Which of git's inputs a path is, for the message.
struct Input {
  fs::path path;
  std::string role;
};

bool is_dev_null(const fs::path& path) {
  struct stat file, null;
  return ::stat(path.c_str(), &file) == 0 && ::stat("/dev/null", &null) == 0 &&
         S_ISCHR(file.st_mode) && file.st_rdev == null.st_rdev;
}

// Regular files and missing ones are fine, and /dev/null, which people
// name to switch a file off; git may block on anything else that it opens
// for reading (a FIFO, a device, a socket).
void check(const Input& input) {
  std::error_code error;
  const fs::file_status status = fs::status(input.path, error);
  if (error || status.type() == fs::file_type::not_found ||
      status.type() == fs::file_type::regular || status.type() == fs::file_type::directory ||
      is_dev_null(input.path)) {
    return;
  }
  throw GitError("refusing to run git: " + input.role + " " + input.path.string() +
                 " is not a regular file (a named pipe or device would make git wait forever); "
                 "remove it or replace it with a regular file");
}

// The first line of `file`, refused (as above) unless it is regular or
// missing: reading a named pipe would make us wait as git would.
std::string first_line(const fs::path& file, const std::string& role) {
  check({file, role});
  std::error_code error;
  std::string line;
  if (fs::is_regular_file(file, error)) std::getline(std::ifstream(file), line);
  return line;
}

// The whole of a regular file; empty when it cannot be read.
std::string file_text(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

bool is_include(const ConfigEntry& entry) {
  return entry.key == "path" && entry.value &&
         ((entry.section == "include" && entry.subsection.empty()) ||
          (entry.section == "includeif" && !entry.subsection.empty()));
}

class ConfigWalk {
 public:
  ConfigWalk(const std::vector<std::string>& environment, fs::path work_tree)
      : home_(variable(environment, "HOME").value_or("")), work_tree_(std::move(work_tree)) {}

  // Checks `file` and, when it is regular, what it includes. Every
  // includeIf counts, whether or not its condition holds.
  void visit(const fs::path& file, const std::string& role, int depth) {
    check({file, role});
    std::error_code error;
    if (depth > kMaxIncludeDepth || !fs::is_regular_file(file, error)) return;
    for (const ConfigEntry& entry : parse_git_config(file_text(file))) {
      if (is_include(entry)) {
        // A relative include is relative to the file that names it.
        visit(file.parent_path() / expand(*entry.value),
              "the config file included by " + file.string(), depth + 1);
      } else if (entry.section == "core" && entry.subsection.empty() &&
                 entry.key == "attributesfile" && entry.value) {
        // git reads it from the top of the work tree, where it runs.
        attributes_file_ = work_tree_ / expand(*entry.value);
      }
    }
  }

  const std::optional<fs::path>& attributes_file() const { return attributes_file_; }
  const std::string& home() const { return home_; }

 private:
  // "~/..." is in our home folder and "~name/..." in that user's, as git
  // reads them (an absolute result replaces what it is appended to).
  fs::path expand(std::string_view value) const {
    if (!value.starts_with('~')) return fs::path(value);
    const std::size_t slash = value.find('/');
    const std::string_view user = value.substr(1, slash - 1);
    const std::string_view rest = slash == std::string_view::npos ? "" : value.substr(slash + 1);
    return (user.empty() ? fs::path(home_) : home_of(std::string(user))) / rest;
  }

  // The home folder of `user`; a name without one expands to nothing git
  // could open, so a missing file stands in for it.
  static fs::path home_of(const std::string& user) {
    struct passwd entry, *found = nullptr;
    std::string buffer(16384, '\0');
    if (::getpwnam_r(user.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr) {
      return "/nonexistent";
    }
    return entry.pw_dir;
  }

  std::string home_;
  fs::path work_tree_;
  std::optional<fs::path> attributes_file_;
};

struct GitDirs {
  fs::path work_tree;
  fs::path git_dir;
  fs::path common_dir;
};

// The folders of the repository holding `start`, found as git finds them:
// the nearest .git, a folder or a "gitdir:" file.
std::optional<GitDirs> git_dirs(const fs::path& start) {
  std::error_code error;
  for (fs::path dir = fs::absolute(start, error); !error; dir = dir.parent_path()) {
    const fs::path dot_git = dir / ".git";
    fs::path git_dir;
    if (fs::is_directory(dot_git, error)) {
      git_dir = dot_git;
    } else if (fs::exists(dot_git, error)) {
      const std::string line = first_line(dot_git, "the .git file");
      if (!line.starts_with("gitdir: ")) return std::nullopt;
      git_dir = dir / trim(std::string_view(line).substr(8));
    }
    if (!git_dir.empty()) {
      const std::string common = first_line(git_dir / "commondir", "the common dir file");
      const fs::path common_dir = common.empty() ? git_dir : git_dir / trim(common);
      return GitDirs{dir, git_dir, common_dir};
    }
    if (dir == dir.parent_path()) break;
  }
  return std::nullopt;
}

}  // namespace

void refuse_blocking_inputs(const fs::path& repo_root,
                            const std::vector<std::string>& environment) {
  const auto dirs = git_dirs(repo_root);
  if (!dirs) return;
  const auto& [work_tree, git_dir, common_dir] = *dirs;
  ConfigWalk config(environment, work_tree);
  const std::string xdg = variable(environment, "XDG_CONFIG_HOME").value_or("");
  const fs::path user_git =
      xdg.empty() ? fs::path(config.home()) / ".config" / "git" : fs::path(xdg) / "git";
  if (!config.home().empty())
    config.visit(fs::path(config.home()) / ".gitconfig", "the user's config", 0);
  config.visit(user_git / "config", "the user's config", 0);
  config.visit(common_dir / "config", "the repository's config", 0);
  config.visit(git_dir / "config.worktree", "the work tree's config", 0);
  check({config.attributes_file().value_or(user_git / "attributes"), "the attributes file"});
  check({common_dir / "info" / "attributes", "the attributes file"});
  check({work_tree / ".gitattributes", "the attributes file"});
}

void refuse_blocking_attributes_in_work_tree(const fs::path& repo_root,
                                             std::chrono::milliseconds budget) {
  const auto dirs = git_dirs(repo_root);
  if (!dirs) return;
  const auto deadline = std::chrono::steady_clock::now() + budget;
  std::size_t seen = 0;
  std::error_code error;
  // Symbolic links are not followed, into folders or, as git does for the
  // work tree's own files, to an attributes file.
  for (fs::recursive_directory_iterator it(dirs->work_tree,
                                           fs::directory_options::skip_permission_denied, error);
       !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
    if (++seen % 1024 == 0 && std::chrono::steady_clock::now() > deadline) return;
    const fs::path name = it->path().filename();
    if (name == ".git") {
      it.disable_recursion_pending();
    } else if (name == ".gitattributes" && !it->is_symlink(error)) {
      check({it->path(), "the attributes file"});
    }
  }
}

}  // namespace lomarind::git_utils
