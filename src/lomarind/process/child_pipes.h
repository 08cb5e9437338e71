// The descriptors between us and a child process: an owning descriptor and
// the pipes (or socket) that carry its standard input and outputs. Every one
// is close-on-exec and kept off 0..2.
#pragma once

#include <string>

#include "lomarind/utils/unique_fd.h"

namespace lomarind::subprocess {

using lomarind::UniqueFd;

struct FdPair {
  UniqueFd ours;
  UniqueFd child;
};

// `ours` reads what the child writes. `program` names the child in errors.
// Throws std::system_error.
FdPair output_pipe(const std::string& program);

// The child's stdin: /dev/null when there is no input (`ours` then stays
// empty), else a socket whose `ours` end we write.
FdPair input_channel(bool has_input, const std::string& program);

[[noreturn]] void throw_errno(int error, const std::string& what);

}  // namespace lomarind::subprocess
