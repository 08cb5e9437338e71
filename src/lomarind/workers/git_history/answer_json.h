// The one serializer of the history module's rows and answers: each record
// becomes an ordered JSON object whose keys stand in the answer's own order,
// integers as integers and risk scores as doubles. The program prints these
// objects and the Python extension turns them into dicts, so both show the
// same keys in the same order.
#pragma once

#include <vector>

#include "lomarind/utils/json.h"
#include "lomarind/workers/git_history/answers.h"

namespace lomarind::git_history {

Json to_json(const SymbolRow& row);
Json to_json(const ChangeRow& row);
Json to_json(const DiffRow& row);
Json to_json(const HistoryRow& row);
Json to_json(const FileHotspot& row);
Json to_json(const ComponentHotspot& row);
Json to_json(const PeriodFields& period);
Json to_json(const BranchDiffAnswer& answer);
Json to_json(const RecentChangesAnswer& answer);
Json to_json(const HotspotsAnswer& answer);

// A JSON array of to_json(row) for each row.
template <typename Row>
Json to_json(const std::vector<Row>& rows) {
  Json array = Json::array();
  for (const Row& row : rows) array.push_back(to_json(row));
  return array;
}

}  // namespace lomarind::git_history
