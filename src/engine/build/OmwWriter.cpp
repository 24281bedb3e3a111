#include "engine/build/OmwWriter.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "engine/build/IliStore.h"
#include "engine/build/LanguageStore.h"

namespace build {
namespace {

// The WordNet synset of each OMW synset that a lemma names; none for the
// others, which are counted. The tab files take their offsets from
// Princeton's files, and a distribution's edition of them may have moved
// some records by a few bytes: those are found at the nearest offset.
std::vector<std::optional<uint32_t>> keptSynsets(const OmwWordNet& omw, const WordNet& wn,
                                                 PolylexLanguageReport* report) {
  std::vector<std::optional<uint32_t>> wordnetOf;
  for (const OmwSynset& s : omw.synsets) {
    std::optional<uint32_t> at = wn.find(s.file, s.offset);
    if (!at && (at = wn.nearest(s.file, s.offset))) ++report->shiftedSynsets;
    if (!at)
      ++report->skippedSynsets;
    else if (s.lemmas.empty())
      ++report->synsetsWithoutWords;
    wordnetOf.push_back(s.lemmas.empty() ? std::nullopt : at);
  }
  return wordnetOf;
}

// A lemma's senses are numbered in the order of its lines in the file,
// within each part of speech, as WordNet numbers them; synsets left out take
// no number.
std::vector<std::vector<int16_t>> senseNumbers(
    const OmwWordNet& omw, const WordNet& wn,
    const std::vector<std::optional<uint32_t>>& wordnetOf) {
  std::vector<std::vector<int16_t>> senses(omw.synsets.size());
  std::unordered_map<std::string, int16_t> counts;
  for (const OmwLemmaLine& l : omw.lemmaLines) {
    if (!wordnetOf[l.synset]) continue;
    const std::string& lemma = omw.synsets[l.synset].lemmas[l.lemma];
    char pos = static_cast<char>('0' + posCode(wn.synsets[*wordnetOf[l.synset]].type));
    senses[l.synset].resize(omw.synsets[l.synset].lemmas.size());
    senses[l.synset][l.lemma] = ++counts[lemma + '\t' + pos];
  }
  return senses;
}

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& t : texts) all += (all.empty() ? "" : "; ") + t;
  return all;
}

// Meanings are numbered in the order of the file's synsets, variants from 1
// in the same order, and the variants that name index records after all of
// them.
void writeMeanings(LanguageStore& store, const OmwWordNet& omw, const WordNet& wn,
                   const std::vector<std::optional<uint32_t>>& wordnetOf, Progress& progress,
                   std::vector<uint32_t>* meaningOf, PolylexLanguageReport* report) {
  std::vector<std::vector<int16_t>> senses = senseNumbers(omw, wn, wordnetOf);
  uint32_t variants = 0;
  for (size_t i = 0; i < omw.synsets.size(); ++i)
    if (wordnetOf[i]) variants += static_cast<uint32_t>(omw.synsets[i].lemmas.size());
  uint32_t meaning = 0, variant = 0;
  for (size_t i = 0; i < omw.synsets.size(); ++i, progress.advance()) {
    if (!wordnetOf[i]) continue;
    const OmwSynset& s = omw.synsets[i];
    uint32_t synset = *wordnetOf[i];
    uint16_t pos = posCode(wn.synsets[synset].type);
    (*meaningOf)[synset] = ++meaning;
    store.addMeaning(meaning, pos);
    std::string definition = joined(s.definitions);
    for (size_t k = 0; k < s.lemmas.size(); ++k) {
      store.addVariant(++variant,
                       {meaning, pos, s.lemmas[k], senses[i][k], definition, s.examples, {}});
      store.addIliVariant(variants + variant, iliRecordOf(synset), s.lemmas[k], senses[i][k]);
    }
    store.addEqLink(meaning, meaning, iliRecordOf(synset));
  }
  report->meanings = meaning;
  report->variants = variants;
}

// Only links between whole synsets carry over: a link between two English
// words says nothing about the words of another language.
uint64_t writeProjectedLinks(LanguageStore& store, const WordNet& wn,
                             const std::vector<uint32_t>& meaningOf, Progress& progress) {
  uint64_t links = 0;
  for (uint32_t i = 0; i < wn.synsets.size(); ++i, progress.advance()) {
    if (!meaningOf[i]) continue;
    for (const WordNetPointer& p : wn.synsets[i].pointers)
      if (!p.sourceVariant && !p.targetVariant && meaningOf[p.target]) {
        store.addLink(p.relation->id, {meaningOf[i]}, {meaningOf[p.target]});
        ++links;
      }
  }
  return links;
}

}  // namespace

void writeOmwLanguage(PolylexWriter& w, const OmwWordNet& omw, const WordNet& wn, bool projectLinks,
                      Progress& progress, PolylexLanguageReport* report) {
  LanguageStore store(w, report->store);
  std::vector<std::optional<uint32_t>> wordnetOf = keptSynsets(omw, wn, report);
  std::vector<uint32_t> meaningOf(wn.synsets.size(), 0);
  progress.stage(report->code + ": meanings", omw.synsets.size());
  writeMeanings(store, omw, wn, wordnetOf, progress, &meaningOf, report);
  report->skippedLines = omw.otherLines;
  if (!projectLinks) return;
  progress.stage(report->code + ": links", wn.synsets.size());
  report->links = writeProjectedLinks(store, wn, meaningOf, progress);
}

}  // namespace build
