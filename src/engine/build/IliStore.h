// The inter-lingual index: one record per WordNet 3.0 synset, which every
// language's meanings link to by equivalence.
#ifndef CORVID5_ENGINE_BUILD_ILISTORE_H
#define CORVID5_ENGINE_BUILD_ILISTORE_H

#include <cstdint>

#include "engine/build/PolylexWriter.h"
#include "engine/build/Progress.h"
#include "engine/build/WordNetReader.h"

namespace build {

// Index records are numbered in the order of WordNet::synsets.
inline uint32_t iliRecordOf(uint32_t synset) { return synset + 1; }

void writeIliRecords(PolylexWriter& w, const WordNet& wn, Progress& progress);

}  // namespace build

#endif
