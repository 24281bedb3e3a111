// Finding candidate records through the key table: the SQL that one indexed
// predicate turns into, and running it.
#ifndef CORVID5_FLM_KEYPROBE_H
#define CORVID5_FLM_KEYPROBE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "flm/Database.h"

namespace flm {

struct SqlParam {
  enum Kind : uint8_t { Integer, Text, Blob } kind = Integer;
  int64_t integer = 0;
  std::string bytes;
};

// One SQL query over the key table that yields record numbers. Queries of
// one shape share their SQL text, and so one compiled statement; the text
// lives as long as the process.
struct KeyProbe {
  std::string_view sql;
  std::vector<SqlParam> params;
};

enum class KeyColumn : uint8_t { Exact, Folded, SortKey };

// key == value
KeyProbe probeEqual(uint16_t index, uint32_t store, uint16_t component, KeyColumn column,
                    SqlParam value);
// A range; either bound may be absent.
KeyProbe probeRange(uint16_t index, uint32_t store, uint16_t component, KeyColumn column,
                    const SqlParam* lower, bool lowerInclusive, const SqlParam* upper,
                    bool upperInclusive);

// Appends the record numbers the probe finds; with `cached`, from (and into)
// the database's answer cache where it keeps one.
RCODE runProbe(Database* db, const KeyProbe& probe, bool cached, std::vector<uint32_t>* drns);

// Every record number of a container, in order.
RCODE containerRecords(Database* db, uint32_t store, uint16_t container,
                       std::vector<uint32_t>* drns);
// Every record that has a key in one component of an index, in key order,
// each once.
RCODE indexRecords(Database* db, uint16_t index, uint32_t store, uint16_t component, bool text,
                   std::vector<uint32_t>* drns);

// The smallest string after every string that begins with `prefix` (bytes
// compared unsigned); empty when there is none.
std::string prefixSuccessor(std::string prefix);

}  // namespace flm

#endif
