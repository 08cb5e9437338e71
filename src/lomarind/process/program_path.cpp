#include "lomarind/process/program_path.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>

namespace lomarind::subprocess {
namespace {

constexpr std::string_view kDefaultPath = "/usr/bin:/bin";

bool is_executable_file(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && ::access(path.c_str(), X_OK) == 0;
}

std::string_view search_path(const std::vector<std::string>& environment) {
  for (const std::string& entry : environment) {
    if (entry.starts_with("PATH=")) return std::string_view(entry).substr(5);
  }
  return kDefaultPath;
}

}  // namespace

std::string find_program(const std::string& name, const std::vector<std::string>& environment) {
  if (name.find('/') != std::string::npos) return name;
  std::string_view search = search_path(environment);
  while (!name.empty()) {
    std::size_t colon = search.find(':');
    std::string_view dir = search.substr(0, colon);
    if (!dir.empty() && dir.front() == '/') {
      std::string candidate = std::string(dir) + "/" + name;
      if (is_executable_file(candidate)) return candidate;
    }
    if (colon == std::string_view::npos) break;
    search.remove_prefix(colon + 1);
  }
  throw std::system_error(ENOENT, std::generic_category(), "cannot find " + name + " on PATH");
}

}  // namespace lomarind::subprocess
