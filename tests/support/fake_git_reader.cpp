#include "support/fake_git_reader.h"

#include <stdexcept>

namespace lomarind::testing {
namespace {

std::string epoch(std::chrono::sys_seconds time) {
  return std::to_string(time.time_since_epoch().count());
}

}  // namespace

git_utils::FileChange change(std::string path, std::string status, std::int64_t additions,
                             std::int64_t deletions, std::optional<std::string> old_path) {
  return {std::move(path), std::move(status), additions, deletions, std::move(old_path)};
}

void FakeGitReader::record(const std::string& op, const std::string& args) const {
  calls.push_back(op + "(" + args + ")");
  if (op == fail_on) throw git_utils::GitError("fatal: bad object", {"git", op}, 128);
}

std::optional<std::string> FakeGitReader::resolve_commit(const Path&,
                                                         const std::string& name) const {
  record("resolve_commit", name);
  const auto found = commits.find(name);
  return found == commits.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> FakeGitReader::resolve_display_branch(const Path&) const {
  record("resolve_display_branch", "");
  return display_branch;
}

std::string FakeGitReader::get_default_branch(const Path&) const {
  record("get_default_branch", "");
  return default_branch;
}

FakeGitReader::Time FakeGitReader::parse_time_spec(const std::string& since) const {
  record("parse_time_spec", since);
  const auto found = periods.find(since);
  if (found == periods.end()) throw std::invalid_argument("Cannot read the period '" + since + "'");
  return found->second;
}

std::vector<git_utils::FileChange> FakeGitReader::diff_file_changes(const Path&,
                                                                    const std::string& base,
                                                                    const std::string& head) const {
  record("diff_file_changes", base + ", " + head);
  return diff_files;
}

std::int64_t FakeGitReader::count_commits(const Path&, const std::string& base,
                                          const std::string& head) const {
  record("count_commits", base + ", " + head);
  return commit_count;
}

std::vector<git_utils::CommitChanges> FakeGitReader::log_commit_changes(const Path&, Time since,
                                                                        const std::string& ref,
                                                                        int max_commits) const {
  record("log_commit_changes",
         "since=" + epoch(since) + ", ref=" + ref + ", max_commits=" + std::to_string(max_commits));
  return log;
}

std::optional<std::string> FakeGitReader::commit_before(const Path&, const std::string& tip,
                                                        Time start) const {
  record("commit_before", tip + ", " + epoch(start));
  return before;
}

git_utils::LineSpansByPath FakeGitReader::diff_line_spans(
    const Path&, const std::string& base, const std::string& head, bool merge_base,
    const std::vector<std::string>& paths) const {
  std::string listed;
  for (const std::string& path : paths) listed += (listed.empty() ? "" : ", ") + path;
  record("diff_line_spans", base + ", " + head + ", merge_base=" + (merge_base ? "true" : "false") +
                                ", paths=[" + listed + "]");
  return line_spans;
}

}  // namespace lomarind::testing
