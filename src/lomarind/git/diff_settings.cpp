#include "lomarind/git/diff_settings.h"

#include <fstream>
#include <future>
#include <sstream>
#include <string_view>
#include <system_error>

#include "lomarind/process/blocked_signals.h"
#include "lomarind/utils/git_utils.h"

namespace lomarind::git_utils {
namespace {

// Settings that change how a commit's diff is computed or counted: diff.*
// (a driver's `binary`), the size above which a file counts as binary, the
// attribute sources, and whether and where replace refs apply.
constexpr std::string_view kDiffConfig =
    "^(diff\\.|attr\\.|replace\\.|core\\.(bigfilethreshold|attributesfile|usereplacerefs)$)";

// The file's bytes; empty when it does not exist. Sets `regular` to false
// for anything but a regular file, which is not read (a FIFO would block).
std::string small_file(const std::filesystem::path& path, bool& regular) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::not_found) return {};
  if (error || status.type() != std::filesystem::file_type::regular) {
    regular = false;
    return {};
  }
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in && !in.eof()) regular = false;
  return text.str();
}

std::set<std::string> shallow_commits(std::string_view text) {
  std::set<std::string> commits;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (!line.empty()) commits.emplace(line);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return commits;
}

// git config exits 1 when no setting matches.
std::string diff_config(const GitRunner& git, const std::filesystem::path& repo_root) {
  std::vector<std::string> args = {"config", "-z", "--get-regexp", std::string(kDiffConfig)};
  GitResult result = git.run(repo_root, args);
  if (result.exit_status == 1) return {};
  if (result.exit_status != 0) throw git.failure(repo_root, args, result);
  return std::move(result.out);
}

}  // namespace

DiffSettings read_diff_settings(const GitRunner& git, const std::filesystem::path& repo_root) {
  // Small commands at once: each costs more in start-up than in work. A
  // new git may detect renames or count lines differently.
  std::future<std::string> version =
      start_thread([&git, &repo_root] { return git.run_checked(repo_root, {"version"}); });
  std::future<std::string> config =
      start_thread([&git, &repo_root] { return diff_config(git, repo_root); });
  std::future<std::string> replace_refs = start_thread([&git, &repo_root] {
    return git.run_checked(repo_root,
                           {"for-each-ref", "--format=%(refname) %(objectname)", "refs/replace/"});
  });
  DiffSettings settings;
  settings.common_dir = git_common_dir(git, repo_root);
  const std::string config_text = config.get();
  // Replace refs under another base than refs/replace/ are not listed here.
  if (config_text.find("replace.refbase\n") != std::string::npos) settings.checkable = false;
  const std::string replace_text = replace_refs.get();
  const std::string version_text = version.get();
  settings.git_version = version_text;
  const std::string grafts =
      small_file(settings.common_dir / "info" / "grafts", settings.checkable);
  settings.shallow =
      shallow_commits(small_file(settings.common_dir / "shallow", settings.checkable));
  for (std::string_view part : {std::string_view(version_text), std::string_view(config_text),
                                std::string_view(replace_text), std::string_view(grafts)}) {
    settings.repository_state += std::to_string(part.size());
    settings.repository_state += ':';
    settings.repository_state += part;
  }
  return settings;
}

std::vector<std::string> diff_attributes(const GitRunner& git,
                                         const std::filesystem::path& repo_root,
                                         const std::vector<std::string>& paths) {
  if (paths.empty()) return {};
  std::string input;
  for (const std::string& path : paths) {
    input += path;
    input += '\0';
  }
  const std::string out =
      git.run_checked(repo_root, {"check-attr", "-z", "--stdin", "diff"}, nullptr, input);
  // Each path gives three records: the path, "diff", the value.
  std::vector<std::string> values;
  values.reserve(paths.size());
  std::string_view rest(out);
  for (std::size_t field = 0; !rest.empty(); ++field) {
    const std::size_t end = rest.find('\0');
    if (end == std::string_view::npos) break;
    if (field % 3 == 2) values.emplace_back(rest.substr(0, end));
    rest.remove_prefix(end + 1);
  }
  if (values.size() != paths.size()) {
    throw GitError("unexpected git output: " + std::to_string(values.size()) + " attributes for " +
                   std::to_string(paths.size()) + " paths");
  }
  return values;
}

}  // namespace lomarind::git_utils
