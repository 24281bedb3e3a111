#include "engine/build/IliStore.h"

#include "engine/Layout.h"

namespace build {

using namespace layout;

void writeIliRecords(PolylexWriter& w, const WordNet& wn, Progress& progress) {
  progress.stage("index records", wn.synsets.size());
  for (uint32_t i = 0; i < wn.synsets.size(); ++i) {
    const Synset& s = wn.synsets[i];
    flm::Node* root = w.record(kIliRecord);
    w.number(root, kPos, posCode(s.type));
    w.number(root, kWordNetOffset, s.offset);
    w.text(root, kGloss, s.gloss);
    w.add(kIliStore, kData, iliRecordOf(i));
    progress.advance();
  }
}

}  // namespace build
