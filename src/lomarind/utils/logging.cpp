#include "lomarind/utils/logging.h"

#include <cstddef>

namespace lomarind {

std::string LogRecord::message() const {
  std::string out;
  out.reserve(format.size());
  std::size_t next_arg = 0;
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] == '%' && i + 1 < format.size()) {
      if (format[i + 1] == 's' && next_arg < args.size()) {
        out += args[next_arg++];
        ++i;
        continue;
      }
      if (format[i + 1] == '%') {
        out += '%';
        ++i;
        continue;
      }
    }
    out += format[i];
  }
  return out;
}

void Logger::log(LogLevel level, std::string format, std::vector<std::string> args) const {
  sink_->write(LogRecord{name_, level, std::move(format), std::move(args)});
}

}  // namespace lomarind
