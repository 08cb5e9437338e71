#include "lomarind/utils/time_spec.h"

#include <stdexcept>

namespace lomarind::git_utils {

std::chrono::sys_seconds parse_time_spec(std::string_view since, std::chrono::sys_seconds now) {
  (void)since;
  (void)now;
  throw std::invalid_argument("not yet");
}

}  // namespace lomarind::git_utils
