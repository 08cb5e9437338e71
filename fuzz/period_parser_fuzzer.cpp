// The period parser: any text is a start, or a refusal that says what it
// could not read.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "lomarind/utils/time_spec.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view since(reinterpret_cast<const char*>(data), size);
  const std::chrono::sys_seconds now{std::chrono::seconds{1'700'000'000}};
  try {
    lomarind::git_utils::parse_time_spec(since, now);
  } catch (const std::invalid_argument& refused) {
    if (std::string_view(refused.what()).find("Cannot read the period") != 0) std::abort();
  }
  return 0;
}
