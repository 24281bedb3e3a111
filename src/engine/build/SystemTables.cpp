#include "engine/build/SystemTables.h"

#include <string_view>

#include "engine/Layout.h"
#include "engine/build/Languages.h"
#include "engine/build/WordNetRelations.h"

namespace build {

using namespace layout;

namespace {

struct PosName {
  uint16_t code;
  std::string_view name;
};

constexpr PosName kPosNames[] = {
    {kNoun, "noun"},
    {kVerb, "verb"},
    {kAdjective, "adjective"},
    {kAdverb, "adverb"},
    {kProperNoun, "proper noun"},
};

// WordNet's adjective markers: where an adjective may stand. The value list
// holds the markers as variants store them.
constexpr std::string_view kAdjectiveMarkers[] = {"a", "p", "ip"};

void writeRelations(PolylexWriter& w) {
  for (const WordNetRelation& r : wordNetRelations()) {
    flm::Node* root = w.record(kRelationRoot);
    w.number(root, kRelation, r.id);
    w.text(root, kCode, r.shortText);
    w.text(root, kName, r.name);
    w.add(kSystemStore, kData, static_cast<uint32_t>(r.id));
  }
}

void writePartsOfSpeech(PolylexWriter& w) {
  for (const PosName& p : kPosNames) {
    flm::Node* root = w.record(kPosRoot);
    w.number(root, kPos, p.code);
    w.text(root, kName, p.name);
    w.add(kSystemStore, kPartsOfSpeech, p.code);
  }
}

void writeEqRelations(PolylexWriter& w) {
  flm::Node* root = w.record(kEqRelationRoot);
  w.number(root, kEqRelation, kEqSynonym);
  w.text(root, kCode, "eq_synonym");
  w.text(root, kName, "equivalence synonym");
  w.add(kSystemStore, kEqRelations, static_cast<uint32_t>(kEqSynonym));
}

void writeFeatures(PolylexWriter& w) {
  flm::Node* root = w.record(kFeatureRoot);
  w.number(root, kFeature, kAdjectivePosition);
  w.text(root, kName, "adjective position");
  flm::Node* values = w.group(root, kValues);
  int64_t number = 1;
  for (std::string_view marker : kAdjectiveMarkers)
    w.text(w.number(values, kValue, number++), kValueText, marker);
  // The value a variant gives is free text (the marker), not a number.
  w.group(values, kFeatureValue);
  w.add(kSystemStore, kSharedFeatures, kAdjectivePosition);
}

}  // namespace

void writeFixedRecords(PolylexWriter& w) {
  w.text(w.record(kVersionRoot), kPos, kLayoutVersion);  // tag 2 is the version text here
  w.add(kDatabaseStore, kData, kVersionRecord);
  w.text(w.record(kDatabaseRoot), kName, "Polylex");
  w.add(kDatabaseStore, kData, kDatabaseRecord);
  flm::Node* site = w.record(kSiteRoot);
  w.text(site, kSiteName, kDatabaseSite);
  w.text(site, kSiteLanguage, "en");
  w.add(kDatabaseStore, kData, kSiteRecord);
}

void writeSystemTables(PolylexWriter& w) {
  writeRelations(w);
  writePartsOfSpeech(w);
  writeEqRelations(w);
  writeFeatures(w);
}

void writeDescriptors(PolylexWriter& w, const std::vector<StoredLanguage>& languages) {
  for (const StoredLanguage& language : languages) {
    flm::Node* root = w.record(kDescriptor);
    w.text(root, kCode, language.code);
    w.number(root, kStoreId, language.store);
    flm::Node* name = w.text(root, kName, languageName(language.code, language.code));
    for (const StoredLanguage& in : languages)
      if (in.code.size() == 2)
        w.text(name, kName, in.code + " " + languageName(language.code, in.code));
    w.add(kSystemStore, kDescriptors, language.store);
  }
}

}  // namespace build
