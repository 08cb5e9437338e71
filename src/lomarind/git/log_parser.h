// Reads a `git log` as git writes it: each commit is parsed as soon as all
// of it has arrived, so a long log is parsed while git is still producing
// it and never held whole in memory.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lomarind/utils/git_utils.h"

namespace lomarind::git_utils {

class LogParser {
 public:
  // Takes the next piece of the output of `git log -z --raw --numstat` with
  // kLogFormat (git_parse.h); pieces may be cut anywhere. Throws GitError,
  // as parse_log does, for a complete commit that is malformed.
  void feed(std::string_view piece);

  // The commits of all the pieces, in git's order: exactly what parse_log
  // gives for their concatenation.
  std::vector<CommitChanges> finish() &&;

 private:
  std::string pending_;  // the start of a commit whose end has not arrived
  std::vector<CommitChanges> commits_;
};

}  // namespace lomarind::git_utils
