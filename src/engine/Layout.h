// The stored layout of a multilingual database: its stores, containers,
// fixed records, record kinds, field tags and index numbers, and the
// dictionary that databases are made with. Every number here is part of the
// stored format.
#ifndef CORVID5_ENGINE_LAYOUT_H
#define CORVID5_ENGINE_LAYOUT_H

#include <cstdint>

#include "flm/Dictionary.h"

namespace layout {

// The oldest layout version a database may carry and still be opened.
constexpr char kLayoutVersion[] = "1.3";

// Stores.
enum Store : uint32_t {
  kDatabaseStore = 0,
  kSystemStore = 96,
  kIliStore = 98,
  kIliWordNetStore = 99,
  kFirstLanguageStore = 100,
  kLastLanguageStore = 199,
};

// Containers.
enum Container : uint16_t {
  kDescriptorSource = 0,  // only as the source of a descriptor held in memory
  kMeanings = 200,
  kConceptLinks = 202,
  kEqLinks = 204,
  kLocalUsageLabels = 212,
  kLocalFeatures = 213,
  kDescriptors = 300,
  kTopConcepts = 310,
  kPartsOfSpeech = 320,
  kEqRelations = 350,
  kSharedUsageLabels = 360,
  kSharedFeatures = 370,
  kData = 32001,
};

// Fixed records of store 0, container 32001.
enum FixedRecord : uint32_t {
  kVersionRecord = 12,
  kDatabaseRecord = 28,
  kSiteRecord = 61,
};

// Relation ids the library itself follows, and the equivalence synonym.
constexpr int16_t kHyperonym = 8;
constexpr int16_t kHyponym = 10;
constexpr int16_t kEqSynonym = 1;

// Part-of-speech codes.
enum PartOfSpeech : uint16_t { kNoPos = 0, kNoun = 1, kVerb = 2, kAdjective = 3, kAdverb = 4,
                               kProperNoun = 5 };

// Field tags. One number may serve as a field in one kind of record and as
// the root of another; the two never meet in one record.
enum Tag : uint16_t {
  kType = 1,             // meaning type: 1 word meaning, 2 instance
  kPos = 2,              // part-of-speech code; the version text in record 12
  kRelation = 3,
  kEqRelation = 4,
  kCode = 5,             // language code; short text of a relation
  kStoreId = 6,
  kValues = 7,           // allowed values of a usage label or feature
  kName = 10,
  kValueText = 13,
  kValue = 20,
  kSiteName = 22,        // also a feature's free text value
  kFeatureValue = 22,    // the same tag, under a variant's feature
  kSiteLanguage = 23,
  kUsageLabel = 42,
  kFeature = 46,
  kStatus = 49,
  kConcept = 50,         // root of a meaning; a pointer to one elsewhere
  kTargetIli = 51,
  kTargetTopConcept = 52,
  kVariant = 60,         // root of a variant; a variant pointer in a link
  kIliVariant = 61,
  kTopConceptVariant = 62,
  kConceptLink = 70,
  kEqLink = 71,
  kVersionRoot = 80,
  kDatabaseRoot = 81,
  kSiteRoot = 82,
  kRelationRoot = 83,
  kPosRoot = 84,
  kEqRelationRoot = 85,
  kUsageLabelRoot = 86,
  kFeatureRoot = 87,
  kIliRecord = 88,
  kTopConcept = 89,
  kSourceConcept = 110,
  kTargetConcept = 111,
  kConjunctive = 112,
  kDisjunctive = 113,
  kFactive = 114,
  kNonFactive = 115,
  kNegative = 116,
  kReversed = 117,
  kTargetVariantRef = 118,
  kLiteral = 120,
  kSense = 121,
  kDefinition = 122,
  kExamples = 123,
  kExample = 124,
  kMultiWordInfo = 125,
  kMultiWordToken = 126,
  kUsageLabels = 127,
  kFeatures = 128,
  kTranslations = 129,
  kExternalInfo = 130,
  kSourceId = 131,
  kTextKey = 132,
  kNumberKey = 133,
  kCorpusId = 134,
  kFrequency = 135,
  kParoleId = 136,
  kTranslation = 137,
  kWordNetOffset = 301,  // also the root of a language wordnet descriptor
  kDescriptor = 301,     // the same tag as a descriptor's root
  kGloss = 302,
  kAddOnId = 303,
  kOntologyLinks = 320,
  kSuperConcept = 321,
  kSubConcept = 322,
  kSimilarConcept = 323,
  kOppositeConcept = 324,
};

// Index numbers.
enum Index : uint16_t {
  kByLiteral = 251,            // 1, 2: a variant's literal (60/120); 3: any literal (120)
  kVariantsByConcept = 252,    // 50
  kIliVariantsByRecord = 254,  // 61/51
  kTopConceptVariantsByConcept = 256,  // 62/52
  kLinksBySource = 270,        // 1: 110; 2: 3
  kEqLinksByConcept = 280,     // 1: 50; 2: 4
  kEqLinksByIli = 281,         // 1: 51; 2: 4
  kLocalUsageLabelsById = 300, // 42
  kLocalFeaturesById = 305,    // 46
  kRelationsByCode = 461,      // 83/3
  kSharedUsageLabelsById = 480,
  kSharedFeaturesById = 485,
  kMeaningsByType = 32050,     // 1
};

// The dictionary every multilingual database is made with.
flm::Dictionary polylexDictionary();

}  // namespace layout

#endif
