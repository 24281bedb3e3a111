#include "engine/build/EnglishWriter.h"

#include <vector>

#include "engine/build/Gloss.h"
#include "engine/build/IliStore.h"
#include "engine/build/LanguageStore.h"
#include "engine/build/TopOntology.h"

namespace build {
namespace {

// Meanings take the numbers of their index records. Variants are numbered
// in synset order from 1, so that a pointer can name a variant of a synset
// not yet written; the variants that name index records follow them.
class EnglishNumbers {
 public:
  explicit EnglishNumbers(const WordNet& wn) {
    for (const Synset& s : wn.synsets) {
      firstVariant_.push_back(variants_ + 1);
      variants_ += static_cast<uint32_t>(s.variants.size());
    }
  }
  uint32_t variants() const { return variants_; }
  // `k` from 0 among the synset's variants.
  uint32_t variant(uint32_t synset, uint32_t k) const { return firstVariant_[synset] + k; }
  uint32_t iliVariant(uint32_t synset, uint32_t k) const { return variants_ + variant(synset, k); }

 private:
  std::vector<uint32_t> firstVariant_;
  uint32_t variants_ = 0;
};

LinkEnd endOf(const WordNet& wn, const EnglishNumbers& numbers, uint32_t synset, uint8_t variant) {
  if (!variant) return {iliRecordOf(synset)};
  return {iliRecordOf(synset), numbers.variant(synset, variant - 1u),
          wn.synsets[synset].variants[variant - 1u].literal};
}

void writeSynset(LanguageStore& store, const WordNet& wn, const EnglishNumbers& numbers,
                 uint32_t i) {
  const Synset& s = wn.synsets[i];
  uint32_t meaning = iliRecordOf(i);
  store.addMeaning(meaning, posCode(s.type));
  SplitGloss gloss = splitGloss(s.gloss);
  for (uint32_t k = 0; k < s.variants.size(); ++k) {
    const WordNetVariant& v = s.variants[k];
    store.addVariant(numbers.variant(i, k), {meaning, posCode(s.type), v.literal, v.sense,
                                             gloss.definition, gloss.examples, v.marker});
    store.addIliVariant(numbers.iliVariant(i, k), iliRecordOf(i), v.literal, v.sense);
  }
  store.addEqLink(meaning, meaning, iliRecordOf(i));
  for (const WordNetPointer& p : s.pointers)
    store.addLink(p.relation->id, endOf(wn, numbers, i, p.sourceVariant),
                  endOf(wn, numbers, p.target, p.targetVariant));
}

}  // namespace

void writeEnglish(PolylexWriter& w, const WordNet& wn, Progress& progress,
                  PolylexLanguageReport* report) {
  LanguageStore store(w, report->store);
  EnglishNumbers numbers(wn);
  progress.stage("English", wn.synsets.size());
  for (uint32_t i = 0; i < wn.synsets.size(); ++i) {
    writeSynset(store, wn, numbers, i);
    report->links += wn.synsets[i].pointers.size();
    progress.advance();
  }
  writeTopConceptNames(w, report->store, 2 * numbers.variants() + 1);
  report->meanings = wn.synsets.size();
  report->variants = numbers.variants();
}

}  // namespace build
