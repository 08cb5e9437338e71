// The log parser reads git's output as it arrives: cut anywhere, it must
// give exactly what one read of the whole output gives, or fail the same way.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "lomarind/git/git_parse.h"
#include "lomarind/git/log_parser.h"

using lomarind::git_utils::CommitChanges;
using lomarind::git_utils::GitError;

namespace {

std::optional<std::vector<CommitChanges>> in_pieces(std::string_view log, std::size_t piece) {
  try {
    lomarind::git_utils::LogParser parser;
    for (std::size_t at = 0; at < log.size(); at += piece) parser.feed(log.substr(at, piece));
    return std::move(parser).finish();
  } catch (const GitError&) {
    return std::nullopt;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t piece = data[0] % 16 + 1;
  const std::string_view log(reinterpret_cast<const char*>(data) + 1, size - 1);
  std::optional<std::vector<CommitChanges>> whole;
  try {
    whole = lomarind::git_utils::parse_log(log);
  } catch (const GitError&) {
  }
  if (in_pieces(log, piece) != whole) std::abort();
  return 0;
}
