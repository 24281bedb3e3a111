#include "engine/build/LanguageStore.h"

#include "engine/Layout.h"
#include "engine/build/SystemTables.h"

namespace build {

using namespace layout;

void LanguageStore::addMeaning(uint32_t drn, uint16_t pos) {
  flm::Node* root = w_.record(kConcept);
  w_.number(root, kType, 1);  // a word meaning, not an instance
  w_.number(root, kPos, pos);
  w_.add(store_, kMeanings, drn);
}

void LanguageStore::addVariant(uint32_t drn, const VariantFields& v) {
  flm::Node* root = w_.record(kVariant);
  w_.number(w_.pointer(root, kConcept, v.meaning), kPos, v.pos);
  w_.number(w_.text(root, kLiteral, v.literal), kSense, v.sense);
  if (!v.definition.empty()) w_.text(root, kDefinition, v.definition);
  if (!v.examples.empty()) {
    flm::Node* examples = w_.group(root, kExamples);
    for (const std::string& e : v.examples) w_.text(examples, kExample, e);
  }
  if (!v.marker.empty()) {
    flm::Node* feature = w_.number(w_.group(root, kFeatures), kFeature, kAdjectivePosition);
    w_.text(feature, kFeatureValue, v.marker);
  }
  w_.add(store_, kData, drn);
}

void LanguageStore::addIliVariant(uint32_t drn, uint32_t iliRecord, std::string_view literal,
                                  int16_t sense) {
  flm::Node* root = w_.record(kIliVariant);
  w_.pointer(root, kTargetIli, iliRecord);
  w_.number(w_.text(root, kLiteral, literal), kSense, sense);
  w_.add(store_, kData, drn);
}

void LanguageStore::addEqLink(uint32_t drn, uint32_t meaning, uint32_t iliRecord) {
  flm::Node* root = w_.record(kEqLink);
  w_.number(root, kEqRelation, kEqSynonym);
  w_.pointer(root, kConcept, meaning);
  w_.pointer(root, kTargetIli, iliRecord);
  w_.add(store_, kEqLinks, drn);
}

void LanguageStore::addEnd(flm::Node* root, uint16_t tag, const LinkEnd& end) {
  flm::Node* field = w_.pointer(root, tag, end.meaning);
  if (end.variant) w_.text(w_.pointer(field, kVariant, end.variant), kLiteral, end.literal);
}

void LanguageStore::addLink(int16_t relation, const LinkEnd& source, const LinkEnd& target) {
  flm::Node* root = w_.record(kConceptLink);
  w_.number(root, kRelation, relation);
  addEnd(root, kSourceConcept, source);
  addEnd(root, kTargetConcept, target);
  w_.add(store_, kConceptLinks, 0);
}

}  // namespace build
