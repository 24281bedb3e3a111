// One language from an OMW wordnet: its synsets as meanings tied to the
// index records of the same WordNet 3.0 synsets, and, where asked, the links
// of English carried over between meanings the language has at both ends.
#ifndef CORVID5_ENGINE_BUILD_OMWWRITER_H
#define CORVID5_ENGINE_BUILD_OMWWRITER_H

#include <corvid5/PolylexBuilder.h>

#include "engine/build/OmwReader.h"
#include "engine/build/PolylexWriter.h"
#include "engine/build/Progress.h"
#include "engine/build/WordNetReader.h"

namespace build {

// Fills in the report's counts. A synset whose offset WordNet does not have
// is counted and left out.
void writeOmwLanguage(PolylexWriter& w, const OmwWordNet& omw, const WordNet& wn, bool projectLinks,
                      Progress& progress, PolylexLanguageReport* report);

}  // namespace build

#endif
