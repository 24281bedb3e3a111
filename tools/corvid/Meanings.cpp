#include "Meanings.h"

#include <corvid5/ConceptVariant.h>
#include <corvid5/ILIRecord.h>

namespace corvid {

MeaningSummary summarize(Concept& meaning) {
  MeaningSummary m;
  m.record = meaning.GetRecordID();
  m.partOfSpeech = takeText(meaning.GetPartOfSpeech());
  Owned<ConceptVariants> variants(meaning.GetConceptVariants());
  forEach(*variants, [&](Owned<ConceptVariant> variant) {
    m.variants.push_back({takeText(variant->GetLiteral()), variant->GetSense()});
    if (m.definition.empty()) m.definition = takeText(variant->GetDefinition());
  });
  ILIRecord* index = nullptr;
  if (meaning.GetEqSynonym(&index)) {
    m.offset = Owned<ILIRecord>(index)->GetWordNetOffset();
  }
  return m;
}

std::vector<Owned<Concept>> meaningsOf(LanguageWordNet& wordnet, const std::string& word) {
  Owned<Concepts> concepts(wordnet.GetConcepts(word.c_str()));
  // People type "paris" for Paris and "Dog" at the start of a sentence.
  concepts->CaseSensitive(0);
  std::vector<Owned<Concept>> out;
  forEach(*concepts, [&](Owned<Concept> meaning) { out.push_back(std::move(meaning)); });
  return out;
}

std::vector<std::string> literalsOf(Concept& meaning) {
  Owned<ConceptVariants> variants(meaning.GetConceptVariants());
  std::vector<std::string> out;
  forEach(*variants,
          [&](Owned<ConceptVariant> variant) { out.push_back(takeText(variant->GetLiteral())); });
  return out;
}

void printMeaning(const MeaningSummary& m, int indent, bool definition) {
  std::printf("%*s@%d@ %-2s ", indent, "", m.record, m.partOfSpeech.c_str());
  if (m.offset)
    std::printf("%08d ", m.offset);
  else
    std::printf("-------- ");
  for (size_t i = 0; i < m.variants.size(); ++i)
    std::printf("%s%s %d", i ? ", " : " ", m.variants[i].literal.c_str(), m.variants[i].sense);
  std::printf("\n");
  if (definition && !m.definition.empty())
    std::printf("%*s%s\n", indent + 4, "", m.definition.c_str());
}

void writeMeaningMembers(JsonWriter& json, const MeaningSummary& m) {
  json.key("record").value(m.record);
  json.key("pos").value(m.partOfSpeech);
  json.key("variants").beginArray();
  for (const VariantSummary& v : m.variants) {
    json.beginObject();
    json.key("literal").value(v.literal);
    json.key("sense").value(v.sense);
    json.endObject();
  }
  json.endArray();
  json.key("definition");
  if (m.definition.empty())
    json.null();
  else
    json.value(m.definition);
  json.key("offset");
  if (m.offset)
    json.value(m.offset);
  else
    json.null();
}

void writeMeaning(JsonWriter& json, const MeaningSummary& m) {
  json.beginObject();
  writeMeaningMembers(json, m);
  json.endObject();
}

}  // namespace corvid
