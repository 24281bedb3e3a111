// Running parsed criteria: each context set's candidates are narrowed through
// the key table where an index covers a predicate (record numbers, equalities,
// ranges, prefixes, joins through a record pointer); every candidate is then
// checked by the one evaluator, and the records of the result set come back
// in index or record-number order.
#ifndef CORVID5_FLM_QUERYRUN_H
#define CORVID5_FLM_QUERYRUN_H

#include <array>
#include <cstdint>
#include <vector>

#include "flm/Criteria.h"
#include "flm/Database.h"
#include "flm/Evaluator.h"

namespace flm {

// Where the records of one context set live.
struct Source {
  Database* db = nullptr;
  uint32_t store = 0;
  uint16_t container = FLM_DATA_CONTAINER;
};

struct QueryRequest {
  std::array<const Source*, kMaxSets> sets{};  // null where there is no source
  int resultSet = 0;
  const ParsedCriteria* criteria = nullptr;    // fields name resolved sets
  bool caseSensitive = true;
  bool wildcards = false;
  uint16_t orderIndex = 0;      // 0: record-number order
  uint16_t orderComponent = 1;
  // Off when the whole query's answer is kept: its probes' answers would
  // only take the same room a second time.
  bool cacheProbes = true;
};

RCODE runQuery(const QueryRequest& query, std::vector<uint32_t>* drns);

}  // namespace flm

#endif
