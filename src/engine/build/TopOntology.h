// A top ontology made from WordNet's lexicographer files: one top concept per
// part of speech, and under it one per lexicographer file of that part of
// speech, which classifies the index records of the file's synsets.
#ifndef CORVID5_ENGINE_BUILD_TOPONTOLOGY_H
#define CORVID5_ENGINE_BUILD_TOPONTOLOGY_H

#include <cstdint>

#include "engine/build/PolylexWriter.h"
#include "engine/build/WordNetReader.h"

namespace build {

// The top concepts, in store 98 container 310.
void writeTopOntology(PolylexWriter& w, const WordNet& wn);
// One variant per top concept naming it, in `store` from record `firstDrn`
// on.
void writeTopConceptNames(PolylexWriter& w, uint32_t store, uint32_t firstDrn);

}  // namespace build

#endif
