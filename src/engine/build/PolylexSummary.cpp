#include <corvid5/PolylexSummary.h>

#include <map>
#include <stdexcept>

#include "engine/Layout.h"
#include "flm/KeyProbe.h"
#include "flm/Session.h"
#include "flm/Unicode.h"
#include "flm/Value.h"

namespace build {
namespace {

using namespace layout;

struct Failed {
  std::string message;
};

void check(flm::RCODE rc, const std::string& doing) {
  if (rc) throw Failed{doing + ": " + flm::errorName(rc)};
}

// One record read into a pool of its own.
class StoredRecord {
 public:
  StoredRecord(flm::Database* db, uint32_t store, uint16_t container, uint32_t drn) {
    flm::poolInit(&pool_, 1024);
    rc_ = db->retrieve(store, container, drn, &pool_, &root_);
  }
  ~StoredRecord() { flm::poolFree(&pool_); }
  StoredRecord(const StoredRecord&) = delete;
  StoredRecord& operator=(const StoredRecord&) = delete;

  flm::RCODE rc() const { return rc_; }
  flm::Node* field(uint16_t tag) const {
    return root_ ? flm::nodeFind(flm::GED_TREE, root_, tag, 1) : nullptr;
  }

 private:
  flm::PoolMemoryManager pool_;
  flm::Node* root_ = nullptr;
  flm::RCODE rc_;
};

std::string textOf(const flm::Node* field) {
  uint32_t bytes = 0;
  if (!field || flm::getUnicodeLength(field, &bytes)) return {};
  std::u16string units(bytes / 2 + 1, u'\0');
  bytes += 2;
  std::string utf8;
  if (flm::getUnicode(field, reinterpret_cast<uint16_t*>(units.data()), &bytes) ||
      !flm::utf16ToUtf8(reinterpret_cast<const uint16_t*>(units.data()), bytes / 2, &utf8))
    return {};
  return utf8;
}

// The fixed records a database is opened by; without them it is not one.
void readFixedRecords(flm::Database* db, PolylexSummary* s) {
  StoredRecord version(db, kDatabaseStore, kData, kVersionRecord);
  check(version.rc(), "reading the version record");
  s->dataVersion = textOf(version.field(kPos));
  StoredRecord site(db, kDatabaseStore, kData, kSiteRecord);
  check(site.rc(), "reading the site record");
  s->siteName = textOf(site.field(kSiteName));
  s->siteLanguage = textOf(site.field(kSiteLanguage));
}

struct LanguageName {
  std::string code, name;
};

std::map<uint32_t, LanguageName> readDescriptors(flm::Database* db) {
  std::vector<uint32_t> drns;
  check(flm::containerRecords(db, kSystemStore, kDescriptors, &drns), "listing the languages");
  std::map<uint32_t, LanguageName> languages;
  for (uint32_t drn : drns) {
    StoredRecord d(db, kSystemStore, kDescriptors, drn);
    check(d.rc(), "reading a language descriptor");
    int32_t store = 0;
    const flm::Node* storeField = d.field(kStoreId);
    if (storeField && !flm::getInt32(storeField, &store))
      languages[static_cast<uint32_t>(store)] = {textOf(d.field(kCode)), textOf(d.field(kName))};
  }
  return languages;
}

void readStores(flm::Database* db, PolylexSummary* s) {
  std::map<uint32_t, LanguageName> languages = readDescriptors(db);
  std::vector<std::pair<uint32_t, uint16_t>> places;
  check(db->containersInUse(&places), "listing the containers");
  for (const auto& [store, container] : places) {
    if (s->stores.empty() || s->stores.back().store != store) {
      s->stores.emplace_back();
      s->stores.back().store = store;
      auto language = languages.find(store);
      if (language != languages.end()) {
        s->stores.back().languageCode = language->second.code;
        s->stores.back().languageName = language->second.name;
      }
    }
    PolylexContainerSummary c;
    c.container = container;
    // The data container is in every database without being named in it.
    if (!db->nameTable().getFromTagNum(container, &c.name, flm::FLM_CONTAINER_TAG))
      c.name = container == flm::FLM_DATA_CONTAINER ? "DATA" : "";
    check(db->recordCount(store, container, &c.records), "counting records");
    s->stores.back().containers.push_back(c);
  }
}

}  // namespace
}  // namespace build

bool PolylexSummary::Read(const std::string& path, PolylexSummary* summary, std::string* error) {
  flm::Session* session = nullptr;
  flm::Database* db = nullptr;
  *summary = PolylexSummary();
  error->clear();
  try {
    build::check(flm::Session::create(1024, 0, &session), "starting a session");
    build::check(session->openDatabase(path.c_str(), nullptr, flm::FO_READ_ONLY, &db),
                 "cannot open");
    build::readFixedRecords(db, summary);
    build::readStores(db, summary);
  } catch (const build::Failed& f) {
    *error = path + ": " + f.message;
  } catch (const std::exception& e) {
    *error = path + ": " + e.what();
  }
  flm::Session::close(&session);
  return error->empty();
}
