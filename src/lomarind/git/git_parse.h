// Parsers for the output of the git commands that GitCli runs: pure
// functions from git's text to the reader's records. Paths keep their raw
// bytes (any byte but NUL, not necessarily UTF-8). Output that does not have
// the expected shape, truncated output included, throws GitError.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lomarind/utils/git_utils.h"

namespace lomarind::git_utils {

// The --format of the log that parse_log reads. The leading NUL puts an
// empty record before each commit, which no path can be (paths are never
// empty), so a commit header can never be mistaken for a file.
inline constexpr std::string_view kLogFormat = "--format=%x00%H %ct";

// The files of `git diff -z --raw --numstat`, in git's order: raw entries
// give status and paths, numstat entries (in the same order) the line
// counts. Binary files count 0 and 0.
std::vector<FileChange> parse_file_changes(std::string_view output);

// The commits of `git log -z --raw --numstat` with kLogFormat, in git's
// order. A commit without a diff (a merge) has no files.
std::vector<CommitChanges> parse_log(std::string_view output);

// The commits of `git rev-list --timestamp`, in git's order, without files.
std::vector<CommitChanges> parse_commit_times(std::string_view output);

// The head-side spans of the hunks of `git diff -U0` with the b/ destination
// prefix, keyed by head-side path in the diff's order. A hunk without lines
// on the head side gives no span, a file without such hunks (deleted,
// binary, only renamed) no entry.
LineSpansByPath parse_line_spans(std::string_view patch);

// Undoes git's C-style quoting of a path ("a\tb" with octal escapes for
// other bytes); text that does not start with a double quote is returned
// as it is.
std::string unquote_path(std::string_view text);

}  // namespace lomarind::git_utils
