#include "cli/stream_log_sink.h"

#include "cli/display_text.h"

namespace lomarind::cli {

namespace {

const char* level_name(LogLevel level) {
  switch (level) {
    case LogLevel::kDebug:
      return "debug";
    case LogLevel::kInfo:
      return "info";
    case LogLevel::kWarning:
      return "warning";
    case LogLevel::kError:
      return "error";
  }
  return "log";
}

}  // namespace

void StreamLogSink::write(const LogRecord& record) const {
  if (record.level == LogLevel::kDebug) return;
  stream_ << program_lines(std::string(level_name(record.level)) + ": ", record.message())
          << std::flush;
}

}  // namespace lomarind::cli
