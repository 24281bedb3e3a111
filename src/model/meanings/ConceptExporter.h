// The composing writer of a word meaning's text, made once per language
// wordnet: each section is built from its records with names and targets
// resolved, into a wide string. Its line ends, its part-of-speech letter and
// its relation names differ from Concept::Export's on purpose.
#ifndef CORVID5_MODEL_MEANINGS_CONCEPTEXPORTER_H
#define CORVID5_MODEL_MEANINGS_CONCEPTEXPORTER_H

#include <corvid5/FlmError.h>
#include <corvid5/FlmRecord.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

class ConceptExporter {
 public:
  // Reads the usage-label and feature definitions once, shared ones first:
  // at most kCacheSize of each, the rest dropped. A read that fails here is
  // kept and thrown by Export: the exporter is made while language wordnets
  // are walked, and walking throws nothing.
  ConceptExporter(void* database, uint32_t store);

  // Appends the text of `meaning` to `text` and answers 1. On an exception
  // the text so far gets a line naming it, and the exception goes on as a
  // PLXException (a FLAIM code from the cursor layer travels in one).
  int Export(FlmRecord& meaning, std::u16string& text);

  // A new string for the caller; null only when memory runs out.
  static unsigned short* MakeBSTR(const std::u16string& text);

  static constexpr size_t kCacheSize = 150;

 private:
  struct Definition {
    int32_t id;
    std::u16string name;
  };

  void LoadDefinitions(std::vector<Definition>& cache, unsigned short idTag,
                       unsigned short container, uint32_t store);
  const Definition* Cached(const std::vector<Definition>& cache, int32_t id) const;

  void WriteVariants(FlmRecord& meaning, std::u16string& text);
  void WriteVariant(FlmRecord& variant, std::u16string& text);
  void WriteLinks(FlmRecord& meaning, std::u16string& text);
  void WriteLink(FlmRecord& link, std::u16string& text);
  void WriteTarget(FlmRecord& link, std::u16string& text);
  void WriteEqLinks(FlmRecord& meaning, std::u16string& text);
  void WriteEqLink(FlmRecord& link, std::u16string& text);
  // The name (field 5) of the first record of `container` in store 96 whose
  // `field` holds `id`; "" when there is none.
  std::u16string SystemName(unsigned short container, unsigned short field, short id);

  // Names looked up during one export: links repeat their few relations.
  std::map<std::pair<unsigned short, short>, std::u16string> m_Names;

  void* m_hDatabase;
  uint32_t m_nStore;
  std::vector<Definition> m_UsageLabels;
  std::vector<Definition> m_Features;
  FlmError m_LoadError;
};

#endif
