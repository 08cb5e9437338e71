#include "lomarind/storage/index_sources.h"

#include <sys/stat.h>

#include <algorithm>
#include <initializer_list>
#include <system_error>

#include "lomarind/utils/utf8.h"

namespace lomarind::repository_changes {
namespace {

std::vector<std::string> split_nul(std::string_view text) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const std::size_t nul = text.find('\0');
    parts.emplace_back(text.substr(0, nul));
    if (nul == std::string_view::npos) break;
    text.remove_prefix(nul + 1);
  }
  return parts;
}

// Options that keep repository settings (diff.relative, diff.external,
// diff.renames) from changing which names a diff lists.
constexpr const char* kNameDiff[] = {
    "diff", "--name-only", "-z", "--no-renames", "--no-relative", "--no-ext-diff", "--no-textconv"};

std::vector<std::string> name_diff(std::initializer_list<std::string> revisions) {
  std::vector<std::string> args(std::begin(kNameDiff), std::end(kNameDiff));
  args.push_back("--end-of-options");
  args.insert(args.end(), revisions);
  args.push_back("--");
  return args;
}

// Filter drivers (clean, smudge, process) set in the repository's config
// run whenever git hashes a work-tree file, so a work-tree diff runs with
// every configured driver switched off. Returns nullopt for a driver whose
// name cannot be written as a -c option (it holds '=').
std::optional<std::vector<std::string>> filters_off(const git_utils::GitRunner& git,
                                                    const std::filesystem::path& repo_root) {
  const git_utils::GitResult result =
      git.run(repo_root, {"config", "-z", "--name-only", "--get-regexp", "^filter\\."});
  std::vector<std::string> options;
  if (result.exit_status != 0) return options;  // no driver configured
  std::vector<std::string> drivers;
  for (const std::string& key : split_nul(result.out)) {
    const std::size_t last_dot = key.rfind('.');
    if (last_dot <= 7) continue;  // "filter.x" without a variable
    std::string driver = key.substr(7, last_dot - 7);
    if (driver.find('=') != std::string::npos) return std::nullopt;
    if (std::find(drivers.begin(), drivers.end(), driver) == drivers.end()) {
      drivers.push_back(std::move(driver));
    }
  }
  for (const std::string& driver : drivers) {
    for (const char* variable : {"clean=", "smudge=", "process=", "required=false"}) {
      options.push_back("-c");
      options.push_back("filter." + driver + "." + variable);
    }
  }
  return options;
}

}  // namespace

std::vector<std::string> tracked_files(const git_utils::GitRunner& git,
                                       const std::filesystem::path& repo_root) {
  std::vector<std::string> paths = split_nul(git.run_checked(repo_root, {"ls-files", "-z"}));
  // An unmerged file is listed once per stage, next to each other.
  paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
  return paths;
}

std::optional<std::string> head_commit(const git_utils::GitRunner& git,
                                       const std::filesystem::path& repo_root) {
  const git_utils::GitResult result =
      git.run(repo_root, {"rev-parse", "--verify", "--quiet", "HEAD^{commit}"});
  if (result.exit_status != 0) return std::nullopt;
  const std::size_t end = result.out.find_last_not_of("\r\n");
  if (end == std::string::npos) return std::nullopt;
  return result.out.substr(0, end + 1);
}

std::optional<std::vector<std::string>> changed_between(const git_utils::GitRunner& git,
                                                        const std::filesystem::path& repo_root,
                                                        const std::string& from,
                                                        const std::string& to) {
  const git_utils::GitResult result = git.run(repo_root, name_diff({from, to}));
  if (result.exit_status != 0) return std::nullopt;
  return split_nul(result.out);
}

std::vector<std::string> work_tree_changes(const git_utils::GitRunner& git,
                                           const std::filesystem::path& repo_root) {
  std::optional<std::vector<std::string>> args = filters_off(git, repo_root);
  // A driver that cannot be switched off must not run: read every file instead.
  if (!args) return tracked_files(git, repo_root);
  const std::vector<std::string> diff = name_diff({"HEAD"});
  args->insert(args->end(), diff.begin(), diff.end());
  return split_nul(git.run_checked(repo_root, *args));
}

ReadableFiles::ReadableFiles(const std::filesystem::path& repo_root) : root_(repo_root) {
  std::error_code error;
  real_root_ = std::filesystem::canonical(repo_root, error).string();
}

bool ReadableFiles::readable(const std::string& path) {
  // ctags takes one name per line and trims the line's trailing blanks.
  if (path.empty() || path.find_first_of("\n\r") != std::string::npos || path.back() == ' ' ||
      path.back() == '\t' || !utf8::is_utf8(path)) {
    return false;
  }
  struct stat st;
  if (::lstat((root_ / path).c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos || directory_inside(std::string_view(path).substr(0, slash));
}

bool ReadableFiles::directory_inside(std::string_view directory) {
  const auto [it, added] = directories_.try_emplace(std::string(directory), false);
  if (added) {
    std::error_code error;
    const std::string real = std::filesystem::canonical(root_ / directory, error).string();
    it->second = !error && !real_root_.empty() && real.starts_with(real_root_ + "/");
  }
  return it->second;
}

}  // namespace lomarind::repository_changes
