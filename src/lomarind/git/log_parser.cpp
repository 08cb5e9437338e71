#include "lomarind/git/log_parser.h"

#include <utility>

#include "lomarind/git/git_parse.h"

namespace lomarind::git_utils {
namespace {

// Every commit starts with an empty record, and no other record is empty
// (paths never are), so two NULs in a row occur only where one commit ends
// and the next begins.
constexpr std::string_view kCommitStart("\0\0", 2);

}  // namespace

void LogParser::feed(std::string_view piece) {
  // Only the new bytes, and the one before them, can hold a new boundary.
  const std::size_t searched = pending_.empty() ? 0 : pending_.size() - 1;
  pending_.append(piece);
  const std::size_t found = std::string_view(pending_).substr(searched).rfind(kCommitStart);
  if (found == std::string_view::npos) return;
  const std::size_t end = searched + found + 1;  // the next commit's empty record stays pending
  std::vector<CommitChanges> complete = parse_log(std::string_view(pending_).substr(0, end));
  commits_.insert(commits_.end(), std::make_move_iterator(complete.begin()),
                  std::make_move_iterator(complete.end()));
  pending_.erase(0, end);
}

std::vector<CommitChanges> LogParser::finish() && {
  std::vector<CommitChanges> rest = parse_log(pending_);
  commits_.insert(commits_.end(), std::make_move_iterator(rest.begin()),
                  std::make_move_iterator(rest.end()));
  pending_.clear();
  return std::move(commits_);
}

}  // namespace lomarind::git_utils
