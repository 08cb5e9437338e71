#include "cli/repository_location.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "cli/answer_text.h"
#include "cli/display_text.h"
#include "lomarind/storage/indexer.h"

namespace lomarind::cli {

namespace {

namespace fs = std::filesystem;

// git ends a printed path with one newline; a path may itself end in blanks.
std::string printed_path(std::string out) {
  if (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

std::string trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return "";
  const auto last = text.find_last_not_of(" \t\r\n");
  return std::string(text.substr(first, last - first + 1));
}

// What `git rev-parse <args>` prints in `repo`, which must lie in a work
// tree; each path it prints ends with a newline.
std::string rev_parse(const git_utils::GitRunner& git, const std::string& repo,
                      std::vector<std::string> args) {
  args.insert(args.begin(), "rev-parse");
  const git_utils::GitResult result = git.run(repo, args);
  if (result.exit_status != 0 || result.out.empty() || result.out.front() == '\n') {
    std::string message = quoted_text(repo) + " is not inside a git work tree";
    if (const std::string why = trimmed(result.err); !why.empty()) message += " (" + why + ")";
    throw std::runtime_error(message + "; pass --repo with a folder of a repository");
  }
  return result.out;
}

// The work tree's top level and, unless a path holds a newline, the git
// common dir: one git command answers both.
struct GitPaths {
  fs::path top_level;
  std::optional<fs::path> common_dir;
};

GitPaths git_paths(const git_utils::GitRunner& git, const std::string& repo) {
  std::error_code error;
  if (!fs::is_directory(repo, error)) {
    throw std::runtime_error("cannot use --repo " + quoted_text(repo) +
                             ": no such folder; pass a folder inside a git work tree");
  }
  const std::string both =
      rev_parse(git, repo, {"--path-format=absolute", "--show-toplevel", "--git-common-dir"});
  // Two newlines in all: one ending each path, none inside either.
  if (std::count(both.begin(), both.end(), '\n') == 2 && both.back() == '\n') {
    const std::size_t split = both.find('\n');
    return {both.substr(0, split), printed_path(both.substr(split + 1))};
  }
  return {printed_path(rev_parse(git, repo, {"--show-toplevel"})), std::nullopt};
}
}  // namespace

RepositoryLocation locate_repository(const git_utils::GitRunner& git,
                                     const GlobalOptions& options) {
  if (options.index && options.index->empty()) {
    throw std::runtime_error("--index is empty; pass the index file's name");
  }
  RepositoryLocation location;
  GitPaths paths = git_paths(git, options.repo);
  location.root = std::move(paths.top_level);
  location.index_given = options.index.has_value();
  if (options.index) {
    location.index_file = fs::absolute(*options.index);
  } else if (paths.common_dir) {
    location.index_file = indexer::default_index_path_in(*paths.common_dir);
  } else {
    location.index_file = indexer::default_index_path(location.root);
  }
  return location;
}

repository_changes::IndexDb open_query_index(const RepositoryLocation& location,
                                             std::ostream& err) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(location.index_file, error);
  if (status.type() != fs::file_type::not_found) {
    return repository_changes::IndexDb::open_for_queries(location.index_file);
  }
  const std::string file = terminal_text(location.index_file.string());
  const std::string build =
      location.index_given ? "lomarind index --index " + file : "lomarind index";
  err << "lomarind: no index at " << file
      << ", so languages, components and symbols are unknown; run \"" << build
      << "\" to build one\n";
  return repository_changes::IndexDb();
}

}  // namespace lomarind::cli
