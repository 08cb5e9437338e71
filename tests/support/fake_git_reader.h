// A GitReader with canned answers that records every call, for tests that
// must see which git questions an answer asks, in which order.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "lomarind/utils/git_utils.h"

namespace lomarind::testing {

// How many of the recorded `calls` are of operation `op`.
inline std::ptrdiff_t count_of(const std::vector<std::string>& calls, std::string_view op) {
  return std::count_if(calls.begin(), calls.end(),
                       [op](const std::string& call) { return call.starts_with(op); });
}

// The items joined by `separator`: "a, b" or "a b".
inline std::string joined(const std::vector<std::string>& items, std::string_view separator = " ") {
  std::string out;
  for (const std::string& item : items) out += (out.empty() ? "" : std::string(separator)) + item;
  return out;
}

// A FileChange without spelling out every field.
inline git_utils::FileChange change(std::string path, std::string status,
                                    std::int64_t additions = 0, std::int64_t deletions = 0,
                                    std::optional<std::string> old_path = std::nullopt) {
  return {std::move(path), std::move(status), additions, deletions, std::move(old_path)};
}

// A log, newest first, from one line per commit: each word a modified path,
// "-path" deleted, "new<old" renamed, "new+old" copied; "3*" before the
// words repeats the commit three times.
inline std::vector<git_utils::CommitChanges> log_of(
    std::initializer_list<std::string_view> commits) {
  std::vector<git_utils::CommitChanges> log;
  for (std::string_view line : commits) {
    std::size_t repeat = 1;
    if (const std::size_t star = line.find('*'); star != std::string_view::npos) {
      repeat = std::stoul(std::string(line.substr(0, star)));
      line.remove_prefix(star + 1);
    }
    git_utils::CommitChanges commit{"c", 1500, {}};
    for (std::size_t end = 0; !line.empty(); line.remove_prefix(std::min(end + 1, line.size()))) {
      end = std::min(line.find(' '), line.size());
      const std::string word(line.substr(0, end));
      const std::size_t mark = word.find_first_of("<+");
      if (word.starts_with('-')) {
        commit.files.push_back(change(word.substr(1), "deleted"));
      } else if (mark != std::string::npos) {
        commit.files.push_back(change(word.substr(0, mark),
                                      word[mark] == '<' ? "renamed" : "copied", 1, 0,
                                      word.substr(mark + 1)));
      } else {
        commit.files.push_back(change(word, "modified", 1));
      }
    }
    log.insert(log.end(), repeat, commit);
  }
  return log;
}

class FakeGitReader final : public git_utils::GitReader {
  using Path = std::filesystem::path;
  using Time = std::chrono::sys_seconds;

 public:
  std::map<std::string, std::string> commits;  // resolve_commit: name -> id
  std::optional<std::string> display_branch;
  std::string default_branch = "main";
  std::map<std::string, Time> periods;  // any other period is a std::invalid_argument
  std::vector<git_utils::FileChange> diff_files;
  std::int64_t commit_count = 0;
  std::vector<git_utils::CommitChanges> log;
  std::optional<std::string> before;
  git_utils::LineSpansByPath line_spans;

  // Calls of this operation are recorded, then throw "fatal: bad object".
  std::string fail_on;

  // One entry per call: "op(arg, arg, ...)", without the root.
  mutable std::vector<std::string> calls;

  std::optional<std::string> resolve_commit(const Path&, const std::string& name) const override {
    record("resolve_commit", {name});
    const auto found = commits.find(name);
    return found == commits.end() ? std::nullopt : std::optional(found->second);
  }
  std::optional<std::string> resolve_display_branch(const Path&) const override {
    record("resolve_display_branch", {});
    return display_branch;
  }
  std::string get_default_branch(const Path&) const override {
    record("get_default_branch", {});
    return default_branch;
  }
  // Not a git operation, but recorded with them, so tests see where a
  // period is read among the git calls.
  Time parse_time_spec(const std::string& since) const {
    record("parse_time_spec", {since});
    const auto found = periods.find(since);
    if (found == periods.end())
      throw std::invalid_argument("Cannot read the period '" + since + "'");
    return found->second;
  }
  std::vector<git_utils::FileChange> diff_file_changes(const Path&, const std::string& base,
                                                       const std::string& head) const override {
    record("diff_file_changes", {base, head});
    return diff_files;
  }
  std::int64_t count_commits(const Path&, const std::string& base,
                             const std::string& head) const override {
    record("count_commits", {base, head});
    return commit_count;
  }
  std::vector<git_utils::CommitChanges> log_commit_changes(const Path&, Time since,
                                                           const std::string& ref,
                                                           int max_commits) const override {
    record("log_commit_changes",
           {"since=" + epoch(since), "ref=" + ref, "max_commits=" + std::to_string(max_commits)});
    return log;
  }
  std::optional<std::string> commit_before(const Path&, const std::string& tip,
                                           Time start) const override {
    record("commit_before", {tip, epoch(start)});
    return before;
  }
  git_utils::LineSpansByPath diff_line_spans(const Path&, const std::string& base,
                                             const std::string& head, bool merge_base,
                                             const std::vector<std::string>& paths) const override {
    record("diff_line_spans", {base, head, merge_base ? "merge_base=true" : "merge_base=false",
                               "paths=[" + joined(paths, ", ") + "]"});
    return line_spans;
  }

 private:
  static std::string epoch(Time time) { return std::to_string(time.time_since_epoch().count()); }

  void record(const std::string& op, const std::vector<std::string>& args) const {
    calls.push_back(op + "(" + joined(args, ", ") + ")");
    if (op == fail_on) throw git_utils::GitError("fatal: bad object", {"git", op}, 128);
  }
};

}  // namespace lomarind::testing
