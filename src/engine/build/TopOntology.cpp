#include "engine/build/TopOntology.h"

#include <string_view>
#include <vector>

#include "engine/Layout.h"
#include "engine/build/IliStore.h"
#include "engine/build/LexicographerFiles.h"

namespace build {

using namespace layout;

namespace {

struct PosConcept {
  char pos;
  std::string_view literal;
  std::string_view gloss;
};

// Numbered 1 to 4; the lexicographer files follow, file n as 5 + n.
constexpr PosConcept kPosConcepts[] = {
    {'n', "noun", "the synsets of the noun lexicographer files"},
    {'v', "verb", "the synsets of the verb lexicographer files"},
    {'a', "adjective", "the synsets of the adjective lexicographer files"},
    {'r', "adverb", "the synsets of the adverb lexicographer files"},
};

constexpr uint32_t kFirstFileConcept = std::size(kPosConcepts) + 1;

uint32_t posConceptOf(char pos) {
  for (uint32_t i = 0; i < std::size(kPosConcepts); ++i)
    if (kPosConcepts[i].pos == pos) return i + 1;
  return 0;
}

uint32_t fileConceptOf(size_t lexFile) {
  return kFirstFileConcept + static_cast<uint32_t>(lexFile);
}

void writePosConcepts(PolylexWriter& w) {
  auto files = lexicographerFiles();
  for (const PosConcept& p : kPosConcepts) {
    flm::Node* root = w.record(kTopConcept);
    w.text(root, kGloss, p.gloss);
    flm::Node* links = w.group(root, kOntologyLinks);
    for (size_t f = 0; f < files.size(); ++f)
      if (files[f].pos == p.pos) w.pointer(links, kSubConcept, fileConceptOf(f));
    w.add(kIliStore, kTopConcepts, posConceptOf(p.pos));
  }
}

void writeFileConcepts(PolylexWriter& w, const WordNet& wn) {
  auto files = lexicographerFiles();
  std::vector<std::vector<uint32_t>> members(files.size());
  for (uint32_t i = 0; i < wn.synsets.size(); ++i)
    members[wn.synsets[i].lexFile].push_back(iliRecordOf(i));
  for (size_t f = 0; f < files.size(); ++f) {
    flm::Node* root = w.record(kTopConcept);
    w.text(root, kGloss, files[f].contents);
    w.pointer(w.group(root, kOntologyLinks), kSuperConcept, posConceptOf(files[f].pos));
    for (uint32_t ili : members[f]) w.pointer(root, kTargetIli, ili);
    w.add(kIliStore, kTopConcepts, fileConceptOf(f));
  }
}

void writeName(PolylexWriter& w, uint32_t store, uint32_t drn, uint32_t topConcept,
               std::string_view literal) {
  flm::Node* root = w.record(kTopConceptVariant);
  w.pointer(root, kTargetTopConcept, topConcept);
  w.text(root, kLiteral, literal);
  w.add(store, kData, drn);
}

}  // namespace

void writeTopOntology(PolylexWriter& w, const WordNet& wn) {
  writePosConcepts(w);
  writeFileConcepts(w, wn);
}

void writeTopConceptNames(PolylexWriter& w, uint32_t store, uint32_t firstDrn) {
  uint32_t drn = firstDrn;
  for (const PosConcept& p : kPosConcepts)
    writeName(w, store, drn++, posConceptOf(p.pos), p.literal);
  auto files = lexicographerFiles();
  for (size_t f = 0; f < files.size(); ++f)
    writeName(w, store, drn++, fileConceptOf(f), files[f].name);
}

}  // namespace build
