#include "engine/Layout.h"

namespace layout {
namespace {

using flm::FieldDef;
using flm::FLM_CONTEXT_TYPE;
using flm::FLM_NUMBER_TYPE;
using flm::FLM_TEXT_TYPE;

// Item names are the ones the system writes where it writes them.
const FieldDef kFields[] = {
    {kType, "TYPE", FLM_NUMBER_TYPE},
    {kPos, "PART_OF_SPEECH", FLM_NUMBER_TYPE},
    {kRelation, "RELATION", FLM_NUMBER_TYPE},
    {kEqRelation, "EQ_RELATION", FLM_NUMBER_TYPE},
    {kCode, "CODE", FLM_TEXT_TYPE},
    {kStoreId, "STORE_ID", FLM_NUMBER_TYPE},
    {kValues, "VALUES", FLM_TEXT_TYPE},
    {kName, "NAME", FLM_TEXT_TYPE},
    {kValueText, "VALUE_TEXT", FLM_TEXT_TYPE},
    {kValue, "VALUE", FLM_NUMBER_TYPE},
    {kSiteName, "SITE_NAME", FLM_TEXT_TYPE},
    {kSiteLanguage, "SITE_LANGUAGE", FLM_TEXT_TYPE},
    {kUsageLabel, "USAGE_LABEL", FLM_NUMBER_TYPE},
    {kFeature, "FEATURE", FLM_NUMBER_TYPE},
    {kStatus, "STATUS", FLM_TEXT_TYPE},
    {kConcept, "CONCEPT", FLM_CONTEXT_TYPE},
    {kTargetIli, "TARGET_ILI", FLM_CONTEXT_TYPE},
    {kTargetTopConcept, "TARGET_TOP_CONCEPT", FLM_CONTEXT_TYPE},
    {kVariant, "VARIANT", FLM_CONTEXT_TYPE},
    {kIliVariant, "ILI_VARIANT", FLM_TEXT_TYPE},
    {kTopConceptVariant, "TOP_CONCEPT_VARIANT", FLM_TEXT_TYPE},
    {kConceptLink, "CONCEPT_LINK", FLM_TEXT_TYPE},
    {kEqLink, "EQ_LINK", FLM_TEXT_TYPE},
    {kVersionRoot, "VERSION_RECORD", FLM_TEXT_TYPE},
    {kDatabaseRoot, "DATABASE_RECORD", FLM_TEXT_TYPE},
    {kSiteRoot, "SITE", FLM_TEXT_TYPE},
    {kRelationRoot, "RELATION_DEFINITION", FLM_TEXT_TYPE},
    {kPosRoot, "PART_OF_SPEECH_DEFINITION", FLM_TEXT_TYPE},
    {kEqRelationRoot, "EQ_RELATION_DEFINITION", FLM_TEXT_TYPE},
    {kUsageLabelRoot, "USAGE_LABEL_DEFINITION", FLM_TEXT_TYPE},
    {kFeatureRoot, "FEATURE_DEFINITION", FLM_TEXT_TYPE},
    {kIliRecord, "ILI_RECORD", FLM_TEXT_TYPE},
    {kTopConcept, "TOP_CONCEPT", FLM_TEXT_TYPE},
    {kSourceConcept, "SOURCE_CONCEPT", FLM_CONTEXT_TYPE},
    {kTargetConcept, "TARGET_CONCEPT", FLM_CONTEXT_TYPE},
    {kConjunctive, "CONJUNCTIVE", FLM_NUMBER_TYPE},
    {kDisjunctive, "DISJUNCTIVE", FLM_NUMBER_TYPE},
    {kFactive, "FACTIVE", FLM_TEXT_TYPE},
    {kNonFactive, "NON_FACTIVE", FLM_TEXT_TYPE},
    {kNegative, "NEGATIVE", FLM_TEXT_TYPE},
    {kReversed, "REVERSED", FLM_TEXT_TYPE},
    {kTargetVariantRef, "TARGET_VARIANT_REFERENCE", FLM_CONTEXT_TYPE},
    {kLiteral, "LITERAL", FLM_TEXT_TYPE},
    {kSense, "SENSE", FLM_NUMBER_TYPE},
    {kDefinition, "DEFINITION", FLM_TEXT_TYPE},
    {kExamples, "EXAMPLES", FLM_TEXT_TYPE},
    {kExample, "EXAMPLE", FLM_TEXT_TYPE},
    {kMultiWordInfo, "MULTI_WORD_INFO", FLM_TEXT_TYPE},
    {kMultiWordToken, "MULTI_WORD_TOKEN", FLM_NUMBER_TYPE},
    {kUsageLabels, "USAGE_LABELS", FLM_TEXT_TYPE},
    {kFeatures, "FEATURES", FLM_TEXT_TYPE},
    {kTranslations, "TRANSLATIONS", FLM_TEXT_TYPE},
    {kExternalInfo, "EXTERNAL_INFO", FLM_TEXT_TYPE},
    {kSourceId, "SOURCE_ID", FLM_NUMBER_TYPE},
    {kTextKey, "TEXT_KEY", FLM_TEXT_TYPE},
    {kNumberKey, "NUMBER_KEY", FLM_NUMBER_TYPE},
    {kCorpusId, "CORPUS_ID", FLM_NUMBER_TYPE},
    {kFrequency, "FREQUENCY", FLM_NUMBER_TYPE},
    {kParoleId, "PAROLE_ID", FLM_NUMBER_TYPE},
    {kTranslation, "TRANSLATION", FLM_TEXT_TYPE},
    {kWordNetOffset, "WORDNET_OFFSET", FLM_NUMBER_TYPE},
    {kGloss, "GLOSS", FLM_TEXT_TYPE},
    {kAddOnId, "ADD_ON_ID", FLM_NUMBER_TYPE},
    {kOntologyLinks, "ONTOLOGY_LINKS", FLM_TEXT_TYPE},
    {kSuperConcept, "SUPER_CONCEPT", FLM_CONTEXT_TYPE},
    {kSubConcept, "SUB_CONCEPT", FLM_CONTEXT_TYPE},
    {kSimilarConcept, "SIMILAR_CONCEPT", FLM_CONTEXT_TYPE},
    {kOppositeConcept, "OPPOSITE_CONCEPT", FLM_CONTEXT_TYPE},
};

const flm::ContainerDef kContainers[] = {
    {kDescriptorSource, "DESCRIPTOR_SOURCE"},
    {kMeanings, "MEANINGS"},
    {kConceptLinks, "CONCEPT_LINKS"},
    {kEqLinks, "EQ_LINKS"},
    {kLocalUsageLabels, "LOCAL_USAGE_LABELS"},
    {kLocalFeatures, "LOCAL_FEATURES"},
    {kDescriptors, "LANGUAGE_WORDNETS"},
    {kTopConcepts, "TOP_CONCEPTS"},
    {kPartsOfSpeech, "PARTS_OF_SPEECH"},
    {kEqRelations, "EQ_RELATIONS"},
    {kSharedUsageLabels, "SHARED_USAGE_LABELS"},
    {kSharedFeatures, "SHARED_FEATURES"},
};

}  // namespace

flm::Dictionary polylexDictionary() {
  flm::Dictionary d;
  d.fields.assign(std::begin(kFields), std::end(kFields));
  d.containers.assign(std::begin(kContainers), std::end(kContainers));
  // Single tags where the library's criteria name a single tag (a field
  // anywhere in the record), paths where they name a path: an index narrows
  // exactly the criteria that name its components.
  d.indexes = {
      // The dictionary walks component 2 and, once its criteria are cleared,
      // component 1: both key the variants alone, so that the words of index
      // records and top concepts, which share the container, are in neither
      // walk. Component 3 narrows criteria that name the literal anywhere.
      {kByLiteral, "BY_LITERAL", kData,
       {{kVariant, kLiteral}, {kVariant, kLiteral}, {kLiteral}}},
      {kVariantsByConcept, "VARIANTS_BY_CONCEPT", kData, {{kConcept}}},
      {kIliVariantsByRecord, "ILI_VARIANTS_BY_RECORD", kData, {{kIliVariant, kTargetIli}}},
      {kTopConceptVariantsByConcept, "TOP_CONCEPT_VARIANTS_BY_CONCEPT", kData,
       {{kTopConceptVariant, kTargetTopConcept}}},
      {kLinksBySource, "LINKS_BY_SOURCE", kConceptLinks, {{kSourceConcept}, {kRelation}}},
      {kEqLinksByConcept, "EQ_LINKS_BY_CONCEPT", kEqLinks, {{kConcept}, {kEqRelation}}},
      {kEqLinksByIli, "EQ_LINKS_BY_ILI", kEqLinks, {{kTargetIli}, {kEqRelation}}},
      {kLocalUsageLabelsById, "LOCAL_USAGE_LABELS_BY_ID", kLocalUsageLabels, {{kUsageLabel}}},
      {kLocalFeaturesById, "LOCAL_FEATURES_BY_ID", kLocalFeatures, {{kFeature}}},
      {kRelationsByCode, "RELATIONS_BY_CODE", kData, {{kRelationRoot, kRelation}}},
      {kSharedUsageLabelsById, "SHARED_USAGE_LABELS_BY_ID", kSharedUsageLabels, {{kUsageLabel}}},
      {kSharedFeaturesById, "SHARED_FEATURES_BY_ID", kSharedFeatures, {{kFeature}}},
      {kMeaningsByType, "MEANINGS_BY_TYPE", kMeanings, {{kType}}},
  };
  return d;
}

}  // namespace layout
