// A language's word forms in alphabetical order, each once.
#include <corvid5/Dictionary.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "Json.h"
#include "Library.h"

namespace corvid {

namespace {

void filter(Dictionary& dictionary, const Arguments& args) {
  const int caseSensitive = args.has("--ignore-case") ? 0 : 1;
  if (args.has("--pattern")) {
    dictionary.SetFilter(args.value("--pattern").c_str(), caseSensitive);
    return;
  }
  const std::string from = args.value("--from"), to = args.value("--to");
  dictionary.SetFilter(from.c_str(), args.has("--to") ? to.c_str() : nullptr, caseSensitive);
}

std::vector<std::string> wordForms(Dictionary& dictionary, uint32_t limit) {
  std::vector<std::string> out;
  DictionaryEntry* entry = nullptr;
  // No step past the limit: an entry read is an entry to release.
  while (out.size() < limit &&
         (out.empty() ? dictionary.GetFirst(&entry) : dictionary.GetNext(&entry)))
    out.push_back(takeText(Owned<DictionaryEntry>(entry)->GetLiteral()));
  expectEnd(dictionary);
  return out;
}

int runDict(const Invocation& run) {
  const Arguments args(run.args,
                       {kDbOption,
                        kJsonOption,
                        {"--lang", Option::kValue},
                        {"--from", Option::kValue},
                        {"--to", Option::kValue},
                        {"--pattern", Option::kValue},
                        {"--ignore-case", Option::kFlag},
                        {"--limit", Option::kValue}},
                       0);
  // A range and a pattern are two filters of the dictionary, not one.
  const bool range = args.has("--from") || args.has("--to");
  if (!args.has("--lang") || (range && args.has("--pattern"))) throw UsageError{};
  const uint32_t limit = args.has("--limit") ? args.number("--limit", UINT32_MAX) : UINT32_MAX;
  const std::string code = args.value("--lang");
  Database db(run.databasePath(args));
  Owned<LanguageWordNet> wordnet = db.language(code);
  Owned<Dictionary> dictionary(wordnet->GetDictionary());
  filter(*dictionary, args);
  const std::vector<std::string> words = wordForms(*dictionary, limit);
  if (args.has("--json")) {
    JsonWriter json(stdout);
    json.beginObject();
    json.key("lang").value(code);
    json.key("words").values(words);
    json.endObject();
  } else {
    for (const std::string& word : words) std::printf("%s\n", word.c_str());
  }
  return 0;
}

}  // namespace

const Command kDictCommand = {
    "dict",
    "dict --lang CODE [--from A] [--to B] [--pattern P] [--ignore-case] [--limit N] [--json]",
    "The word forms of a language in alphabetical order, each once: from A (inclusive)\n"
    "to B (exclusive), or those matching the pattern P (* any run of characters);\n"
    "letter case counts unless --ignore-case; at most N of them with --limit.\n",
    runDict};

}  // namespace corvid
