#include "lomarind/git/git_runner.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <system_error>

#include "lomarind/git/git_inputs.h"
#include "lomarind/process/subprocess.h"
#include "lomarind/utils/git_utils.h"
#include "lomarind/utils/text.h"

namespace lomarind::git_utils {
namespace {

// Each option shuts out a repository setting that could run a program
// (fsmonitor, signature checks, a pager, a transport fetching a missing
// object of a partial clone), make git wait on a file it names (an order
// file or a mailmap that is a FIFO), or change the output we parse.
// clang-format off
constexpr const char* kSafetyOptions[] = {
    "--no-pager",
    "--literal-pathspecs",
    "-c", "core.quotePath=false",
    "-c", "core.fsmonitor=false",
    "-c", "log.showSignature=false",
    "-c", "log.showRoot=true",
    "-c", "color.ui=never",
    "-c", "diff.renameLimit=1000",
    "-c", "diff.interHunkContext=0",
    "-c", "diff.indentHeuristic=true",
    "-c", "diff.orderFile=/dev/null",
    "-c", "log.mailmap=false",
    "-c", "protocol.allow=never",
};
// clang-format on

// No prompt may wait for a terminal, no optional lock may touch the
// repository, no system config applies, and messages are untranslated.
// Output is fully buffered: on a pipe git would otherwise write each commit
// of a log on its own, and the thousands of small writes and wake-ups cost
// both processes more than reading the log itself.
// clang-format off
constexpr const char* kFixedEnvironment[] = {
    "GIT_TERMINAL_PROMPT=0",
    "GIT_OPTIONAL_LOCKS=0",
    "GIT_NO_LAZY_FETCH=1",
    "GIT_CONFIG_NOSYSTEM=1",
    "GIT_FLUSH=0",
    "LC_ALL=C",
};
// clang-format on

// A GIT_DIR or GIT_WORK_TREE left behind by a hook must not redirect us,
// nor GIT_CONFIG_* inject settings.
bool is_dropped(std::string_view entry) {
  return entry.starts_with("GIT_") || entry.starts_with("LC_ALL=");
}

// The system config the user's git reads with `environment`; empty: none.
std::filesystem::path system_config(const std::vector<std::string>& environment) {
  std::string off(environment_variable(environment, "GIT_CONFIG_NOSYSTEM").value_or(""));
  std::transform(off.begin(), off.end(), off.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (off != "" && off != "0" && off != "false" && off != "no" && off != "off") return {};
  const std::string_view named =
      environment_variable(environment, "GIT_CONFIG_SYSTEM").value_or("");
  return named.empty() ? std::filesystem::path(kSystemConfig) : std::filesystem::path(named);
}

// Names the git command (not our safety options) and the limit, and where
// to look: git waits silently on a file that never delivers data.
std::string timeout_message(const std::vector<std::string>& args,
                            const subprocess::Timeout& timeout) {
  std::string command = "git";
  if (!args.empty()) command += " " + args.front();
  const std::string stopped =
      subprocess::timeout_message(command, timeout.limit(), timeout.outputs_closed());
  if (timeout.outputs_closed()) return stopped + " (the limit for a git command to exit)";
  return stopped +
         " (the limit for a silent git command); look for a file in the repository that git "
         "waits on, such as a named pipe";
}

}  // namespace

bool GitRunner::fits_command_line(const std::filesystem::path& repo_root,
                                  const std::vector<std::string>& args) const {
  // The kernel counts every string of argv and environment with its
  // terminator and pointer; half the limit leaves room for what it adds.
  std::size_t size = 0;
  const std::vector<std::string> start = start_environment();
  for (const std::vector<std::string>& strings :
       {command_line(repo_root, args, start), environment(start)}) {
    for (const std::string& s : strings) size += s.size() + 1 + sizeof(char*);
  }
  const long limit = ::sysconf(_SC_ARG_MAX);
  return size <= static_cast<std::size_t>(limit > 0 ? limit : 128 * 1024) / 2;
}

std::vector<std::string> GitRunner::start_environment() const {
  return options_.environment ? *options_.environment : subprocess::inherited_environment();
}

std::vector<std::string> GitRunner::command_line(const std::filesystem::path& repo_root,
                                                 const std::vector<std::string>& args,
                                                 const std::vector<std::string>& start) const {
  std::vector<std::string> argv = {options_.git_program};
  argv.insert(argv.end(), std::begin(kSafetyOptions), std::end(kSafetyOptions));
  // GIT_CONFIG_NOSYSTEM hides the system config, and with it the
  // administrator's safe.directory entries; git honours them from the
  // command line as from that file.
  const std::filesystem::path system =
      options_.system_config ? *options_.system_config : system_config(start);
  if (!system.empty()) {
    for (const std::string& directory : system_safe_directories(system, start)) {
      argv.push_back("-c");
      argv.push_back("safe.directory=" + directory);
    }
  }
  argv.push_back("-C");
  argv.push_back(repo_root.string());
  argv.insert(argv.end(), args.begin(), args.end());
  return argv;
}

std::vector<std::string> GitRunner::environment(std::vector<std::string> start) {
  std::vector<std::string> env;
  for (std::string& entry : start) {
    if (!is_dropped(entry)) env.push_back(std::move(entry));
  }
  env.insert(env.end(), std::begin(kFixedEnvironment), std::end(kFixedEnvironment));
  return env;
}

GitResult GitRunner::run(const std::filesystem::path& repo_root,
                         const std::vector<std::string>& args,
                         const subprocess::OutputSink& on_stdout, const std::string& input) const {
  std::vector<std::string> start = start_environment();
  subprocess::Command command{
      .argv = command_line(repo_root, args, start),
      .environment = environment(std::move(start)),
      .input = input,
      .working_directory = {},
      .inactivity_limit = options_.inactivity_limit,
      .exit_grace = subprocess::kExitGrace,
      .stop = options_.stop,
      .silence_check = std::min(kSilenceCheck, options_.inactivity_limit / 2),
      .on_silence = [&repo_root] {
        refuse_blocking_attributes_in_work_tree(repo_root, kSilenceCheck);
      }};
  refuse_blocking_inputs(repo_root, command.environment);
  subprocess::Result result;
  try {
    result = subprocess::run(command, on_stdout);
  } catch (const std::system_error& e) {
    if (e.code() == std::errc::no_such_file_or_directory) {
      throw GitError("git is not installed or not on PATH", command.argv);
    }
    throw GitError(e.what(), command.argv);  // it names the program and the cause
  } catch (const subprocess::Timeout& e) {
    throw GitError(timeout_message(args, e), command.argv);
  }
  if (result.signal != 0) {
    throw GitError("git was killed by signal " + std::to_string(result.signal), command.argv,
                   result.exit_status);
  }
  return {result.exit_status, std::move(result.out), std::move(result.err)};
}

std::string GitRunner::run_checked(const std::filesystem::path& repo_root,
                                   const std::vector<std::string>& args,
                                   const subprocess::OutputSink& on_stdout,
                                   const std::string& input) const {
  GitResult result = run(repo_root, args, on_stdout, input);
  if (result.exit_status != 0) throw failure(repo_root, args, result);
  return std::move(result.out);
}

GitError GitRunner::failure(const std::filesystem::path& repo_root,
                            const std::vector<std::string>& args, const GitResult& result) const {
  std::string_view message = text::trim(result.err);
  return GitError(message.empty() ? "git exited with status " + std::to_string(result.exit_status)
                                  : std::string(message),
                  command_line(repo_root, args, start_environment()), result.exit_status);
}

std::filesystem::path git_common_dir(const GitRunner& git, const std::filesystem::path& repo_root) {
  std::string out =
      git.run_checked(repo_root, {"rev-parse", "--path-format=absolute", "--git-common-dir"});
  // One newline ends the path; blanks before it belong to the name.
  if (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

}  // namespace lomarind::git_utils
