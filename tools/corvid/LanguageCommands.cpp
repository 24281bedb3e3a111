// The languages a database holds.
#include <corvid5/Concept.h>
#include <corvid5/ConceptVariant.h>
#include <corvid5/Language.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "Json.h"
#include "Library.h"

namespace corvid {

namespace {

struct LanguageEntry {
  std::string code;
  uint32_t store = 0;
  std::string name;         // in the language itself
  std::string englishName;  // "" when the database has none
  int64_t meanings = 0;
  int64_t variants = 0;
};

// The wordnet's cursor over the variants of one literal keeps its index
// when its criteria are cleared, and then covers every variant.
int64_t variantCount(LanguageWordNet& wordnet) {
  Owned<ConceptVariants> variants(wordnet.GetConceptVariants(""));
  variants->ClearCriteria();
  return variants->GetRecCount();
}

LanguageEntry describe(LanguageWordNet& wordnet) {
  Owned<Language> language(wordnet.GetLanguage());
  LanguageEntry e;
  e.code = takeText(language->GetCode());
  e.store = wordnet.GetStoreID();
  e.name = takeText(language->GetName(nullptr));
  e.englishName = takeText(language->GetName("en"));
  Owned<Concepts> meanings(wordnet.GetConcepts());
  e.meanings = meanings->GetCount();
  e.variants = variantCount(wordnet);
  return e;
}

// The names close the line: their widths on screen are not their lengths.
void printLanguages(const std::vector<LanguageEntry>& entries) {
  for (const LanguageEntry& e : entries) {
    std::printf("%-3s %5u %8lld meanings %8lld variants  %s", e.code.c_str(), e.store,
                static_cast<long long>(e.meanings), static_cast<long long>(e.variants),
                e.name.c_str());
    if (!e.englishName.empty() && e.englishName != e.name)
      std::printf(" (%s)", e.englishName.c_str());
    std::printf("\n");
  }
}

void writeLanguages(const std::vector<LanguageEntry>& entries) {
  JsonWriter json(stdout);
  json.beginObject();
  json.key("languages").beginArray();
  for (const LanguageEntry& e : entries) {
    json.beginObject();
    json.key("code").value(e.code);
    json.key("store").value(e.store);
    json.key("name").value(e.name);
    json.key("english_name").value(e.englishName);
    json.key("meanings").value(e.meanings);
    json.key("variants").value(e.variants);
    json.endObject();
  }
  json.endArray();
  json.endObject();
}

int runLangs(const Invocation& run) {
  const Arguments args(run.args, {kDbOption, kJsonOption}, 0);
  Database db(run.databasePath(args));
  std::vector<LanguageEntry> entries;
  for (Owned<LanguageWordNet>& wordnet : db.languages()) entries.push_back(describe(*wordnet));
  if (args.has("--json"))
    writeLanguages(entries);
  else
    printLanguages(entries);
  return 0;
}

}  // namespace

const Command kLangsCommand = {
    "langs", "langs [--json]",
    "The languages of the database: code, store, name in the language itself and in\n"
    "English, and how many meanings and variants each has.\n",
    runLangs};

}  // namespace corvid
