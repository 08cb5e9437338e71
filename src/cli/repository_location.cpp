#include "cli/repository_location.h"

#include <stdexcept>
#include <system_error>
#include <vector>

#include "cli/display_text.h"
#include "lomarind/storage/indexer.h"
#include "lomarind/utils/text.h"

namespace lomarind::cli {

namespace {

namespace fs = std::filesystem;

// git ends a printed path with one newline; a path may itself end in blanks.
std::string printed_path(std::string out) {
  if (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

// git's words when the repository belongs to another user than the one
// running it (safe.directory).
constexpr std::string_view kDubiousOwnership = "detected dubious ownership";

// Says why git refused, then git's own advice (the lines after its first).
std::string not_owned_message(const std::string& repo, std::string_view err) {
  const std::size_t end = err.find('\n');
  std::string message = "git refuses the repository of " + quoted_text(repo) +
                        " because another user owns it (" + std::string(err.substr(0, end)) + ")";
  if (end != std::string_view::npos) message += "\n" + std::string(err.substr(end + 1));
  return message;
}

// What `git rev-parse <args>` prints in `repo`, which must lie in a work
// tree; each path it prints ends with a newline.
std::string rev_parse(const git_utils::GitRunner& git, const std::string& repo,
                      std::vector<std::string> args) {
  args.insert(args.begin(), "rev-parse");
  const git_utils::GitResult result = git.run(repo, args);
  if (result.exit_status != 0 && result.err.find(kDubiousOwnership) != std::string::npos) {
    throw std::runtime_error(not_owned_message(repo, std::string(text::trim(result.err))));
  }
  if (result.exit_status != 0 || result.out.empty() || result.out.front() == '\n') {
    std::string message = quoted_text(repo) + " is not inside a git work tree";
    if (const std::string why(text::trim(result.err)); !why.empty()) message += " (" + why + ")";
    throw std::runtime_error(message + "; pass --repo with a folder of a repository");
  }
  return result.out;
}

// The work tree's top level of `repo`, any folder inside it.
fs::path top_level(const git_utils::GitRunner& git, const std::string& repo) {
  std::error_code error;
  if (!fs::is_directory(repo, error)) {
    throw std::runtime_error("cannot use --repo " + quoted_text(repo) +
                             ": no such folder; pass a folder inside a git work tree");
  }
  return printed_path(rev_parse(git, repo, {"--show-toplevel"}));
}

}  // namespace

RepositoryLocation locate_repository(const git_utils::GitRunner& git,
                                     const GlobalOptions& options) {
  if (options.index && options.index->empty()) {
    throw std::runtime_error("--index is empty; pass the index file's name");
  }
  RepositoryLocation location;
  location.root = top_level(git, options.repo);
  location.index_given = options.index.has_value();
  location.index_file =
      options.index ? fs::absolute(*options.index)
                    : indexer::default_index_path_in(git_utils::git_common_dir(git, location.root));
  return location;
}

namespace {

std::string index_command(const RepositoryLocation& location) {
  return location.index_given
             ? "lomarind index --index " + terminal_text(location.index_file.string())
             : "lomarind index";
}

}  // namespace

repository_changes::IndexDb open_query_index(const RepositoryLocation& location, bool needed,
                                             std::ostream& err) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(location.index_file, error);
  if (status.type() != fs::file_type::not_found) {
    return repository_changes::IndexDb::open_for_queries(location.index_file);
  }
  if (needed) {
    err << "lomarind: no index at " << terminal_text(location.index_file.string())
        << ", so languages, components and symbols are unknown; run \"" << index_command(location)
        << "\" to build one\n";
  }
  return repository_changes::IndexDb();
}

void warn_if_index_of_another_commit(const RepositoryLocation& location,
                                     const repository_changes::IndexDb& db,
                                     const std::string& commit, const std::string& name,
                                     std::ostream& err) {
  const std::optional<std::string> indexed = db.indexed_commit();
  if (!indexed || *indexed == commit) return;
  err << "lomarind: the index holds commit " << terminal_text(indexed->substr(0, 12)) << ", not "
      << terminal_text(name) << " (" << terminal_text(commit.substr(0, 12))
      << "), so symbols may be missing or misplaced; run \"" << index_command(location)
      << "\" with it checked out to update it\n";
}

}  // namespace lomarind::cli
