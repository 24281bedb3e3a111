// A word meaning as the commands show it: its record number, part of
// speech, variants, definition and the WordNet synset of its index record.
#ifndef CORVID_TOOL_MEANINGS_H
#define CORVID_TOOL_MEANINGS_H

#include <corvid5/Concept.h>
#include <corvid5/LanguageWordNet.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "Json.h"
#include "Library.h"

namespace corvid {

struct VariantSummary {
  std::string literal;
  int sense = 0;
};

struct MeaningSummary {
  int32_t record = 0;
  std::string partOfSpeech;
  std::vector<VariantSummary> variants;
  std::string definition;  // the first variant's that has one
  int32_t offset = 0;      // of the equivalence synonym; 0 without one
};

MeaningSummary summarize(Concept& meaning);
// The meanings of a word form in one language, in the order found.
std::vector<Owned<Concept>> meaningsOf(LanguageWordNet& wordnet, const std::string& word);
// The literals of a meaning's variants, in the variant index's order.
std::vector<std::string> literalsOf(Concept& meaning);

// One line: "@record@ pos offset  literal sense, ..."; with `definition`,
// the definition follows on a line of its own, indented by `indent` + 4.
void printMeaning(const MeaningSummary& m, int indent, bool definition);
// The members of a meaning, into an object the caller has opened.
void writeMeaningMembers(JsonWriter& json, const MeaningSummary& m);
void writeMeaning(JsonWriter& json, const MeaningSummary& m);

}  // namespace corvid

#endif
