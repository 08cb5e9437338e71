#include "cli/command_line.h"

#include <gtest/gtest.h>

namespace lomarind::cli {
namespace {

CommandLine parse_ok(const std::vector<std::string>& args) {
  ParsedCommandLine parsed = parse_command_line(args);
  EXPECT_EQ(parsed.exit_code, kExitOk) << parsed.err;
  EXPECT_TRUE(parsed.command_line.has_value());
  return parsed.command_line.value_or(CommandLine{});
}

TEST(CommandLineTest, LeftOutOptionsAreAbsentAndDefaultsHold) {
  const CommandLine line = parse_ok({"hotspots", "--since", "1 year"});
  EXPECT_EQ(line.global.repo, ".");
  EXPECT_EQ(line.global.index, std::nullopt);
  const auto& args = std::get<HotspotsArgs>(line.command);
  EXPECT_EQ(args.since, "1 year");
  EXPECT_EQ(args.branch, std::nullopt);
  EXPECT_EQ(args.group_by, "file");
  EXPECT_EQ(args.limit, 50);
  EXPECT_EQ(args.offset, 0);
  EXPECT_FALSE(args.source_only);
  EXPECT_FALSE(args.json);

  const CommandLine diff_line = parse_ok({"diff"});
  const auto& diff = std::get<DiffArgs>(diff_line.command);
  EXPECT_EQ(diff.base, std::nullopt);
  EXPECT_EQ(diff.head, std::nullopt);
}

TEST(CommandLineTest, EmptyAndDashValuesAreNames) {
  struct Case {
    std::vector<std::string> args;
    std::optional<std::string> branch;
  } cases[] = {
      {{"recent", "--since", "1w", "--branch", ""}, ""},
      {{"recent", "--since", "1w", "--branch="}, ""},
      {{"recent", "--since", "1w", "--branch=-x"}, "-x"},
      {{"recent", "--since", "1w", "--branch=a=b"}, "a=b"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args.back());
    EXPECT_EQ(std::get<RecentArgs>(parse_ok(c.args).command).branch, c.branch);
  }
  const CommandLine hot_line = parse_ok({"hotspots", "--since", "", "--group-by", "File"});
  const auto& hot = std::get<HotspotsArgs>(hot_line.command);
  EXPECT_EQ(hot.since, "");
  EXPECT_EQ(hot.group_by, "File");
}

TEST(CommandLineTest, GlobalOptionsGoBeforeOrAfterTheCommand) {
  const CommandLine before = parse_ok({"--repo", "r", "--index", "i.db", "diff", "--json"});
  const CommandLine after = parse_ok({"diff", "--json", "--repo", "r", "--index=i.db"});
  for (const CommandLine* line : {&before, &after}) {
    EXPECT_EQ(line->global.repo, "r");
    EXPECT_EQ(line->global.index, "i.db");
    EXPECT_TRUE(std::get<DiffArgs>(line->command).json);
  }
  const CommandLine recent_line = parse_ok(
      {"recent", "--since=2w", "--symbols", "--source-only", "--limit", "-1", "--offset", "7"});
  const auto& recent = std::get<RecentArgs>(recent_line.command);
  EXPECT_TRUE(recent.symbols);
  EXPECT_TRUE(recent.source_only);
  EXPECT_EQ(recent.limit, -1);
  EXPECT_EQ(recent.offset, 7);
  const CommandLine index_line = parse_ok({"index", "--full"});
  EXPECT_TRUE(std::get<IndexArgs>(index_line.command).full);
}

TEST(CommandLineTest, UsageErrorsExitTwoWithAMessage) {
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"frobnicate"},
      {"recent"},
      {"hotspots", "--branch", "main"},
      {"recent", "--since", "1w", "--limit", "many"},
      {"recent", "--since", "1w", "--group-by", "file"},
      {"diff", "--since", "1w"},
      {"index", "extra"},
      {"--repo", "a", "diff", "--repo", "b"},
  };
  for (const auto& args : cases) {
    SCOPED_TRACE(testing::PrintToString(args));
    const ParsedCommandLine parsed = parse_command_line(args);
    EXPECT_EQ(parsed.exit_code, kExitUsage);
    EXPECT_FALSE(parsed.command_line);
    EXPECT_TRUE(parsed.out.empty());
    EXPECT_TRUE(parsed.err.starts_with("lomarind: ")) << parsed.err;
  }
  EXPECT_EQ(parse_command_line({"frobnicate"}).err,
            "lomarind: unknown command 'frobnicate'; the commands are recent, hotspots, diff "
            "and index\nRun 'lomarind --help' for usage.\n");
}

TEST(CommandLineTest, HelpAndVersionPrintAndSucceed) {
  for (const auto& args : std::vector<std::vector<std::string>>{
           {"--help"}, {"--version"}, {"recent", "--help"}, {"-h"}}) {
    const ParsedCommandLine parsed = parse_command_line(args);
    EXPECT_EQ(parsed.exit_code, kExitOk);
    EXPECT_FALSE(parsed.command_line);
    EXPECT_FALSE(parsed.out.empty());
  }
  EXPECT_NE(parse_command_line({"recent", "--help"}).out.find("--since"), std::string::npos);
  EXPECT_TRUE(parse_command_line({"--version"}).out.starts_with("lomarind "));
}

}  // namespace
}  // namespace lomarind::cli
