#include "cli/command_line.h"

#include <gtest/gtest.h>

namespace lomarind::cli {
namespace {

template <typename Args>
Args parse_ok(const std::vector<std::string>& args, GlobalOptions* global = nullptr) {
  ParsedCommandLine parsed = parse_command_line(args);
  EXPECT_EQ(parsed.exit_code, kExitOk) << parsed.err;
  if (!parsed.command_line) return Args{};
  if (global) *global = parsed.command_line->global;
  return std::get<Args>(parsed.command_line->command);
}

TEST(CommandLineTest, LeftOutIsAbsentWhileEmptyAndDashValuesAreNames) {
  struct Case {
    std::vector<std::string> args;
    std::optional<std::string> branch;
  } cases[] = {
      {{"recent", "--since", "1w"}, std::nullopt},
      {{"recent", "--since", "1w", "--branch", ""}, ""},
      {{"recent", "--since", "1w", "--branch="}, ""},
      {{"recent", "--since", "1w", "--branch=-x"}, "-x"},
      {{"recent", "--since", "1w", "--branch=a=b"}, "a=b"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args.back());
    EXPECT_EQ(parse_ok<RecentArgs>(c.args).question.branch, c.branch);
  }
  GlobalOptions global;
  const DiffArgs diff = parse_ok<DiffArgs>({"diff"}, &global);
  EXPECT_EQ(global.repo, ".");
  EXPECT_EQ(global.index, std::nullopt);
  EXPECT_FALSE(global.no_cache);
  EXPECT_EQ(diff.question.base_branch, std::nullopt);
  EXPECT_EQ(diff.question.head_branch, std::nullopt);
  const HotspotsArgs hot =
      parse_ok<HotspotsArgs>({"hotspots", "--since", "", "--group-by", "File"});
  EXPECT_EQ(hot.question.since, "");
  EXPECT_EQ(hot.question.group_by,
            "File");  // checked, with its message, when the question is asked
}

TEST(CommandLineTest, GlobalOptionsGoBeforeOrAfterTheCommand) {
  // The last of a repeated option wins, on either side of the command.
  using Args = std::vector<std::string>;
  for (const Args& args :
       {Args{"--repo", "r", "--index", "i.db", "--no-cache", "diff", "--json"},
        Args{"diff", "--json", "--repo", "r", "--no-cache", "--index=i.db"},
        Args{"--repo", "a", "--no-cache", "diff", "--index=i.db", "--repo=r", "--json"}}) {
    GlobalOptions global;
    EXPECT_TRUE(parse_ok<DiffArgs>(args, &global).json);
    EXPECT_EQ(global.repo, "r");
    EXPECT_EQ(global.index, "i.db");
    EXPECT_TRUE(global.no_cache);
  }
  const RecentArgs recent =
      parse_ok<RecentArgs>({"recent", "--since", "1w", "--since=2w", "--symbols", "--source-only",
                            "--limit", "-1", "--offset", "7"});
  EXPECT_EQ(recent.question.since, "2w");
  EXPECT_TRUE(recent.question.include_symbols && recent.question.source_only);
  EXPECT_EQ(recent.question.limit, -1);
  EXPECT_EQ(recent.question.offset, 7);
  EXPECT_TRUE(parse_ok<IndexArgs>({"index", "--full"}).full);
  const ReportArgs report =
      parse_ok<ReportArgs>({"report", "--since", "3m", "--format", "markdown", "--branch="});
  EXPECT_EQ(report.output, std::nullopt);
  EXPECT_EQ(report.branch, "");
  EXPECT_EQ(report.format, "markdown");
}

TEST(CommandLineTest, CouplingTakesItsThresholdsAndLeftOutOnesAreTheUsualOnes) {
  const git_history::CouplingOptions usual =
      parse_ok<CouplingArgs>({"coupling", "--since", "1y"}).question;
  EXPECT_EQ(std::tuple(usual.path, usual.min_revisions, usual.min_shared, usual.min_degree,
                       usual.max_changeset, usual.limit),
            std::tuple(std::nullopt, 5, 5, 0.3, 30, 50));
  // Out of range is the module's to refuse, with its own message.
  const git_history::CouplingOptions given =
      parse_ok<CouplingArgs>({"coupling", "--since", "1y", "--path=", "--min-revisions", "-2",
                              "--min-shared=0", "--min-degree", "1.5", "--max-changeset", "1"})
          .question;
  EXPECT_EQ(std::tuple(given.path, given.min_revisions, given.min_shared, given.min_degree,
                       given.max_changeset),
            std::tuple(std::optional<std::string>(""), -2, 0, 1.5, 1));
  EXPECT_FALSE(parse_ok<DiffArgs>({"diff"}).partners);
  EXPECT_EQ(parse_ok<DiffArgs>({"diff", "--partners"}).partners_since, "1 year");
}

TEST(CommandLineTest, UsageErrorsExitTwoAndHelpExitsZero) {
  const std::vector<std::vector<std::string>> errors = {
      {"hotspots", "--branch", "main"},
      {"recent", "--since", "1w", "--limit", "many"},
      {"recent", "--since", "1w", "--group-by", "file"},
      {"diff", "--partners-since", "6m"},
      {"coupling", "--since", "1y", "--min-degree", "high"},
      {"index", "extra"},
      {"report", "--since", "1w", "--format", "pdf"},
      {"help", "frobnicate"},
  };
  for (const auto& args : errors) {
    SCOPED_TRACE(testing::PrintToString(args));
    const ParsedCommandLine parsed = parse_command_line(args);
    EXPECT_EQ(parsed.exit_code, kExitUsage);
    EXPECT_FALSE(parsed.command_line);
    EXPECT_EQ(parsed.out, "");
    EXPECT_TRUE(parsed.err.starts_with("lomarind: ")) << parsed.err;
  }
  const std::pair<std::vector<std::string>, std::string> messages[] = {
      {{"frobnicate"},
       "unknown command 'frobnicate'; the commands are recent, hotspots, diff, coupling, index and "
       "report"},
      {{"hotspot"},
       "unknown command 'hotspot'; did you mean 'hotspots'? The commands are recent, hotspots, "
       "diff, coupling, index and report"},
      {{"hotspots", "--sinc", "1y"}, "unknown option '--sinc'; did you mean '--since'?"},
      {{"diff", "--bse=main"}, "unknown option '--bse'; did you mean '--base'?"},
      {{"recent", "--since", "1w", "--frobnicate"}, "unknown option '--frobnicate'"},
  };
  for (const auto& [args, message] : messages) {
    EXPECT_EQ(parse_command_line(args).err,
              "lomarind: " + message + "\nlomarind: run 'lomarind help' for usage\n");
  }
  for (const auto& args :
       std::vector<std::vector<std::string>>{{"recent", "--help"}, {"help", "recent"}}) {
    const ParsedCommandLine help = parse_command_line(args);
    EXPECT_EQ(help.exit_code, kExitOk);
    EXPECT_FALSE(help.command_line);
    EXPECT_NE(help.out.find("--since"), std::string::npos);
  }
  const ParsedCommandLine bare = parse_command_line({});
  EXPECT_EQ(bare.exit_code, kExitUsage);
  EXPECT_NE(bare.out.find("hotspots"), std::string::npos);
  EXPECT_EQ(parse_command_line({"help"}).out, bare.out);
  EXPECT_TRUE(parse_command_line({"--version"}).out.starts_with("lomarind "));
}

}  // namespace
}  // namespace lomarind::cli
