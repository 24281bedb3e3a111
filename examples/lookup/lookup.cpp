// corvid-lookup: the meanings of a word in one language of a Corvid5
// database, each with its synonyms, its definition and its WordNet synset.
//
//   corvid-lookup DATABASE WORD [LANGUAGE]      (LANGUAGE defaults to en)
#include <corvid5/corvid5.h>

#include <cstdio>
#include <memory>
#include <string>

namespace {

// Every object the library hands out ends with Destroy().
template <class T>
struct Destroyer {
  void operator()(T* object) const { object->Destroy(); }
};
template <class T>
using Held = std::unique_ptr<T, Destroyer<T>>;

// The library's wide strings as UTF-8; the string is released.
std::string utf8(unsigned short* wide) {
  std::string text;
  if (!wide) return text;
  const int length = static_cast<int>(SysStringLen(wide));
  const int size = WideCharToMultiByte(CP_UTF8, 0, wide, length, nullptr, 0, nullptr, nullptr);
  text.resize(static_cast<size_t>(size));
  WideCharToMultiByte(CP_UTF8, 0, wide, length, text.data(), size, nullptr, nullptr);
  SysFreeString(wide);
  return text;
}

// "dog, domestic dog, Canis familiaris", and the first definition met.
void printVariants(Concept& meaning) {
  Held<ConceptVariants> variants(meaning.GetConceptVariants());
  std::string words, definition;
  ConceptVariant* v = nullptr;
  for (int more = variants->GetFirst(&v); more; more = variants->GetNext(&v)) {
    Held<ConceptVariant> variant(v);
    words += (words.empty() ? "" : ", ") + utf8(variant->GetLiteral());
    if (definition.empty()) definition = utf8(variant->GetDefinition());
  }
  std::printf("  %s\n", words.c_str());
  if (!definition.empty()) std::printf("      %s\n", definition.c_str());
}

void printMeaning(Concept& meaning) {
  const std::string pos = utf8(meaning.GetPartOfSpeech());
  ILIRecord* index = nullptr;
  if (meaning.GetEqSynonym(&index)) {
    Held<ILIRecord> held(index);
    std::printf("%s %08d", pos.c_str(), static_cast<int>(held->GetWordNetOffset()));
  } else {
    std::printf("%s", pos.c_str());
  }
  printVariants(meaning);
}

int lookUp(const char* path, const char* word, const char* language) {
  CorvidEngine::GetInstance();
  Polylex polylex;
  polylex.Open(path, nullptr, /*readOnly=*/1, /*exclusive=*/0);
  Held<LanguageWordNets> wordnets(polylex.GetLanguageWordNets());
  Held<LanguageWordNet> wordnet(wordnets->GetItem(language));
  Held<Concepts> meanings(wordnet->GetConcepts(word));
  int found = 0;
  Concept* c = nullptr;
  for (int more = meanings->GetFirst(&c); more; more = meanings->GetNext(&c), ++found) {
    Held<Concept> meaning(c);
    printMeaning(*meaning);
  }
  if (!found) std::printf("no meanings of '%s' in %s\n", word, language);
  return found ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3 || argc > 4) {
    std::fprintf(stderr, "usage: corvid-lookup DATABASE WORD [LANGUAGE]\n");
    return 2;
  }
  int status = 1;
  try {
    status = lookUp(argv[1], argv[2], argc == 4 ? argv[3] : "en");
  } catch (const PLXException& e) {
    std::fprintf(stderr, "corvid-lookup: %s: %s\n", argv[1], static_cast<const char*>(e));
  }
  CorvidEngine::DestroyInstance();
  return status;
}
