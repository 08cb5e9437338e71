#include "support/fake_git_reader.h"

#include <stdexcept>

namespace lomarind::testing {
namespace {

std::string epoch(std::chrono::sys_seconds time) {
  return std::to_string(time.time_since_epoch().count());
}

std::string joined(const std::vector<std::string>& items) {
  std::string out;
  for (const std::string& item : items) out += (out.empty() ? "" : ", ") + item;
  return "[" + out + "]";
}

}  // namespace

git_utils::FileChange change(std::string path, std::string status, std::int64_t additions,
                             std::int64_t deletions, std::optional<std::string> old_path) {
  return {std::move(path), std::move(status), additions, deletions, std::move(old_path)};
}

void FakeGitReader::record(const std::filesystem::path& repo_root, const std::string& op,
                           const std::string& args) const {
  if (repo_root != root) throw std::logic_error(op + " got root " + repo_root.string());
  calls.push_back(op + "(" + args + ")");
  if (op == fail_on) throw git_utils::GitError(fail_text, {"git", op}, 128);
}

std::optional<std::string> FakeGitReader::resolve_commit(const std::filesystem::path& repo_root,
                                                         const std::string& name) const {
  record(repo_root, "resolve_commit", name);
  const auto found = commits.find(name);
  if (found == commits.end()) return std::nullopt;
  return found->second;
}

std::optional<std::string> FakeGitReader::resolve_display_branch(
    const std::filesystem::path& repo_root) const {
  record(repo_root, "resolve_display_branch", "");
  return display_branch;
}

std::string FakeGitReader::get_default_branch(const std::filesystem::path& repo_root) const {
  record(repo_root, "get_default_branch", "");
  return default_branch;
}

std::chrono::sys_seconds FakeGitReader::parse_time_spec(const std::string& since) const {
  record(root, "parse_time_spec", since);
  const auto found = periods.find(since);
  if (found == periods.end()) throw std::invalid_argument("Cannot read the period '" + since + "'");
  return found->second;
}

std::vector<git_utils::FileChange> FakeGitReader::diff_file_changes(
    const std::filesystem::path& repo_root, const std::string& base_commit,
    const std::string& head_commit) const {
  record(repo_root, "diff_file_changes", base_commit + ", " + head_commit);
  return diff_files;
}

std::int64_t FakeGitReader::count_commits(const std::filesystem::path& repo_root,
                                          const std::string& base_commit,
                                          const std::string& head_commit) const {
  record(repo_root, "count_commits", base_commit + ", " + head_commit);
  return commit_count;
}

std::vector<git_utils::CommitChanges> FakeGitReader::log_commit_changes(
    const std::filesystem::path& repo_root, std::chrono::sys_seconds since, const std::string& ref,
    int max_commits) const {
  record(repo_root, "log_commit_changes",
         "since=" + epoch(since) + ", ref=" + ref + ", max_commits=" + std::to_string(max_commits));
  return log;
}

std::optional<std::string> FakeGitReader::commit_before(const std::filesystem::path& repo_root,
                                                        const std::string& tip,
                                                        std::chrono::sys_seconds start) const {
  record(repo_root, "commit_before", tip + ", " + epoch(start));
  return before;
}

git_utils::LineSpansByPath FakeGitReader::diff_line_spans(
    const std::filesystem::path& repo_root, const std::string& base_commit,
    const std::string& head_commit, bool merge_base, const std::vector<std::string>& paths) const {
  record(repo_root, "diff_line_spans",
         base_commit + ", " + head_commit + ", merge_base=" + (merge_base ? "true" : "false") +
             ", paths=" + joined(paths));
  return line_spans;
}

}  // namespace lomarind::testing
