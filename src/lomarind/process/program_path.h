// Finds the file a program name stands for, the way a shell would, but on
// the PATH of the environment the program is to run with.
#pragma once

#include <string>
#include <vector>

namespace lomarind::subprocess {

// `name` itself when it holds a slash; otherwise the first executable
// regular file `<dir>/<name>` for the directories of the PATH entry of
// `environment` ("NAME=value" entries; /usr/bin:/bin when there is none).
// Empty and relative directories are skipped: a program must never be
// picked up from whatever directory we happen to run in. Throws
// std::system_error with ENOENT when there is no such file.
std::string find_program(const std::string& name, const std::vector<std::string>& environment);

}  // namespace lomarind::subprocess
