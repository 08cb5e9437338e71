// What the user asked for on the command line, read with CLI11:
//
//   lomarind [--repo DIR] [--index FILE] [--no-cache] COMMAND [options]
//
// with the global options also accepted after COMMAND. An option left out is
// absent (nullopt); an empty value is a value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "lomarind/workers/git_history/git_history.h"

namespace lomarind::cli {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;  // the question could not be answered
inline constexpr int kExitUsage = 2;    // the command line itself is wrong

struct GlobalOptions {
  std::string repo = ".";            // any folder inside a work tree
  std::optional<std::string> index;  // absent: the default index file
  bool no_cache = false;             // read every commit from git
};

// The question each answer command asks, in the module's own options (an
// option left out keeps the default given here), and how to print it.
struct RecentArgs {
  git_history::RecentChangesOptions question{.since = "",
                                             .branch = std::nullopt,
                                             .include_symbols = false,
                                             .limit = 50,
                                             .offset = 0,
                                             .source_only = false};
  bool json = false;
};

struct HotspotsArgs {
  git_history::HotspotsOptions question{.since = "",
                                        .branch = std::nullopt,
                                        .group_by = "file",
                                        .limit = 50,
                                        .offset = 0,
                                        .source_only = false};
  bool json = false;
};

struct DiffArgs {
  git_history::BranchDiffOptions question{.base_branch = std::nullopt,
                                          .head_branch = std::nullopt,
                                          .include_symbols = false,
                                          .limit = 50,
                                          .offset = 0,
                                          .source_only = false};
  bool partners = false;                  // add the files the branch probably forgot
  std::string partners_since = "1 year";  // the base's period that judges them
  bool json = false;
};

struct CouplingArgs {
  git_history::CouplingOptions question{.since = "",
                                        .branch = std::nullopt,
                                        .path = std::nullopt,
                                        .source_only = false,
                                        .min_revisions = git_history::kDefaultMinRevisions,
                                        .min_shared = git_history::kDefaultMinShared,
                                        .min_degree = git_history::kDefaultMinDegree,
                                        .max_changeset = git_history::kDefaultMaxChangeset,
                                        .limit = 50,
                                        .offset = 0};
  bool json = false;
};

// The period's hotspots and recent changes as one page (html) or as wiki
// tables (markdown), written to `output` (default: lomarind-report.html or
// .md in the current folder; "-" is stdout). Without a format, an output
// named .md or .markdown is Markdown and anything else HTML.
struct ReportArgs {
  std::string since;
  std::optional<std::string> branch;
  bool source_only = false;
  std::optional<std::string> output;
  std::optional<std::string> format;  // "html" or "markdown"
};

struct IndexArgs {
  bool full = false;
};

struct CommandLine {
  GlobalOptions global;
  std::variant<RecentArgs, HotspotsArgs, DiffArgs, CouplingArgs, IndexArgs, ReportArgs> command;
};

// The outcome of reading the arguments: a command to run, or an exit code
// with the text to print (help and version on stdout, a usage error on
// stderr, exit code kExitUsage).
struct ParsedCommandLine {
  std::optional<CommandLine> command_line;
  int exit_code = kExitOk;
  std::string out;
  std::string err;
};

// `args` are the program's arguments without the program name.
ParsedCommandLine parse_command_line(const std::vector<std::string>& args);

}  // namespace lomarind::cli
