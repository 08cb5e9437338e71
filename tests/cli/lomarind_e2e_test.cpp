// Runs the built lomarind program on real temporary repositories.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "lomarind/utils/json.h"
#include "support/temp_git_repo.h"

namespace lomarind::cli {
namespace {

using lomarind::testing::CommandResult;
using lomarind::testing::TempDir;
using lomarind::testing::TempGitRepo;

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kStart = 1700000000;  // 2023-11-14

class LomarindProgramTest : public ::testing::Test {
 protected:
  LomarindProgramTest() {
    repo_.write("src/app/main.cc", "int main() {}\n");
    repo_.write("README.md", "hello\n");
    repo_.commit("first", kStart);
    repo_.write("src/app/main.cc", "int main() {\n  return 0;\n}\n");
    repo_.write("src/lib/util.cc", "void f() {}\n");
    repo_.commit("second", kStart + kDay);
    repo_.write("src/app/main.cc", "int main() {\n  return 1;\n}\n");
    repo_.commit("third", kStart + 2 * kDay);
  }

  // Runs lomarind in `cwd` (the repository root by default) with an empty
  // home and no system config, so no configuration of git on this machine
  // reaches it.
  CommandResult lomarind(std::vector<std::string> args, std::filesystem::path cwd = {}) const {
    args.insert(args.begin(), LOMARIND_BINARY);
    return lomarind::testing::run_command(
        args, cwd.empty() ? repo_.root() : cwd,
        {"HOME=" + home_.path().string(), "XDG_CONFIG_HOME=" + home_.path().string(), "NO_COLOR=1",
         "GIT_CONFIG_NOSYSTEM=1"});
  }

  Json answer(const std::vector<std::string>& args, std::filesystem::path cwd = {}) const {
    const CommandResult result = lomarind(args, std::move(cwd));
    EXPECT_EQ(result.status, 0) << result.err;
    return Json::parse(result.out);
  }

  // The object's keys in order, separated by spaces.
  static std::string keys(const Json& object) {
    std::string names;
    for (const auto& item : object.items()) names += (names.empty() ? "" : " ") + item.key();
    return names;
  }

  TempDir home_;
  TempGitRepo repo_;
};

TEST_F(LomarindProgramTest, JsonKeepsTheAnswersKeyOrderAndNumberKinds) {
  const CommandResult result = lomarind({"hotspots", "--since", "2023-01-01", "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  const Json hot = Json::parse(result.out);
  EXPECT_EQ(keys(hot),
            "since branch commit_count group_by excluded_files hotspots total_count truncated "
            "has_more offset");
  EXPECT_EQ(keys(hot["hotspots"][0]), "name type commits additions deletions component risk_score");
  EXPECT_EQ(hot["hotspots"][0]["name"], "src/app/main.cc");
  EXPECT_NE(result.out.find("\"risk_score\": 1.0"), std::string::npos);
  EXPECT_NE(result.out.find("\"risk_score\": 0.33"), std::string::npos);

  repo_.git({"checkout", "-q", "-b", "topic"});
  repo_.write("src/lib/util.cc", "void f() {}\nvoid g() {}\n");
  repo_.commit("topic work", kStart + 3 * kDay);
  const Json diff = answer({"diff", "--json"});
  EXPECT_EQ(diff["head_branch"], "topic");
  EXPECT_EQ(diff["files"].dump(),
            R"([{"path":"src/lib/util.cc","status":"modified","additions":1,"deletions":0}])");
}

// A header edited with its source five times, then renamed with it; a mass
// change of 33 files counts nowhere. The base's history judges a branch.
TEST_F(LomarindProgramTest, CouplingFollowsRenamesSkipsBulkCommitsAndJudgesABranch) {
  for (int i = 0; i < 5; ++i) {
    repo_.write("src/app/main.cc", "int main() { return " + std::to_string(i) + "; }\n");
    repo_.write("src/app/main.h", "// " + std::to_string(i) + "\n");
    repo_.commit("together", kStart + (3 + i) * kDay);
  }
  repo_.git({"mv", "src/app/main.h", "src/app/app.h"});
  repo_.write("src/app/main.cc", "#include \"app.h\"\nint main() {}\n");
  repo_.commit("rename", kStart + 8 * kDay);
  for (int i = 0; i < 31; ++i) repo_.write("bulk/f" + std::to_string(i) + ".txt", "x\n");
  repo_.write("src/app/main.cc", "int main() { return 9; }\n");
  repo_.write("src/app/app.h", "// bulk\n");
  repo_.commit("mass change", kStart + 9 * kDay);

  const CommandResult result = lomarind({"coupling", "--since", "2023-01-01", "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  const Json coupling = Json::parse(result.out);
  EXPECT_EQ(keys(coupling),
            "since branch commit_count bulk_commits excluded_files pairs total_count truncated "
            "has_more offset");
  EXPECT_EQ(coupling["bulk_commits"], 1);
  EXPECT_EQ(coupling["pairs"].dump(),
            R"([{"path":"src/app/app.h","coupled_path":"src/app/main.cc","degree":0.8,)"
            R"("shared_commits":6,"commits":6,"coupled_commits":9}])");
  EXPECT_NE(result.out.find("\"degree\": 0.8,"), std::string::npos);

  repo_.git({"checkout", "-q", "-b", "topic"});
  repo_.write("src/app/main.cc", "int main() { return 10; }\n");
  repo_.commit("topic work", kStart + 10 * kDay);
  const Json diff = answer({"diff", "--partners", "--partners-since", "2023-01-01", "--json"});
  EXPECT_EQ(std::prev(diff.end()).key(), "missing_partners");
  EXPECT_EQ(diff["missing_partners"].dump(),
            R"([{"path":"src/app/app.h","coupled_path":"src/app/main.cc","degree":0.8,)"
            R"("shared_commits":6}])");
  const CommandResult table = lomarind({"diff", "--partners", "--partners-since", "2023-01-01"});
  EXPECT_NE(table.out.find("Probably also needs"), std::string::npos) << table.out;
}

TEST_F(LomarindProgramTest, CouplingThresholdsAreRefusedBeforeAnyRepositoryIsSought) {
  TempDir elsewhere;
  const CommandResult result =
      lomarind({"coupling", "--since", "1y", "--min-degree", "1.50"}, elsewhere.path());
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "lomarind: min_degree must be between 0 and 1; got 1.5\n");
}

TEST_F(LomarindProgramTest, ExitStatusSaysWhoIsWrong) {
  TempDir elsewhere;
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string err_start;
  } cases[] = {
      {{"recent", "--since", "2 weeks", "--branch", "nope"},
       1,
       "lomarind: Branch 'nope' not found; leave branch empty to use the current branch\n"},
      {{"diff", "--repo", elsewhere.path().string()},
       1,
       "lomarind: '" + elsewhere.path().string() + "' is not inside a git work tree"},
      {{"recent"}, 2, "lomarind: --since is required\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.err_start);
    const CommandResult result = lomarind(c.args);
    EXPECT_EQ(result.status, c.status) << result.err;
    EXPECT_EQ(result.out, "");
    // The missing index is mentioned first when the question gets that far.
    const std::string err = result.err.substr(
        result.err.starts_with("lomarind: no index") ? result.err.find('\n') + 1 : 0);
    EXPECT_TRUE(err.starts_with(c.err_start)) << result.err;
  }
}

TEST_F(LomarindProgramTest, RepoMayBeAnyFolderInsideAWorkTree) {
  TempDir elsewhere;
  const Json recent = answer({"--repo", (repo_.root() / "src" / "lib").string(), "recent",
                              "--since", "2023-01-01", "--json"},
                             elsewhere.path());
  EXPECT_EQ(recent["total_count"], 3);
  EXPECT_EQ(recent["files"][1]["path"], "src/lib/util.cc");

  // A linked work tree reads the index of its repository.
  const std::filesystem::path linked = elsewhere.path() / "linked";
  repo_.git({"worktree", "add", "--quiet", "--detach", linked.string()});
  const CommandResult result =
      lomarind({"--repo", linked.string(), "hotspots", "--since", "2023-01-01", "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  const std::string index = (repo_.root() / ".git" / "lomarind" / "index.db").string();
  EXPECT_NE(result.err.find("no index at " + index + ","), std::string::npos) << result.err;
  EXPECT_EQ(Json::parse(result.out)["total_count"], 3);
}

TEST_F(LomarindProgramTest, MissingIndexIsSaidOnceWhereUsedAndAnIndexOfAnotherCommitIsSaid) {
  const std::vector<std::string> components = {"hotspots",   "--since",   "2023-01-01",
                                               "--group-by", "component", "--json"};
  EXPECT_EQ(lomarind({"diff", "--base", "HEAD~1"}).err, "");  // no index needed
  const CommandResult before = lomarind(components);
  ASSERT_EQ(before.status, 0) << before.err;
  const std::string index = (repo_.root() / ".git" / "lomarind" / "index.db").string();
  EXPECT_EQ(before.err, "lomarind: no index at " + index +
                            ", so languages, components and symbols are unknown; run \"lomarind "
                            "index\" to build one\n");
  EXPECT_EQ(Json::parse(before.out)["hotspots"][0]["name"], "unknown");

  const CommandResult built = lomarind({"index"});
  ASSERT_EQ(built.status, 0) << built.err;
  EXPECT_TRUE(built.out.starts_with("Indexed 3 files")) << built.out;
  const CommandResult after = lomarind(components);
  EXPECT_EQ(after.err, "");
  EXPECT_EQ(Json::parse(after.out)["hotspots"][0]["name"], "src");
  EXPECT_EQ(lomarind({"diff", "--base", "HEAD~1", "--symbols"}).err, "");

  repo_.write("README.md", "hello again\n");
  repo_.commit("fourth", kStart + 3 * kDay);
  const CommandResult stale = lomarind({"diff", "--base", "HEAD~1", "--symbols"});
  EXPECT_EQ(stale.status, 0);
  EXPECT_TRUE(stale.err.starts_with("lomarind: the index holds commit ")) << stale.err;
  EXPECT_NE(stale.err.find(", not HEAD ("), std::string::npos) << stale.err;

  const CommandResult bad = lomarind({"diff", "--index", (repo_.root() / "README.md").string()});
  EXPECT_EQ(bad.status, 1);
  EXPECT_TRUE(bad.err.starts_with("lomarind: ")) << bad.err;
  EXPECT_EQ(bad.out, "");
}

TEST_F(LomarindProgramTest, PathBytesThatAreNotUtf8BecomeSurrogateEscapes) {
  repo_.write("caf\xe9\x1b.txt", "x\n");
  repo_.commit("latin-1 name", kStart + 3 * kDay);
  const CommandResult json = lomarind({"recent", "--since", "2023-01-01", "--json"});
  ASSERT_EQ(json.status, 0) << json.err;
  EXPECT_NE(json.out.find(R"("path": "caf\udce9\u001b.txt")"), std::string::npos) << json.out;
}

// git's own multi-line refusals keep the program's prefix on every line.
TEST_F(LomarindProgramTest, EveryLineOfAnErrorSaysLomarind) {
  TempGitRepo unknown_extension, foreign;
  unknown_extension.commit("first", kStart);
  unknown_extension.git({"config", "core.repositoryformatversion", "1"});
  unknown_extension.git({"config", "extensions.lomarindtest", "yes"});
  const bool can_give_away =
      ::geteuid() == 0 && ::chown(foreign.root().c_str(), 65534, 65534) == 0;  // to nobody
  struct Case {
    const TempGitRepo& repo;
    std::string says;
  } cases[] = {{unknown_extension, "lomarindtest"},
               {foreign, "another user owns it (fatal: detected dubious ownership"}};
  for (const Case& c : cases) {
    if (&c.repo == &foreign && !can_give_away) continue;
    const CommandResult result = lomarind({"recent", "--since", "1y"}, c.repo.root());
    SCOPED_TRACE(result.err);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find(c.says), std::string::npos);
    EXPECT_GT(std::count(result.err.begin(), result.err.end(), '\n'), 1);
    std::istringstream lines(result.err);
    for (std::string line; std::getline(lines, line);) EXPECT_TRUE(line.starts_with("lomarind: "));
  }
}

TEST_F(LomarindProgramTest, CommitsPastYear9999AreDatedNotRefused) {
  repo_.write("README.md", "from the future\n");
  repo_.commit("far ahead", 300'000'000'000);
  const Json recent = answer({"recent", "--since", "2023-01-01", "--json"});
  EXPECT_EQ(recent["files"][0]["last_changed"], "+11476-08-15T05:20:00+00:00");
}

TEST_F(LomarindProgramTest, ReportFormatFollowsTheOutputAndDashIsStdout) {
  const CommandResult to_stdout = lomarind({"report", "--since", "2023-01-01", "--output", "-"});
  EXPECT_EQ(to_stdout.status, 0) << to_stdout.err;
  EXPECT_TRUE(to_stdout.out.starts_with("<!DOCTYPE html>"));
  EXPECT_FALSE(std::filesystem::exists(repo_.root() / "-"));

  const CommandResult wiki = lomarind({"report", "--since", "2023-01-01", "--output", "wiki.md"});
  EXPECT_EQ(wiki.status, 0) << wiki.err;
  EXPECT_EQ(lomarind::testing::read_file(repo_.root() / "wiki.md").rfind("# Hotspots of ", 0), 0u);

  const CommandResult mismatch = lomarind(
      {"report", "--since", "2023-01-01", "--format", "markdown", "--output", "page.html"});
  EXPECT_EQ(mismatch.status, 1);
  EXPECT_EQ(mismatch.err,
            "lomarind: --output 'page.html' is named as an HTML page but --format is markdown; "
            "name the file .md or leave --format out\n");
  EXPECT_FALSE(std::filesystem::exists(repo_.root() / "page.html"));
}

}  // namespace
}  // namespace lomarind::cli
