#include "lomarind/utils/git_inputs.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>

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

std::string lower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
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

class ConfigWalk {
 public:
  explicit ConfigWalk(const std::vector<std::string>& environment)
      : home_(variable(environment, "HOME").value_or("")) {}

  // Checks `file` and, when it is regular, what it includes.
  void visit(const fs::path& file, const std::string& role, int depth) {
    check({file, role});
    std::ifstream in(file);
    if (!in || depth > kMaxIncludeDepth) return;
    std::string section;
    for (std::string line; std::getline(in, line);) {
      std::string_view text = trim(line);
      if (text.starts_with('[')) {
        section = lower(text.substr(1, text.find_first_of(" \t\"]") - 1));
        continue;
      }
      const std::size_t equals = text.find('=');
      if (equals == std::string_view::npos) continue;
      const std::string key = lower(trim(text.substr(0, equals)));
      const fs::path value = expand(trim(text.substr(equals + 1)), file);
      if ((section == "include" || section == "includeif") && key == "path") {
        visit(value, "the config file included by " + file.string(), depth + 1);
      } else if (section == "core" && key == "attributesfile") {
        attributes_file_ = value;
      }
    }
  }

  const std::optional<fs::path>& attributes_file() const { return attributes_file_; }
  const std::string& home() const { return home_; }

 private:
  // A quoted value loses its quotes; "~/" is the home folder; a relative
  // include is relative to the file that names it.
  fs::path expand(std::string_view value, const fs::path& file) const {
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
      value = value.substr(1, value.size() - 2);
    }
    if (value.starts_with("~/")) return fs::path(home_) / value.substr(2);
    const fs::path path(value);
    return path.is_absolute() ? path : file.parent_path() / path;
  }

  std::string home_;
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
  ConfigWalk config(environment);
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
