#include "lomarind/git/git_cli.h"

#include <sched.h>

#include <algorithm>
#include <charconv>
#include <future>
#include <initializer_list>
#include <string_view>
#include <thread>
#include <unordered_set>

#include "lomarind/git/git_parse.h"
#include "lomarind/git/log_parser.h"
#include "lomarind/process/blocked_signals.h"

namespace lomarind::git_utils {
namespace {

// No repository setting (an external diff or textconv driver, diff.noprefix,
// color, diff.relative, diff.algorithm) may run a program or change the
// output we parse.
constexpr std::string_view kDiffOptions[] = {
    "--no-ext-diff",   "--no-textconv",         "--no-color", "--no-relative", "--src-prefix=a/",
    "--dst-prefix=b/", "--diff-algorithm=myers"};

constexpr std::string_view kRemotePrefix = "refs/remotes/origin/";

// `leading`, then the diff options, then `trailing`.
std::vector<std::string> diff_command(std::initializer_list<std::string_view> leading,
                                      std::initializer_list<std::string_view> trailing) {
  std::vector<std::string> args(leading.begin(), leading.end());
  args.insert(args.end(), std::begin(kDiffOptions), std::end(kDiffOptions));
  args.insert(args.end(), trailing.begin(), trailing.end());
  return args;
}

// git 2.39 reads "@<seconds> +0000" exactly for every N >= 0 (a bare @N only
// from nine digits on), so every date reaches it in this form.
std::string git_date(std::chrono::sys_seconds time) {
  auto seconds = std::max<std::int64_t>(0, time.time_since_epoch().count());
  std::string date = "@";
  date += std::to_string(seconds);
  date += " +0000";
  return date;
}

std::string first_line(std::string_view out) { return std::string(out.substr(0, out.find('\n'))); }

// The arguments that pick a period's commits: the same walk, with or
// without diffs, lists the same commits.
std::vector<std::string> period_walk(std::chrono::sys_seconds since, const std::string& ref,
                                     int max_commits) {
  return {"--since=" + git_date(since), "--max-count=" + std::to_string(max_commits),
          "--end-of-options", ref, "--"};
}

// What the log of a period and the log of given commits both show.
std::vector<std::string> commit_diff_command(std::vector<std::string> trailing) {
  std::vector<std::string> args =
      diff_command({"log", "-z", "--raw", "--numstat", "-M"}, {"--no-show-signature", kLogFormat});
  args.insert(args.end(), std::make_move_iterator(trailing.begin()),
              std::make_move_iterator(trailing.end()));
  return args;
}

// Below this many commits a second git process costs more than it saves.
constexpr std::size_t kMinSlice = 32;
constexpr std::size_t kMaxSlices = 8;

// The cores this process may run on (a CPU set or taskset leaves fewer
// than the machine has).
std::size_t usable_cores() {
  cpu_set_t cpus;
  if (::sched_getaffinity(0, sizeof cpus, &cpus) == 0) {
    return static_cast<std::size_t>(std::max(1, CPU_COUNT(&cpus)));
  }
  return std::max(1u, std::thread::hardware_concurrency());
}

std::size_t slice_count(std::size_t commits) {
  const std::size_t cores = usable_cores();
  return std::clamp<std::size_t>(commits / kMinSlice, 1, std::min(cores, kMaxSlices));
}

}  // namespace

// Exit 1 is git's "no such commit" whatever it printed; exit 128 with nothing
// on stderr is how it fails on names it cannot even look up (a reflog entry
// past the end), while 128 with a message is a real failure.
std::optional<std::string> GitCli::resolve_commit(const std::filesystem::path& repo_root,
                                                  const std::string& name) const {
  std::vector<std::string> args = {"rev-parse", "--verify", "--quiet", "--end-of-options",
                                   name + "^{commit}"};
  GitResult result = runner_.run(repo_root, args);
  if (result.exit_status == 0) return first_line(result.out);
  bool silent = result.err.find_first_not_of(" \t\r\n") == std::string::npos;
  if (result.exit_status == 1 || (result.exit_status == 128 && silent)) return std::nullopt;
  throw runner_.failure(repo_root, args, result);
}

std::optional<std::string> GitCli::resolve_display_branch(
    const std::filesystem::path& repo_root) const {
  std::vector<std::string> args = {"symbolic-ref", "--quiet", "--short", "HEAD"};
  GitResult result = runner_.run(repo_root, args);
  if (result.exit_status == 0) return first_line(result.out);
  if (result.exit_status == 1) return std::string();  // detached
  throw runner_.failure(repo_root, args, result);
}

std::string GitCli::get_default_branch(const std::filesystem::path& repo_root) const {
  std::vector<std::string> args = {"symbolic-ref", "--quiet", std::string(kRemotePrefix) + "HEAD"};
  GitResult result = runner_.run(repo_root, args);
  if (result.exit_status != 0 && result.exit_status != 1) {
    throw runner_.failure(repo_root, args, result);
  }
  std::string target = first_line(result.out);
  if (result.exit_status == 0 && target.starts_with(kRemotePrefix) &&
      resolve_commit(repo_root, target)) {
    return target.substr(kRemotePrefix.size());
  }
  for (std::string name : {"main", "master"}) {
    if (resolve_commit(repo_root, name) || resolve_commit(repo_root, "origin/" + name)) {
      return name;
    }
  }
  return "main";
}

std::vector<FileChange> GitCli::diff_file_changes(const std::filesystem::path& repo_root,
                                                  const std::string& base_commit,
                                                  const std::string& head_commit) const {
  std::string range = base_commit + "..." + head_commit;
  return parse_file_changes(runner_.run_checked(
      repo_root,
      diff_command({"diff", "-z", "--raw", "--numstat", "-M"}, {"--end-of-options", range, "--"})));
}

std::int64_t GitCli::count_commits(const std::filesystem::path& repo_root,
                                   const std::string& base_commit,
                                   const std::string& head_commit) const {
  std::vector<std::string> args = {"rev-list", "--count", "--end-of-options",
                                   base_commit + ".." + head_commit, "--"};
  std::string count = first_line(runner_.run_checked(repo_root, args));
  std::int64_t value = 0;
  auto [end, error] = std::from_chars(count.data(), count.data() + count.size(), value);
  if (error != std::errc() || end != count.data() + count.size()) {
    throw GitError("unexpected git output: commit count '" + count + "'", args);
  }
  return value;
}

std::vector<CommitChanges> GitCli::log_commit_changes(const std::filesystem::path& repo_root,
                                                      std::chrono::sys_seconds since,
                                                      const std::string& ref,
                                                      int max_commits) const {
  // Parsed as it arrives: the parse overlaps git's work, and the log is
  // never held whole.
  LogParser parser;
  runner_.run_checked(repo_root, commit_diff_command(period_walk(since, ref, max_commits)),
                      [&parser](std::string_view piece) { parser.feed(piece); });
  return std::move(parser).finish();
}

std::vector<CommitChanges> GitCli::log_commit_times(
    const std::filesystem::path& repo_root, std::chrono::sys_seconds since, const std::string& ref,
    int max_commits, const std::function<void(std::size_t)>& listed) const {
  // rev-list walks as the log does, without the log's set-up for showing
  // commits: about half the time.
  std::vector<std::string> args = {"rev-list", "--timestamp"};
  std::vector<std::string> walk = period_walk(since, ref, max_commits);
  args.insert(args.end(), walk.begin(), walk.end());
  std::string out;
  std::size_t lines = 0;
  runner_.run_checked(repo_root, args, [&](std::string_view piece) {
    out += piece;
    lines += static_cast<std::size_t>(std::count(piece.begin(), piece.end(), '\n'));
    if (listed) listed(lines);
  });
  return parse_commit_times(out);
}

std::vector<CommitChanges> GitCli::read_commit_changes(
    const std::filesystem::path& repo_root, const std::vector<std::string>& commits) const {
  const std::size_t slices = slice_count(commits.size());
  const std::size_t per_slice = (commits.size() + slices - 1) / std::max<std::size_t>(slices, 1);
  std::vector<std::future<std::vector<CommitChanges>>> reads;
  for (std::size_t first = 0; first < commits.size(); first += per_slice) {
    std::span<const std::string> slice(commits.data() + first,
                                       std::min(per_slice, commits.size() - first));
    reads.push_back(
        start_thread([this, &repo_root, slice] { return read_slice(repo_root, slice); }));
  }
  std::vector<CommitChanges> all;
  all.reserve(commits.size());
  for (auto& read : reads) {
    std::vector<CommitChanges> part = read.get();
    all.insert(all.end(), std::make_move_iterator(part.begin()),
               std::make_move_iterator(part.end()));
  }
  return all;
}

// --no-walk=unsorted shows the commits given on stdin in their order, each
// with the diff a walked log shows for it (merges without files, a root
// against the empty tree).
std::vector<CommitChanges> GitCli::read_slice(const std::filesystem::path& repo_root,
                                              std::span<const std::string> commits) const {
  std::string ids;
  for (const std::string& commit : commits) {
    if (commit.empty() || commit.find_first_not_of("0123456789abcdef") != std::string::npos) {
      throw GitError("not a commit id: '" + commit + "'");
    }
    ids += commit;
    ids += '\n';
  }
  LogParser parser;
  runner_.run_checked(
      repo_root, commit_diff_command({"--no-walk=unsorted", "--stdin", "--"}),
      [&parser](std::string_view piece) { parser.feed(piece); }, ids);
  std::vector<CommitChanges> read = std::move(parser).finish();
  if (read.size() != commits.size()) {
    throw GitError("git listed " + std::to_string(read.size()) + " of " +
                   std::to_string(commits.size()) + " commits asked for");
  }
  return read;
}

// --before keeps commits at or before its date, so asking for one second
// before the start leaves a commit made exactly at the start to the period.
std::optional<std::string> GitCli::commit_before(const std::filesystem::path& repo_root,
                                                 const std::string& tip,
                                                 std::chrono::sys_seconds start) const {
  if (start.time_since_epoch().count() <= 0) return std::nullopt;  // no commit predates 1970
  std::string before = "--before=" + git_date(start - std::chrono::seconds(1));
  std::string out = runner_.run_checked(
      repo_root, {"rev-list", "-1", "--first-parent", before, "--end-of-options", tip, "--"});
  if (out.empty()) return std::nullopt;
  return first_line(out);
}

// Paths that do not fit a command line are left off: the one diff then
// covers every file, and only the files asked for are kept.
LineSpansByPath GitCli::diff_line_spans(const std::filesystem::path& repo_root,
                                        const std::string& base_commit,
                                        const std::string& head_commit, bool merge_base,
                                        const std::vector<std::string>& paths) const {
  if (paths.empty()) return {};
  std::vector<std::string> args = diff_command({"diff", "-U0", "-M"}, {"--end-of-options"});
  if (merge_base) {
    args.push_back(base_commit + "..." + head_commit);
  } else {
    args.push_back(base_commit);
    args.push_back(head_commit);
  }
  args.push_back("--");
  const std::size_t without_paths = args.size();
  args.insert(args.end(), paths.begin(), paths.end());
  if (runner_.fits_command_line(repo_root, args)) {
    return parse_line_spans(runner_.run_checked(repo_root, args));
  }
  args.resize(without_paths);
  LineSpansByPath spans = parse_line_spans(runner_.run_checked(repo_root, args));
  const std::unordered_set<std::string_view> asked(paths.begin(), paths.end());
  std::erase_if(spans, [&](const auto& entry) { return !asked.contains(entry.first); });
  return spans;
}

}  // namespace lomarind::git_utils
