// Named loggers with a pluggable sink: the program prints to stderr, the
// Python extension forwards to Python's logging, tests record.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lomarind {

enum class LogLevel { kDebug, kInfo, kWarning, kError };

// One log line as a printf-style format with its string arguments, so a
// sink can hand both to a host logging system unformatted.
struct LogRecord {
  std::string logger;
  LogLevel level = LogLevel::kInfo;
  std::string format;              // e.g. "git failed: %s"
  std::vector<std::string> args;   // one per %s

  // The format with each %s replaced by its argument and %% by %.
  std::string message() const;
  bool operator==(const LogRecord&) const = default;
};

class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void write(const LogRecord& record) const = 0;
};

// A sink that drops everything.
class NullLogSink final : public LogSink {
 public:
  void write(const LogRecord&) const override {}
};

// A named channel onto a sink. Cheap to copy; the sink must outlive it.
class Logger {
 public:
  Logger(std::string name, const LogSink& sink) : name_(std::move(name)), sink_(&sink) {}

  const std::string& name() const { return name_; }
  void log(LogLevel level, std::string format, std::vector<std::string> args = {}) const;
  void info(std::string format, std::vector<std::string> args = {}) const {
    log(LogLevel::kInfo, std::move(format), std::move(args));
  }
  void warning(std::string format, std::vector<std::string> args = {}) const {
    log(LogLevel::kWarning, std::move(format), std::move(args));
  }

 private:
  std::string name_;
  const LogSink* sink_;
};

}  // namespace lomarind
