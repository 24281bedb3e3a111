// The criteria language: a criteria string given to a cursor over a small
// database built from real wordnets, then validated and walked. The first
// byte of an input chooses where the cursor reads and its wildcard and case
// flags; the rest, up to a NUL, is the criteria string.
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>
#include <corvid5/FxDatabase.h>
#include <corvid5/FxSession.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "support/Slices.h"
#include "support/TestFiles.h"

namespace {

struct Place {
  uint32_t store;
  unsigned short container;
};

// Variants and meanings of English and of French, index records, top
// concepts, relations, and the data container of store 0.
constexpr Place kPlaces[] = {{100, 32001}, {100, 200}, {100, 202}, {101, 32001},
                             {98, 32001},  {98, 310},  {96, 32001}, {0, 32001}};
constexpr int kMostRecords = 32;

struct Database {
  testfiles::ScratchDir dir;
  FxSession session;
  FxDatabase db{session};

  Database() {
    const std::string path = dir.file("small.db");
    slices::buildSmallDatabase(path, dir.path());
    if (!session.Open() || !db.Open(path.c_str(), nullptr, 1, 0))
      throw std::runtime_error("cannot open " + path);
  }
};

Database* database = nullptr;

void walk(FlmCursor& cursor) {
  uint32_t number = 0;
  int n = 0;
  for (int more = cursor.GoFirst(&number); more && n < kMostRecords; more = cursor.GoNext(&number))
    ++n;
  FlmRecord record(static_cast<unsigned short>(0), 512);
  n = 0;
  for (int more = cursor.ReadLast(record); more && n < kMostRecords;
       more = cursor.ReadPrevious(record)) {
    char text[256];
    record.Format(text, sizeof text);
    ++n;
  }
  cursor.ReadCurrent(record);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  try {
    database = new Database;
  } catch (const std::exception& e) {
    std::cerr << e.what() << "\n";
    std::abort();
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const Place& place = kPlaces[data[0] % std::size(kPlaces)];
  const std::string criteria(reinterpret_cast<const char*>(data + 1), size - 1);
  try {
    FlmCursor cursor(database->db, place.container, place.store);
    if (data[0] & 0x10) cursor.Wildcards(1);
    if (data[0] & 0x20) cursor.CaseSensitive(1);
    // A refused string leaves the cursor as far as it got: what follows
    // must fail cleanly too.
    cursor.SetCriteria(criteria.c_str());
    cursor.Validate();
    try {
      cursor.GetRecCount();
    } catch (const FlmError&) {
    }
    walk(cursor);
  } catch (const FlmError&) {
  }
  return 0;
}
