// The program's log sink: one "lomarind: <level>: <message>" line per
// record on the stream given (stderr), control characters escaped.
#pragma once

#include <ostream>

#include "lomarind/utils/logging.h"

namespace lomarind::cli {

class StreamLogSink final : public LogSink {
 public:
  // `stream` must outlive the sink.
  explicit StreamLogSink(std::ostream& stream) : stream_(stream) {}

  // Debug records are dropped: the program has no verbose mode.
  void write(const LogRecord& record) const override;

 private:
  std::ostream& stream_;
};

}  // namespace lomarind::cli
