// The git reader half of the host neighbours: each of its nine operations
// looked up on host.git_utils at each call.
#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "py_convert.h"
#include "py_host.h"
#include "py_records.h"

namespace lomarind::python {
namespace {

// Runs a call of a Python neighbour; a Python exception of `type` becomes
// the C++ error `Host` that the answers understand.
template <typename Host, typename Call>
py::object raising_as(const py::object& type, std::string_view what, Call call) {
  try {
    return call();
  } catch (py::error_already_set& error) {
    if (!error.matches(type)) throw;
    const std::string message = to_bytes(py::str(error.value()), what);
    throw Host(message, error.value());
  }
}

template <typename Call>
py::object calling_git(const py::module_& host, Call call) {
  return raising_as<HostGitError>(host.attr("GitError"), "a GitError's text", call);
}

}  // namespace

py::object HostGitReader::replaced(const char* name) const {
  return replaced_on(host_.attr("git_utils"), "git_utils", name);
}

// Runs `work` on a thread of its own while this one, without the GIL,
// looks for signals every 50 ms, so a host's Ctrl-C is not held up by git:
// a KeyboardInterrupt (or whatever the host's handler raises) raises `stop`,
// which kills the work's children at once, and reaches the host when the
// work has ended.
template <typename Work>
auto interruptibly(std::atomic<bool>& stop, Work work) -> decltype(work()) {
  using namespace std::chrono_literals;
  std::packaged_task<decltype(work())()> task(std::move(work));
  auto done = task.get_future();
  bool interrupted = false;
  {
    py::gil_scoped_release release;
    std::thread worker(std::move(task));
    while (done.wait_for(50ms) != std::future_status::ready) {
      py::gil_scoped_acquire gil;
      if (PyErr_CheckSignals() != 0) {
        interrupted = true;
        stop = true;
        break;
      }
    }
    worker.join();
  }
  if (interrupted) throw py::error_already_set();
  return done.get();
}

template <typename Read>
auto HostGitReader::natively(Read read) const {
  try {
    return interruptibly(stop_, [&] { return read(own_); });
  } catch (const git_utils::GitError& error) {
    throw HostGitError(error.what(), host_.attr("GitError")(to_str(error.what())));
  }
}

py::object HostGitReader::start_time(std::chrono::sys_seconds start) const {
  if (last_start_ && start == last_start_seconds_) return last_start_;
  return to_datetime(start);
}

std::optional<std::string> HostGitReader::resolve_commit(const std::filesystem::path& root,
                                                         const std::string& name) const {
  const py::object op = replaced("resolve_commit");
  if (!op) return natively([&](const auto& git) { return git.resolve_commit(root, name); });
  const py::object commit = calling_git(host_, [&] { return op(repo_root_, to_str(name)); });
  return to_optional_bytes(commit, "a commit id");
}

std::optional<std::string> HostGitReader::resolve_display_branch(
    const std::filesystem::path& root) const {
  const py::object op = replaced("resolve_display_branch");
  if (!op) return natively([&](const auto& git) { return git.resolve_display_branch(root); });
  const py::object name = calling_git(host_, [&] { return op(repo_root_); });
  return to_optional_bytes(name, "a branch name");
}

std::string HostGitReader::get_default_branch(const std::filesystem::path& root) const {
  const py::object op = replaced("get_default_branch");
  if (!op) return natively([&](const auto& git) { return git.get_default_branch(root); });
  const py::object name = calling_git(host_, [&] { return op(repo_root_); });
  return to_bytes(name, "the default branch");
}

std::chrono::sys_seconds HostGitReader::parse_time_spec(const std::string& since) const {
  const py::object op = replaced("parse_time_spec");
  if (!op) return own_.parse_time_spec(since);
  const py::object start =
      raising_as<HostValueError>(py::reinterpret_borrow<py::object>(PyExc_ValueError),
                                 "a ValueError's text", [&] { return op(to_str(since)); });
  last_start_seconds_ = to_sys_seconds(start);
  last_start_ = start;
  return last_start_seconds_;
}

std::vector<git_utils::FileChange> HostGitReader::diff_file_changes(
    const std::filesystem::path& root, const std::string& base_commit,
    const std::string& head_commit) const {
  const py::object op = replaced("diff_file_changes");
  if (!op) {
    return natively(
        [&](const auto& git) { return git.diff_file_changes(root, base_commit, head_commit); });
  }
  const py::object files =
      calling_git(host_, [&] { return op(repo_root_, to_str(base_commit), to_str(head_commit)); });
  return file_changes_from(files);
}

std::int64_t HostGitReader::count_commits(const std::filesystem::path& root,
                                          const std::string& base_commit,
                                          const std::string& head_commit) const {
  const py::object op = replaced("count_commits");
  if (!op) {
    return natively(
        [&](const auto& git) { return git.count_commits(root, base_commit, head_commit); });
  }
  const py::object count =
      calling_git(host_, [&] { return op(repo_root_, to_str(base_commit), to_str(head_commit)); });
  return count.cast<std::int64_t>();
}

std::vector<git_utils::CommitChanges> HostGitReader::log_commit_changes(
    const std::filesystem::path& root, std::chrono::sys_seconds since, const std::string& ref,
    int max_commits) const {
  const py::object op = replaced("log_commit_changes");
  if (!op) {
    return natively(
        [&](const auto& git) { return git.log_commit_changes(root, since, ref, max_commits); });
  }
  using py::arg;
  const py::object commits = calling_git(host_, [&] {
    return op(repo_root_, arg("since") = start_time(since), arg("ref") = to_str(ref),
              arg("max_commits") = max_commits);
  });
  return from_list(commits, commit_changes_from);
}

std::optional<std::string> HostGitReader::commit_before(const std::filesystem::path& root,
                                                        const std::string& tip,
                                                        std::chrono::sys_seconds start) const {
  const py::object op = replaced("commit_before");
  if (!op) return natively([&](const auto& git) { return git.commit_before(root, tip, start); });
  const py::object commit =
      calling_git(host_, [&] { return op(repo_root_, to_str(tip), start_time(start)); });
  return to_optional_bytes(commit, "a commit id");
}

git_utils::LineSpansByPath HostGitReader::diff_line_spans(
    const std::filesystem::path& root, const std::string& base_commit,
    const std::string& head_commit, bool merge_base, const std::vector<std::string>& paths) const {
  const py::object op = replaced("diff_line_spans");
  if (!op) {
    return natively([&](const auto& git) {
      return git.diff_line_spans(root, base_commit, head_commit, merge_base, paths);
    });
  }
  using py::arg;
  const py::object spans = calling_git(host_, [&] {
    return op(repo_root_, to_str(base_commit), to_str(head_commit), arg("merge_base") = merge_base,
              arg("paths") = to_list(paths, to_str));
  });
  return line_spans_from(spans);
}

}  // namespace lomarind::python
