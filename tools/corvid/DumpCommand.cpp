// Stored records as tagged text, by number or by criteria: the view of the
// database beneath the word meanings.
#include <corvid5/CriteriaText.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmError.h>
#include <corvid5/FlmRecord.h>
#include <corvid5/RecordText.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "Json.h"
#include "Library.h"

namespace corvid {

namespace {

struct Place {
  uint32_t store = 0;
  uint16_t container = 0;
};

// Records are read into an empty tree, in blocks of the usual size.
constexpr unsigned short kNoRootTag = 0;
constexpr unsigned short kPoolBlock = 256;

struct DumpedRecord {
  uint32_t record = 0;
  std::string text;
};

// The record's dump, whole, with plain line feeds.
std::string formatted(FlmRecord& record) {
  std::string dump;
  if (const uint32_t code = FormatRecordText(record, &dump))
    throw Failure{"record " + std::to_string(record.GetID()) +
                  " cannot be shown: " + FlmError(code).GetMessage()};
  std::string text;
  for (char c : dump)
    if (c != '\r') text += c;
  return text;
}

// The criteria language ends the criteria at its first empty token and
// passes over the rest; criteria given here are meant whole.
void checkWhole(const std::string& criteria) {
  const size_t read = CriteriaReadLength(criteria.c_str());
  if (read < criteria.size())
    throw Failure{"criteria \"" + criteria + "\" end at byte " + std::to_string(read + 1) +
                  ", before \"" + criteria.substr(read) +
                  "\": a bracket, an empty quoted string or an escape that yields nothing "
                  "ends them"};
}

std::string placeName(const Place& place) {
  return "store " + std::to_string(place.store) + ", container " + std::to_string(place.container);
}

DumpedRecord recordNumbered(void* database, const Place& place, uint32_t number) {
  FlmRecord record(kNoRootTag, kPoolBlock);
  if (!record.Retrieve(database, place.store, place.container, number))
    throw Failure{"no record " + std::to_string(number) + " in " + placeName(place) + ": " +
                  record.GetFlmError().GetMessage()};
  return {number, formatted(record)};
}

std::vector<DumpedRecord> recordsMatching(void* database, const Place& place,
                                          const std::string& criteria, uint32_t limit) {
  checkWhole(criteria);
  FlmCursor cursor(database, place.container, place.store);
  if (!cursor.SetCriteria(criteria.c_str()) || !cursor.Validate())
    throw Failure{"malformed criteria \"" + criteria + "\": " + cursor.GetFlmError().GetMessage()};
  std::vector<DumpedRecord> out;
  FlmRecord record(kNoRootTag, kPoolBlock);
  while (out.size() < limit && (out.empty() ? cursor.ReadFirst(record) : cursor.ReadNext(record)))
    out.push_back({record.GetID(), formatted(record)});
  expectEnd(cursor);
  return out;
}

void writeDump(const Place& place, const std::vector<DumpedRecord>& records) {
  JsonWriter json(stdout);
  json.beginObject();
  json.key("store").value(place.store);
  json.key("container").value(place.container);
  json.key("records").beginArray();
  for (const DumpedRecord& r : records) {
    json.beginObject();
    json.key("record").value(r.record);
    json.key("text").value(r.text);
    json.endObject();
  }
  json.endArray();
  json.endObject();
}

int runDump(const Invocation& run) {
  const Arguments args(run.args,
                       {kDbOption,
                        kJsonOption,
                        {"--store", Option::kValue},
                        {"--container", Option::kValue},
                        {"--record", Option::kValue},
                        {"--criteria", Option::kValue},
                        {"--limit", Option::kValue}},
                       0);
  const bool byNumber = args.has("--record");
  if (byNumber == args.has("--criteria") || (byNumber && args.has("--limit"))) throw UsageError{};
  const Place place{args.number("--store", UINT32_MAX),
                    static_cast<uint16_t>(args.number("--container", UINT16_MAX))};
  const uint32_t limit = args.has("--limit") ? args.number("--limit", UINT32_MAX) : UINT32_MAX;
  const uint32_t number = byNumber ? args.number("--record", UINT32_MAX) : 0;
  Database db(run.databasePath(args));
  const std::vector<DumpedRecord> records =
      byNumber ? std::vector<DumpedRecord>{recordNumbered(db.handle(), place, number)}
               : recordsMatching(db.handle(), place, args.value("--criteria"), limit);
  if (args.has("--json"))
    writeDump(place, records);
  else
    for (const DumpedRecord& r : records) std::fputs(r.text.c_str(), stdout);
  return 0;
}

}  // namespace

const Command kDumpCommand = {
    "dump", "dump --store N --container N (--record N | --criteria TEXT) [--limit N] [--json]",
    "Stored records as tagged text, one line per field with its level: record N, or\n"
    "every record that the criteria select (for example: --criteria '#120 == dog').\n"
    "The criteria are written without brackets: the language ends them at a bracket,\n"
    "an empty quoted string or an escape that yields nothing.\n",
    runDump};

}  // namespace corvid
