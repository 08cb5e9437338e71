// A log sink that keeps every record, for tests that check what was logged.
#pragma once

#include <vector>

#include "lomarind/utils/logging.h"

namespace lomarind::testing {

class RecordingLogSink final : public LogSink {
 public:
  void write(const LogRecord& record) const override { records.push_back(record); }

  mutable std::vector<LogRecord> records;
};

}  // namespace lomarind::testing
