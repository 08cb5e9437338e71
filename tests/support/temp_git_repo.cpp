#include "support/temp_git_repo.h"

#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "lomarind/process/subprocess.h"

namespace lomarind::testing {
namespace {

bool sets_same_variable(const std::string& a, const std::string& b) {
  return a.substr(0, a.find('=')) == b.substr(0, b.find('='));
}

std::vector<std::string> child_environment(const std::vector<std::string>& extra) {
  std::vector<std::string> env;
  for (std::string& entry : subprocess::inherited_environment()) {
    auto replaced = [&](const std::string& e) { return sets_same_variable(e, entry); };
    if (!entry.starts_with("GIT_") && std::none_of(extra.begin(), extra.end(), replaced)) {
      env.push_back(std::move(entry));
    }
  }
  env.insert(env.end(), extra.begin(), extra.end());
  return env;
}

}  // namespace

CommandResult run_command(const std::vector<std::string>& argv, const std::filesystem::path& cwd,
                          const std::vector<std::string>& extra_env) {
  subprocess::Command command;
  command.argv = argv;
  command.environment = child_environment(extra_env);
  command.working_directory = cwd;
  subprocess::Result r = subprocess::run(command);
  return {r.exit_status, std::move(r.out), std::move(r.err)};
}

std::string read_file(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "lomarind-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = std::filesystem::canonical(pattern);
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                               std::filesystem::perm_options::add, ignored);
  std::filesystem::remove_all(path_, ignored);
}

TempGitRepo::TempGitRepo() : dir_(std::make_unique<TempDir>()), root_(dir_->path()) {
  git({"init", "-q", "-b", "main"});
}

TempGitRepo::TempGitRepo(std::filesystem::path existing_root) : root_(std::move(existing_root)) {}

void TempGitRepo::write(const std::string& path, const std::string& content) const {
  std::filesystem::path full = root_ / path;
  std::filesystem::create_directories(full.parent_path());
  std::ofstream(full, std::ios::binary | std::ios::trunc) << content;
}

void TempGitRepo::remove(const std::string& path) const { std::filesystem::remove(root_ / path); }

CommandResult TempGitRepo::run_git(const std::vector<std::string>& args,
                                   std::int64_t timestamp) const {
  std::vector<std::string> argv = {"git", "-c", "commit.gpgsign=false", "-c",
                                   "core.autocrlf=false"};
  argv.insert(argv.end(), args.begin(), args.end());
  const std::string date = "@" + std::to_string(timestamp) + " +0000";
  CommandResult r =
      run_command(argv, root_,
                  {"GIT_CONFIG_NOSYSTEM=1", "GIT_CONFIG_GLOBAL=/dev/null", "GIT_AUTHOR_NAME=Test",
                   "GIT_COMMITTER_NAME=Test", "GIT_AUTHOR_EMAIL=test@example.com",
                   "GIT_COMMITTER_EMAIL=test@example.com", "GIT_AUTHOR_DATE=" + date,
                   "GIT_COMMITTER_DATE=" + date, "LC_ALL=C"});
  if (r.status != 0) {
    throw std::runtime_error("git " + (args.empty() ? std::string() : args[0]) +
                             " failed: " + r.err);
  }
  return r;
}

std::string TempGitRepo::git(const std::vector<std::string>& args) const {
  return run_git(args, 1700000000).out;
}

std::string TempGitRepo::commit(const std::string& message, std::int64_t timestamp) const {
  git({"add", "-A"});
  run_git({"commit", "-q", "--allow-empty", "-m", message}, timestamp);
  return rev("HEAD");
}

std::string TempGitRepo::rev(const std::string& name) const {
  std::string sha = git({"rev-parse", name});
  return sha.substr(0, sha.find('\n'));
}

}  // namespace lomarind::testing
