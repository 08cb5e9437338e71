#include "lomarind/git/git_inputs.h"

#include <chrono>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>

#include "lomarind/git/config_walk.h"
#include "lomarind/utils/git_utils.h"
#include "lomarind/utils/text.h"

namespace lomarind::git_utils {
namespace {

namespace fs = std::filesystem;

// The first line of `file`, refused unless it is regular or missing:
// reading a named pipe would make us wait as git would.
std::string first_line(const fs::path& file, const std::string& role) {
  refuse_unless_regular(file, role);
  std::error_code error;
  std::string line;
  if (fs::is_regular_file(file, error)) std::getline(std::ifstream(file), line);
  return line;
}

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
      git_dir = dir / text::trim(std::string_view(line).substr(8));
    }
    if (!git_dir.empty()) {
      const std::string common = first_line(git_dir / "commondir", "the common dir file");
      const fs::path common_dir = common.empty() ? git_dir : git_dir / text::trim(common);
      return GitDirs{dir, git_dir, common_dir};
    }
    if (dir == dir.parent_path()) break;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string_view> environment_variable(const std::vector<std::string>& environment,
                                                     std::string_view name) {
  for (const std::string& entry : environment) {
    if (entry.size() > name.size() && entry.starts_with(name) && entry[name.size()] == '=') {
      return std::string_view(entry).substr(name.size() + 1);
    }
  }
  return std::nullopt;
}

void refuse_blocking_inputs(const fs::path& repo_root,
                            const std::vector<std::string>& environment) {
  const auto dirs = git_dirs(repo_root);
  if (!dirs) return;
  const auto& [work_tree, git_dir, common_dir] = *dirs;
  const std::string home = std::string(environment_variable(environment, "HOME").value_or(""));
  ConfigWalk config(ConfigWalk::Scope::kRepository, home, work_tree);
  const std::string xdg =
      std::string(environment_variable(environment, "XDG_CONFIG_HOME").value_or(""));
  const fs::path user_git =
      xdg.empty() ? fs::path(home) / ".config" / "git" : fs::path(xdg) / "git";
  if (!home.empty()) config.visit(fs::path(home) / ".gitconfig", "the user's config");
  config.visit(user_git / "config", "the user's config");
  config.visit(common_dir / "config", "the repository's config");
  config.visit(git_dir / "config.worktree", "the work tree's config");
  refuse_unless_regular(config.attributes_file().value_or(user_git / "attributes"),
                        "the attributes file");
  refuse_unless_regular(common_dir / "info" / "attributes", "the attributes file");
  refuse_unless_regular(work_tree / ".gitattributes", "the attributes file");
}

std::vector<std::string> system_safe_directories(const fs::path& file,
                                                 const std::vector<std::string>& environment) {
  ConfigWalk config(ConfigWalk::Scope::kProtected,
                    std::string(environment_variable(environment, "HOME").value_or("")),
                    fs::path());
  config.visit(file, "the system config");
  return config.safe_directories();
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
      refuse_unless_regular(it->path(), "the attributes file");
    }
  }
}

}  // namespace lomarind::git_utils
