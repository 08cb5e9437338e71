#include "lomarind/git/git_parse.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace lomarind::git_utils {
namespace {

[[noreturn]] void malformed(std::string_view what) {
  throw GitError("unexpected git output: " + std::string(what));
}

// The NUL-terminated records of -z output, read front to back.
class Records {
 public:
  explicit Records(std::string_view text) : rest_(text) {}

  bool done() const { return rest_.empty(); }
  // The first byte of the next record; '\0' when it is empty.
  char peek() const { return rest_.front(); }

  std::string_view next() {
    std::size_t end = rest_.find('\0');
    if (end == std::string_view::npos) malformed("a record is cut short");
    std::string_view record = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
    return record;
  }

  // git log puts a newline between a commit's header and its first raw entry.
  void skip_newline() {
    if (!rest_.empty() && rest_.front() == '\n') rest_.remove_prefix(1);
  }

 private:
  std::string_view rest_;
};

std::int64_t parse_integer(std::string_view text, std::string_view what) {
  std::int64_t value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || text.empty()) malformed(what);
  return value;
}

// Status letters of --raw. T (a type change) counts as an edit.
std::string status_name(char letter) {
  switch (letter) {
    case 'A':
      return "added";
    case 'M':
      return "modified";
    case 'T':
      return "modified";
    case 'D':
      return "deleted";
    case 'R':
      return "renamed";
    case 'C':
      return "copied";
    default:
      malformed(std::string("unknown change status '") + letter + "'");
  }
}

// A path is never empty: in a log, an empty record starts a commit, and
// nothing else may look like one.
std::string_view path_record(Records& records) {
  const std::string_view path = records.next();
  if (path.empty()) malformed("a path is empty");
  return path;
}

// ":old_mode new_mode old_sha new_sha STATUS\0path\0" with a second path
// (the new one) for R and C.
FileChange read_raw_entry(Records& records) {
  std::string_view fields = records.next();
  std::size_t space = fields.rfind(' ');
  if (fields.size() < 2 || fields.front() != ':' || space == std::string_view::npos ||
      space + 1 == fields.size()) {
    malformed("a raw entry has no status");
  }
  char letter = fields[space + 1];
  FileChange change;
  change.status = status_name(letter);
  std::string_view first = path_record(records);
  if (letter == 'R' || letter == 'C') {
    change.old_path = std::string(first);
    change.path = std::string(path_record(records));
  } else {
    change.path = std::string(first);
  }
  return change;
}

// "-" is what numstat prints for a binary file.
std::int64_t parse_count(std::string_view text) {
  return text == "-" ? 0 : parse_integer(text, "a line count is not a number");
}

// "added\tdeleted\tpath\0", or "added\tdeleted\t\0old\0new\0" for a rename
// or copy. Entries come in the order of the raw entries; the paths must
// agree, or the two lists are out of step.
void read_numstat_entry(Records& records, FileChange& change) {
  std::string_view fields = records.next();
  std::size_t tab1 = fields.find('\t');
  std::size_t tab2 = tab1 == std::string_view::npos ? tab1 : fields.find('\t', tab1 + 1);
  if (tab2 == std::string_view::npos) malformed("a line count entry is incomplete");
  change.additions = parse_count(fields.substr(0, tab1));
  change.deletions = parse_count(fields.substr(tab1 + 1, tab2 - tab1 - 1));
  std::string_view path = fields.substr(tab2 + 1);
  bool matches;
  if (path.empty()) {
    std::string_view old_path = path_record(records);
    path = path_record(records);
    matches = change.old_path.has_value() && *change.old_path == old_path;
  } else {
    matches = !change.old_path.has_value();
  }
  if (!matches || change.path != path) malformed("line counts do not match the changed files");
}

// One change set: raw entries, then as many numstat entries. Stops at the
// end or at an empty record (the next commit of a log).
std::vector<FileChange> read_changes(Records& records) {
  std::vector<FileChange> changes;
  while (!records.done() && records.peek() == ':') changes.push_back(read_raw_entry(records));
  for (FileChange& change : changes) {
    if (records.done()) malformed("line counts are missing");
    read_numstat_entry(records, change);
  }
  return changes;
}

// A commit id is hex; anything else means the records are out of step.
CommitChanges commit_of(std::string_view id, std::string_view time) {
  if (id.empty() || id.find_first_not_of("0123456789abcdef") != std::string_view::npos) {
    malformed("a commit id is not hexadecimal");
  }
  return CommitChanges{std::string(id), parse_integer(time, "a commit time is not a number"), {}};
}

// "<id> <time>"
CommitChanges read_commit_header(std::string_view header) {
  const std::size_t space = header.find(' ');
  if (space == 0 || space == std::string_view::npos) malformed("a commit header is incomplete");
  return commit_of(header.substr(0, space), header.substr(space + 1));
}

int octal_digit(char c) { return c >= '0' && c <= '7' ? c - '0' : -1; }

char escaped_char(char c) {
  switch (c) {
    case 'a':
      return '\a';
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    case 'v':
      return '\v';
    case '"':
      return '"';
    case '\\':
      return '\\';
    default:
      malformed("a quoted path has an unknown escape");
  }
}

// The path of a "+++ " line: absent for /dev/null (a deleted file). git
// quotes a name with control characters, quotes or backslashes, and ends a
// name that holds a space with a tab (a tab of the name itself is quoted).
std::optional<std::string> head_side_path(std::string_view name) {
  if (name.ends_with('\t')) name.remove_suffix(1);
  if (name == "/dev/null") return std::nullopt;
  std::string path = unquote_path(name);
  if (!path.starts_with("b/")) malformed("a file header lacks the b/ prefix");
  path.erase(0, 2);
  return path;
}

// "@@ -a[,b] +c[,d] @@ ...": the head side starts at line c and runs d lines
// (1 when d is left out).
std::optional<LineSpan> hunk_span(std::string_view line) {
  std::size_t plus = line.find(" +");
  std::size_t end = plus == std::string_view::npos ? plus : line.find(' ', plus + 2);
  if (end == std::string_view::npos) malformed("a hunk header is incomplete");
  std::string_view range = line.substr(plus + 2, end - plus - 2);
  std::size_t comma = range.find(',');
  std::int64_t start = parse_integer(range.substr(0, comma), "a hunk start is not a number");
  std::int64_t count =
      comma == std::string_view::npos
          ? 1
          : parse_integer(range.substr(comma + 1), "a hunk length is not a number");
  if (count == 0) return std::nullopt;
  // Lines count from 1, and the last one must be a number too.
  if (start < 1 || count < 0 || count - 1 > std::numeric_limits<std::int64_t>::max() - start) {
    malformed("a hunk's lines lie outside the file");
  }
  return LineSpan{start, start + count - 1, false};
}

}  // namespace

std::string unquote_path(std::string_view text) {
  if (!text.starts_with('"')) return std::string(text);
  if (text.size() < 2 || !text.ends_with('"')) malformed("a quoted path is not closed");
  text = text.substr(1, text.size() - 2);
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      out.push_back(text[i]);
    } else if (i + 1 == text.size()) {
      malformed("a quoted path ends in a backslash");
    } else if (octal_digit(text[i + 1]) < 0) {
      out.push_back(escaped_char(text[++i]));
    } else {
      if (i + 3 >= text.size() || octal_digit(text[i + 2]) < 0 || octal_digit(text[i + 3]) < 0) {
        malformed("a quoted path has a short octal escape");
      }
      int value =
          octal_digit(text[i + 1]) * 64 + octal_digit(text[i + 2]) * 8 + octal_digit(text[i + 3]);
      out.push_back(static_cast<char>(value));
      i += 3;
    }
  }
  return out;
}

// Lines are told apart by their start: within a hunk every line starts with
// '+', '-', ' ' or '\', so "diff --git " and "@@ " only ever start a file or
// a hunk, and "+++ " is the head path only in a file's header.
LineSpansByPath parse_line_spans(std::string_view patch) {
  LineSpansByPath spans;
  std::optional<std::string> path;
  bool in_header = false;
  bool has_entry = false;
  while (!patch.empty()) {
    std::size_t newline = patch.find('\n');
    std::string_view line = patch.substr(0, newline);
    patch.remove_prefix(newline == std::string_view::npos ? patch.size() : newline + 1);
    if (line.starts_with("diff --git ")) {
      in_header = true;
      path.reset();
      has_entry = false;
    } else if (in_header && line.starts_with("+++ ")) {
      path = head_side_path(line.substr(4));
    } else if (line.starts_with("@@ ")) {
      in_header = false;
      std::optional<LineSpan> span = hunk_span(line);
      if (!span || !path) continue;
      if (!has_entry) spans.emplace_back(*path, std::vector<LineSpan>{});
      has_entry = true;
      spans.back().second.push_back(*span);
    }
  }
  return spans;
}

std::vector<FileChange> parse_file_changes(std::string_view output) {
  Records records(output);
  std::vector<FileChange> changes = read_changes(records);
  if (!records.done()) malformed("a diff entry is not a raw or line count entry");
  return changes;
}

std::vector<CommitChanges> parse_log(std::string_view output) {
  Records records(output);
  std::vector<CommitChanges> commits;
  while (!records.done()) {
    if (!records.next().empty()) malformed("a log entry is not a commit header");
    commits.push_back(read_commit_header(records.next()));
    records.skip_newline();
    commits.back().files = read_changes(records);
  }
  return commits;
}

std::vector<CommitChanges> parse_commit_times(std::string_view output) {
  std::vector<CommitChanges> commits;
  while (!output.empty()) {
    const std::size_t end = output.find('\n');
    if (end == std::string_view::npos) malformed("a commit line is incomplete");
    const std::string_view line = output.substr(0, end);
    const std::size_t space = line.find(' ');
    if (space == std::string_view::npos) malformed("a commit line is incomplete");
    commits.push_back(commit_of(line.substr(space + 1), line.substr(0, space)));
    output.remove_prefix(end + 1);
  }
  return commits;
}

}  // namespace lomarind::git_utils
