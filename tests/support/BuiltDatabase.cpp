#include "support/BuiltDatabase.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>

#include "flm/KeyProbe.h"
#include "flm/Session.h"
#include "flm/Unicode.h"
#include "flm/Value.h"

namespace testdb {
namespace {

flm::Session* sessionOf(void* s) { return static_cast<flm::Session*>(s); }

std::vector<uint32_t> unique(std::vector<uint32_t> drns) {
  std::sort(drns.begin(), drns.end());
  drns.erase(std::unique(drns.begin(), drns.end()), drns.end());
  return drns;
}

}  // namespace

StoredDatabase::StoredDatabase(const std::string& path) {
  flm::Session* session = nullptr;
  if (flm::Session::create(64 * 1024, 0, &session)) return;
  session_ = session;
  session->openDatabase(path.c_str(), nullptr, flm::FO_READ_ONLY, &db_);
}

StoredDatabase::~StoredDatabase() {
  flm::Session* session = sessionOf(session_);
  flm::Session::close(&session);
}

uint32_t StoredDatabase::count(uint32_t store, uint16_t container) const {
  uint32_t n = 0;
  return db_ && !db_->recordCount(store, container, &n) ? n : 0;
}

std::vector<uint32_t> StoredDatabase::find(uint16_t index, uint32_t store, uint16_t component,
                                           const std::string& text) const {
  std::vector<uint32_t> drns;
  flm::SqlParam value{flm::SqlParam::Text, 0, text};
  if (db_)
    flm::runProbe(db_, flm::probeEqual(index, store, component, flm::KeyColumn::Exact, value),
                  true, &drns);
  return unique(drns);
}

std::vector<uint32_t> StoredDatabase::find(uint16_t index, uint32_t store, uint16_t component,
                                           int64_t number) const {
  std::vector<uint32_t> drns;
  flm::SqlParam value{flm::SqlParam::Integer, number, {}};
  if (db_)
    flm::runProbe(db_, flm::probeEqual(index, store, component, flm::KeyColumn::Exact, value),
                  true, &drns);
  return unique(drns);
}

std::vector<uint32_t> StoredDatabase::indexed(uint16_t index, uint32_t store,
                                              uint16_t component) const {
  std::vector<uint32_t> drns;
  if (db_) flm::indexRecords(db_, index, store, component, false, &drns);
  return drns;
}

Record::Record(const StoredDatabase& db, uint32_t store, uint16_t container, uint32_t drn) {
  flm::poolInit(&pool_, 2048);
  if (db.db()) db.db()->retrieve(store, container, drn, &pool_, &root_);
}

Record::~Record() { flm::poolFree(&pool_); }

const flm::Node* Record::field(uint16_t tag, const flm::Node* from) const {
  const flm::Node* start = from ? from : root_;
  return start ? flm::nodeFind(flm::GED_TREE, const_cast<flm::Node*>(start), tag, 1) : nullptr;
}

std::vector<const flm::Node*> Record::fields(uint16_t tag) const {
  std::vector<const flm::Node*> found;
  for (const flm::Node* n = root_; n; n = flm::nodeWalkNext(flm::GED_TREE, root_, n))
    if (n->tag == tag) found.push_back(n);
  return found;
}

std::string Record::text(uint16_t tag, const flm::Node* from) const {
  return textOf(field(tag, from));
}

int64_t Record::number(uint16_t tag, const flm::Node* from) const {
  return numberOf(field(tag, from));
}

std::string textOf(const flm::Node* field) {
  uint32_t bytes = 0;
  if (!field || flm::getUnicodeLength(field, &bytes)) return {};
  std::vector<uint16_t> units(bytes / 2 + 1);
  bytes += 2;
  std::string utf8;
  if (flm::getUnicode(field, units.data(), &bytes) ||
      !flm::utf16ToUtf8(units.data(), bytes / 2, &utf8))
    return {};
  return utf8;
}

int64_t numberOf(const flm::Node* field) {
  int64_t value = -1;
  return field && !flm::getNumber(field, &value) ? value : -1;
}

WordNetCounts countWordNet(const std::string& dir) {
  WordNetCounts counts;
  for (const char* name : {"noun", "verb", "adj", "adv"}) {
    std::ifstream in(dir + "/data." + name);
    std::string line;
    while (std::getline(in, line)) {
      if (line.empty() || line[0] == ' ') continue;
      std::istringstream fields(line);
      std::string offset, lexFile, type, word, lexId, pointerCount;
      int words = 0;
      fields >> offset >> lexFile >> type >> std::hex >> words >> std::dec;
      std::set<std::string> lowered;
      for (int i = 0; i < words && fields >> word >> lexId; ++i) {
        word = word.substr(0, word.find('('));
        std::string lower = word;
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        if (!lowered.insert(lower).second) continue;
        std::replace(word.begin(), word.end(), '_', ' ');
        counts.wordForms.insert(word);
      }
      fields >> pointerCount;
      ++counts.synsets;
      counts.wordSenses += lowered.size();
      counts.pointers += std::stoul(pointerCount);
      counts.synsetIds.insert({name[0] == 'a' && name[2] == 'v' ? 'r' : name[0],
                               static_cast<uint32_t>(std::stoul(offset))});
    }
  }
  return counts;
}

TabCounts countTab(const std::string& path) {
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  std::string language = line.substr(line.find('\t') + 1);
  language = language.substr(0, language.find('\t'));
  std::set<std::pair<std::string, std::string>> pairs;
  TabCounts counts;
  while (std::getline(in, line)) {
    std::vector<std::string> f;
    std::istringstream fields(line);
    for (std::string piece; std::getline(fields, piece, '\t');) f.push_back(piece);
    if (f.size() < 3 || (f[1] != "lemma" && f[1] != language + ":lemma") || f[2] == "GAP!")
      continue;
    // A satellite is an adjective of the adjective file.
    if (f[0].ends_with("-s")) f[0].back() = 'a';
    counts.lemmas.insert(f[2]);
    pairs.insert({f[0], f[2]});
  }
  counts.senses = pairs.size();
  return counts;
}

}  // namespace testdb
