#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>
#include <string_view>

#include "cli/display_text.h"

namespace lomarind::cli {

namespace {

constexpr const char* kVersionText = "lomarind " LOMARIND_VERSION;

// CLI11 cannot store into an optional directly in every version, so each
// optional string is read into a buffer and kept only if the option was given.
struct OptionalString {
  std::string buffer;
  CLI::Option* option = nullptr;

  void add(CLI::App& app, const std::string& name, const std::string& help) {
    option = app.add_option(name, buffer, help);
  }
  std::optional<std::string> value() const {
    if (option->count() == 0) return std::nullopt;
    return buffer;
  }
};

void add_page_options(CLI::App& command, std::int64_t& limit, std::int64_t& offset) {
  command.add_option("--limit", limit, "Rows per page")->capture_default_str();
  command.add_option("--offset", offset, "Rows skipped")->capture_default_str();
}

void add_common_flags(CLI::App& command, bool& source_only, bool& json) {
  command.add_flag("--source-only", source_only,
                   "Keep production source only: no tests, documents, data or build output");
  command.add_flag("--json", json, "Print the answer as one JSON document");
}

// Every CLI11 object the parse writes into; they must stay put while parsing.
struct Parser {
  CLI::App app{"Answers questions about a git repository's history.", "lomarind"};
  GlobalOptions global;
  RecentArgs recent;
  HotspotsArgs hotspots;
  DiffArgs diff;
  IndexArgs index;
  ReportArgs report;
  OptionalString index_file, recent_branch, hotspots_branch, diff_base, diff_head;
  OptionalString report_branch, report_output, report_format;
  CLI::App* recent_command = nullptr;
  CLI::App* hotspots_command = nullptr;
  CLI::App* diff_command = nullptr;
  CLI::App* report_command = nullptr;

  Parser();
  void add_recent();
  void add_hotspots();
  void add_diff();
  void add_index();
  void add_report();
  CommandLine result() const;
};

Parser::Parser() {
  app.set_version_flag("--version", kVersionText);
  app.require_subcommand(1);
  // As in git, a repeated option is no error: the last one wins. Commands
  // inherit this from the program.
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  // Global options may also follow the command: a command passes what it
  // does not know up to the program.
  app.fallthrough();
  app.add_option("--repo", global.repo, "Any folder inside the work tree (default: .)");
  index_file.add(app, "--index", "The index file (default: <git common dir>/lomarind/index.db)");
  app.add_flag("--no-cache", global.no_cache,
               "Read every commit from git, neither using nor filling the commit cache");
  add_recent();
  add_hotspots();
  add_diff();
  add_index();
  add_report();
}

void Parser::add_recent() {
  recent_command = app.add_subcommand("recent", "Files a period changed, the latest change first");
  recent_command
      ->add_option("--since", recent.question.since, "The period, e.g. '2 weeks' or 2024-05-01")
      ->required();
  recent_branch.add(*recent_command, "--branch", "Whose history to read (default: checked out)");
  recent_command->add_flag("--symbols", recent.question.include_symbols,
                           "List the symbols on changed lines");
  add_common_flags(*recent_command, recent.question.source_only, recent.json);
  add_page_options(*recent_command, recent.question.limit, recent.question.offset);
}

void Parser::add_hotspots() {
  hotspots_command =
      app.add_subcommand("hotspots", "Files or components a period changed most often");
  hotspots_command
      ->add_option("--since", hotspots.question.since, "The period, e.g. '1 year' or 2024-05-01")
      ->required();
  hotspots_branch.add(*hotspots_command, "--branch",
                      "Whose history to read (default: checked out)");
  hotspots_command->add_option("--group-by", hotspots.question.group_by, "file or component")
      ->capture_default_str();
  add_common_flags(*hotspots_command, hotspots.question.source_only, hotspots.json);
  add_page_options(*hotspots_command, hotspots.question.limit, hotspots.question.offset);
}

void Parser::add_diff() {
  diff_command = app.add_subcommand("diff", "Files a branch changed since it left its base");
  diff_base.add(*diff_command, "--base", "The base branch (default: the default branch)");
  diff_head.add(*diff_command, "--head", "The branch compared (default: checked out)");
  diff_command->add_flag("--symbols", diff.question.include_symbols,
                         "List the symbols on changed lines");
  add_common_flags(*diff_command, diff.question.source_only, diff.json);
  add_page_options(*diff_command, diff.question.limit, diff.question.offset);
}

void Parser::add_index() {
  CLI::App* command = app.add_subcommand("index", "Build or update the index");
  command->add_flag("--full", index.full, "Rebuild from scratch instead of updating");
}

void Parser::add_report() {
  report_command = app.add_subcommand(
      "report", "The period's hotspots and recent changes as a page, or as wiki tables");
  report_command->add_option("--since", report.since, "The period, e.g. '3 months' or 2024-05-01")
      ->required();
  report_branch.add(*report_command, "--branch", "Whose history to read (default: checked out)");
  report_command->add_flag(
      "--source-only", report.source_only,
      "Keep production source only: no tests, documents, data or build output");
  report_output.add(*report_command, "--output",
                    "The file to write, - for stdout (default: lomarind-report.html, or .md)");
  report_format.add(*report_command, "--format",
                    "html or markdown (default: as --output is named, else html)");
  report_format.option->check(CLI::IsMember({"html", "markdown"}));
}

CommandLine Parser::result() const {
  CommandLine line{global, index};
  line.global.index = index_file.value();
  if (recent_command->parsed()) {
    RecentArgs args = recent;
    args.question.branch = recent_branch.value();
    line.command = args;
  } else if (hotspots_command->parsed()) {
    HotspotsArgs args = hotspots;
    args.question.branch = hotspots_branch.value();
    line.command = args;
  } else if (diff_command->parsed()) {
    DiffArgs args = diff;
    args.question.base_branch = diff_base.value();
    args.question.head_branch = diff_head.value();
    line.command = args;
  } else if (report_command->parsed()) {
    ReportArgs args = report;
    args.branch = report_branch.value();
    args.output = report_output.value();
    args.format = report_format.value();
    line.command = args;
  }
  return line;
}

bool takes_value(std::string_view name) {
  for (std::string_view option :
       {"--repo", "--index", "--since", "--branch", "--group-by", "--base", "--head", "--limit",
        "--offset", "--output", "--format"}) {
    if (name == option) return true;
  }
  return false;
}

// CLI11 reads "--branch=" as a missing value; here it is the empty name, as
// `--branch ''` is. Returns the arguments last first, as CLI11 takes them.
std::vector<std::string> cli11_arguments(const std::vector<std::string>& args) {
  std::vector<std::string> reversed;
  for (auto it = args.rbegin(); it != args.rend(); ++it) {
    if (it->size() > 1 && it->back() == '=' &&
        takes_value(std::string_view(*it).substr(0, it->size() - 1))) {
      reversed.push_back("");
      reversed.push_back(it->substr(0, it->size() - 1));
    } else {
      reversed.push_back(*it);
    }
  }
  return reversed;
}

// The number of single-character edits between two names.
std::size_t edit_distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

// "; did you mean 'x'?" for the closest of `names` to `typed`, when one is
// close enough to be what was meant; else "".
std::string suggestion(std::string_view typed, const std::vector<std::string>& names) {
  const std::string* best = nullptr;
  std::size_t best_distance = 3;  // more edits than this is another word
  for (const std::string& name : names) {
    const std::size_t distance = name.starts_with(typed) ? 1 : edit_distance(typed, name);
    if (distance < best_distance) best = &name, best_distance = distance;
  }
  return best ? "; did you mean " + quoted_text(*best) + "?" : "";
}

std::vector<std::string> command_names(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

std::vector<std::string> option_names(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
    for (const CLI::Option* option : app->get_options()) {
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
  }
  return names;
}

// CLI11 reports an unknown command as a missing one, and a misspelt option
// behind a missing required one: name what was typed instead.
std::string usage_message(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> left = app.remaining();
  const std::vector<CLI::App*> parsed = app.get_subcommands();
  if (parsed.empty() && !left.empty() && !left.front().starts_with("-")) {
    std::string names;
    const std::vector<std::string> commands = command_names(app);
    for (std::size_t i = 0; i < commands.size(); ++i) {
      names += (i == 0 ? "" : i + 1 == commands.size() ? " and " : ", ") + commands[i];
    }
    const std::string guess = suggestion(left.front(), commands);
    return "unknown command " + quoted_text(left.front()) + guess +
           (guess.empty() ? "; the commands are " : " The commands are ") + names;
  }
  for (const std::string& arg : left) {
    if (!arg.starts_with("-") || arg == "-") continue;
    const std::string typed = arg.substr(0, arg.find('='));
    const CLI::App& command = parsed.empty() ? app : *parsed.front();
    return "unknown option " + quoted_text(typed) + suggestion(typed, option_names(command));
  }
  return error.what();
}

// `lomarind help [COMMAND]`: the usage of the program or of one command.
std::optional<ParsedCommandLine> help_request(Parser& parser,
                                              const std::vector<std::string>& args) {
  if (args.empty() || args.front() != "help" || args.size() > 2) return std::nullopt;
  ParsedCommandLine parsed;
  if (args.size() == 1) {
    parsed.out = parser.app.help();
    return parsed;
  }
  for (const CLI::App* command : parser.app.get_subcommands({})) {
    if (command->get_name() == args[1]) {
      parsed.out = command->help("lomarind");
      return parsed;
    }
  }
  parsed.exit_code = kExitUsage;
  parsed.err = program_lines("", "no command " + quoted_text(args[1]) +
                                     suggestion(args[1], command_names(parser.app))) +
               "lomarind: run 'lomarind help' for usage\n";
  return parsed;
}

}  // namespace

ParsedCommandLine parse_command_line(const std::vector<std::string>& args) {
  Parser parser;
  if (std::optional<ParsedCommandLine> help = help_request(parser, args)) return *help;
  ParsedCommandLine parsed;
  if (args.empty()) {
    // A bare `lomarind` is asking what it can do.
    parsed.exit_code = kExitUsage;
    parsed.out = parser.app.help();
    return parsed;
  }
  std::vector<std::string> reversed = cli11_arguments(args);
  try {
    parser.app.parse(reversed);
  } catch (const CLI::CallForHelp&) {
    parsed.out = parser.app.help();
    return parsed;
  } catch (const CLI::CallForVersion&) {
    parsed.out = std::string(kVersionText) + "\n";
    return parsed;
  } catch (const CLI::ParseError& e) {
    parsed.exit_code = kExitUsage;
    parsed.err = program_lines("", usage_message(parser.app, e)) +
                 "lomarind: run 'lomarind help' for usage\n";
    return parsed;
  }
  parsed.command_line = parser.result();
  return parsed;
}

}  // namespace lomarind::cli
