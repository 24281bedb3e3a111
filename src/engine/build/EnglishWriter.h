// English from WordNet 3.0: the index records' own language, one meaning per
// synset, its words as variants and its pointers as concept links.
#ifndef CORVID5_ENGINE_BUILD_ENGLISHWRITER_H
#define CORVID5_ENGINE_BUILD_ENGLISHWRITER_H

#include <corvid5/PolylexBuilder.h>

#include <cstdint>

#include "engine/build/PolylexWriter.h"
#include "engine/build/Progress.h"
#include "engine/build/WordNetReader.h"

namespace build {

// Fills in the report's counts.
void writeEnglish(PolylexWriter& w, const WordNet& wn, Progress& progress,
                  PolylexLanguageReport* report);

}  // namespace build

#endif
