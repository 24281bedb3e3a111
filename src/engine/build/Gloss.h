// WordNet keeps a synset's definition and its example sentences in one gloss;
// a variant keeps them apart.
#ifndef CORVID5_ENGINE_BUILD_GLOSS_H
#define CORVID5_ENGINE_BUILD_GLOSS_H

#include <string>
#include <string_view>
#include <vector>

namespace build {

struct SplitGloss {
  std::string definition;
  std::vector<std::string> examples;
};

// The definition is what comes before the first `; "`; each example is the
// quoted part of one `; `-separated piece after it. Unbalanced quotes, which
// the data has, keep the text up to the end of their piece.
SplitGloss splitGloss(std::string_view gloss);

}  // namespace build

#endif
