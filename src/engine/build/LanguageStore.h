// The records of one language's store, in the shapes the library reads:
// meanings, their variants, the variants that name index records, the
// equivalence links into the index and the links between meanings.
#ifndef CORVID5_ENGINE_BUILD_LANGUAGESTORE_H
#define CORVID5_ENGINE_BUILD_LANGUAGESTORE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/build/PolylexWriter.h"

namespace build {

struct VariantFields {
  uint32_t meaning;
  uint16_t pos;
  std::string_view literal;
  int16_t sense;
  std::string_view definition;  // none when empty
  const std::vector<std::string>& examples;
  std::string_view marker;  // adjective position; none when empty
};

// One end of a concept link: the meaning, and, for a link between words, the
// variant with its literal.
struct LinkEnd {
  uint32_t meaning;
  uint32_t variant = 0;  // 0: the link joins whole meanings
  std::string_view literal = {};
};

class LanguageStore {
 public:
  LanguageStore(PolylexWriter& writer, uint32_t store) : w_(writer), store_(store) {}

  uint32_t store() const { return store_; }

  void addMeaning(uint32_t drn, uint16_t pos);
  void addVariant(uint32_t drn, const VariantFields& v);
  void addIliVariant(uint32_t drn, uint32_t iliRecord, std::string_view literal, int16_t sense);
  void addEqLink(uint32_t drn, uint32_t meaning, uint32_t iliRecord);
  void addLink(int16_t relation, const LinkEnd& source, const LinkEnd& target);

 private:
  void addEnd(flm::Node* root, uint16_t tag, const LinkEnd& end);

  PolylexWriter& w_;
  uint32_t store_;
};

}  // namespace build

#endif
