#include "engine/build/DatabaseDump.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "flm/KeyProbe.h"
#include "flm/Node.h"
#include "flm/Pool.h"
#include "storage/RecordFormat.h"

namespace build {
namespace {

// Text is read back as UTF-8.
constexpr uint32_t kUtf8 = 0;

std::string where(uint32_t store, uint16_t container) {
  return "store " + std::to_string(store) + " container " + std::to_string(container);
}

}  // namespace

flm::RCODE dumpDatabase(flm::Database* db, std::string* text, std::string* error) {
  text->clear();
  std::string message;
  auto failed = [&](flm::RCODE rc, const std::string& what) {
    text->clear();
    if (error) *error = what + ": " + flm::errorName(rc);
    return rc;
  };
  if (error) error->clear();
  if (!db) return failed(flm::FERR_INVALID_PARM, "no database");

  std::vector<std::pair<uint32_t, uint16_t>> places;
  flm::RCODE rc = db->containersInUse(&places);
  if (rc) return failed(rc, "listing the containers");

  flm::PoolMemoryManager pool;
  flm::poolInit(&pool, 2048);
  std::vector<uint32_t> drns;
  for (const auto& [store, container] : places) {
    drns.clear();
    if ((rc = flm::containerRecords(db, store, container, &drns)) != flm::FERR_OK) {
      message = "listing the records of " + where(store, container);
      break;
    }
    *text += "STORE " + std::to_string(store) + " CONTAINER " + std::to_string(container) + "\r\n";
    for (uint32_t drn : drns) {
      flm::poolReset(&pool, nullptr);
      flm::Node* root = nullptr;
      rc = db->retrieve(store, container, drn, &pool, &root);
      // The root read carries its number, which the dump shows as @n@.
      if (!rc)
        rc = storage::formatTreesToString(1, root, text, &db->nameTable(), kUtf8,
                                          storage::DumpStyle::Reload);
      if (rc) {
        message = "record @" + std::to_string(drn) + "@ of " + where(store, container);
        break;
      }
    }
    if (rc) break;
  }
  flm::poolFree(&pool);
  return rc ? failed(rc, message) : flm::FERR_OK;
}

}  // namespace build
