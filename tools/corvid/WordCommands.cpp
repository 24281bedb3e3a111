// The meanings of a word form: as they are, in other languages, and what
// they are linked to.
#include <corvid5/ConceptLink.h>
#include <corvid5/ILIRecord.h>
#include <corvid5/Relations.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "Commands.h"
#include "Json.h"
#include "Library.h"
#include "Meanings.h"

namespace corvid {

namespace {

// The wordnets of the codes given, or every one when none is.
std::vector<Owned<LanguageWordNet>> chosenLanguages(Database& db,
                                                    const std::vector<std::string>& codes) {
  if (codes.empty()) return db.languages();
  std::vector<Owned<LanguageWordNet>> out;
  for (const std::string& code : codes) out.push_back(db.language(code));
  return out;
}

struct LanguageMeanings {
  std::string code;
  std::vector<MeaningSummary> meanings;
};

void printLookup(const std::string& word, const std::vector<LanguageMeanings>& found) {
  bool any = false;
  for (const LanguageMeanings& l : found) {
    if (l.meanings.empty()) continue;
    std::printf("%s\n", l.code.c_str());
    for (const MeaningSummary& m : l.meanings) printMeaning(m, 2, true);
    any = true;
  }
  if (!any) std::printf("no meaning of \"%s\"\n", word.c_str());
}

void writeLookup(const std::string& word, const std::vector<LanguageMeanings>& found) {
  JsonWriter json(stdout);
  json.beginObject();
  json.key("word").value(word);
  json.key("languages").beginArray();
  for (const LanguageMeanings& l : found) {
    json.beginObject();
    json.key("code").value(l.code);
    json.key("meanings").beginArray();
    for (const MeaningSummary& m : l.meanings) writeMeaning(json, m);
    json.endArray();
    json.endObject();
  }
  json.endArray();
  json.endObject();
}

int runLookup(const Invocation& run) {
  const Arguments args(run.args, {kDbOption, kJsonOption, {"--lang", Option::kValues}}, 1);
  const std::string word = args.word();
  Database db(run.databasePath(args));
  std::vector<LanguageMeanings> found;
  for (Owned<LanguageWordNet>& wordnet : chosenLanguages(db, args.values("--lang"))) {
    LanguageMeanings l{Database::codeOf(*wordnet), {}};
    for (Owned<Concept>& meaning : meaningsOf(*wordnet, word))
      l.meanings.push_back(summarize(*meaning));
    found.push_back(std::move(l));
  }
  if (args.has("--json"))
    writeLookup(word, found);
  else
    printLookup(word, found);
  return 0;
}

// The index records a meaning is linked to, by any equivalence relation.
std::vector<uint32_t> indexRecordsOf(Concept& meaning) {
  std::vector<uint32_t> out;
  ILIRecords* found = nullptr;
  if (!meaning.GetILIRecords(0, &found)) return out;
  Owned<ILIRecords> records(found);
  forEach(*records, [&](Owned<ILIRecord> record) {
    out.push_back(static_cast<uint32_t>(record->GetRecordID()));
  });
  return out;
}

// The words of a language's meanings linked to any of these index records,
// each once, in the order found.
std::vector<std::string> wordsFor(LanguageWordNet& wordnet, const std::vector<uint32_t>& records) {
  std::vector<std::string> words;
  for (uint32_t record : records) {
    Concepts* linked = wordnet.GetConcepts(record, 0);
    if (!linked) continue;
    Owned<Concepts> meanings(linked);
    forEach(*meanings, [&](Owned<Concept> meaning) {
      for (std::string& literal : literalsOf(*meaning))
        if (std::find(words.begin(), words.end(), literal) == words.end())
          words.push_back(std::move(literal));
    });
  }
  return words;
}

struct Translation {
  std::string code;
  std::vector<std::string> words;
};

struct TranslatedMeaning {
  MeaningSummary meaning;
  std::vector<Translation> translations;
};

void printTranslations(const std::string& word, const std::vector<TranslatedMeaning>& found) {
  if (found.empty()) std::printf("no meaning of \"%s\"\n", word.c_str());
  for (const TranslatedMeaning& t : found) {
    printMeaning(t.meaning, 0, true);
    for (const Translation& to : t.translations) {
      std::printf("    %-3s", to.code.c_str());
      for (size_t i = 0; i < to.words.size(); ++i)
        std::printf("%s%s", i ? ", " : " ", to.words[i].c_str());
      std::printf("%s\n", to.words.empty() ? " -" : "");
    }
  }
}

void writeTranslations(const std::string& word, const std::string& from,
                       const std::vector<TranslatedMeaning>& found) {
  JsonWriter json(stdout);
  json.beginObject();
  json.key("word").value(word);
  json.key("from").value(from);
  json.key("meanings").beginArray();
  for (const TranslatedMeaning& t : found) {
    json.beginObject();
    writeMeaningMembers(json, t.meaning);
    json.key("translations").beginArray();
    for (const Translation& to : t.translations) {
      json.beginObject();
      json.key("code").value(to.code);
      json.key("words").values(to.words);
      json.endObject();
    }
    json.endArray();
    json.endObject();
  }
  json.endArray();
  json.endObject();
}

// The wordnets to translate into: those named, else every other one.
std::vector<Owned<LanguageWordNet>> targetLanguages(Database& db, const std::string& from,
                                                    const std::vector<std::string>& codes) {
  std::vector<Owned<LanguageWordNet>> out = chosenLanguages(db, codes);
  if (codes.empty())
    std::erase_if(out, [&](Owned<LanguageWordNet>& w) { return Database::codeOf(*w) == from; });
  return out;
}

int runTranslate(const Invocation& run) {
  const Arguments args(
      run.args, {kDbOption, kJsonOption, {"--from", Option::kValue}, {"--to", Option::kValues}}, 1);
  const std::string word = args.word();
  if (!args.has("--from")) throw UsageError{};
  const std::string from = args.value("--from");
  Database db(run.databasePath(args));
  Owned<LanguageWordNet> source = db.language(from);
  std::vector<Owned<LanguageWordNet>> targets = targetLanguages(db, from, args.values("--to"));
  std::vector<TranslatedMeaning> found;
  for (Owned<Concept>& meaning : meaningsOf(*source, word)) {
    TranslatedMeaning t{summarize(*meaning), {}};
    const std::vector<uint32_t> records = indexRecordsOf(*meaning);
    for (Owned<LanguageWordNet>& target : targets)
      t.translations.push_back({Database::codeOf(*target), wordsFor(*target, records)});
    found.push_back(std::move(t));
  }
  if (args.has("--json"))
    writeTranslations(word, from, found);
  else
    printTranslations(word, found);
  return 0;
}

struct RelatedMeanings {
  short relation = 0;
  std::string name;
  std::vector<MeaningSummary> meanings;
};

struct LinkedMeaning {
  MeaningSummary meaning;
  std::vector<RelatedMeanings> relations;  // by relation id
};

// The relation id of a name in the relations table; Failure for none.
short relationNamed(Relations& relations, std::string name) {
  short id = 0;
  if (!relations.GetRelationID(name.data(), &id))
    throw Failure{"unknown relation " + name + " (corvid relations lists them)"};
  return id;
}

std::string relationName(Relations& relations, short id) {
  char name[256] = {};
  if (relations.GetRelationName(id, name, sizeof name)) return name;
  return "relation " + std::to_string(id);
}

// The meanings each link of `meaning` leads to, gathered relation by
// relation. A link whose far end is a word rather than a meaning of this
// wordnet leads to no meaning and is passed over.
std::vector<RelatedMeanings> relatedTo(Concept& meaning, short relation, Relations& relations) {
  std::map<short, RelatedMeanings> byRelation;
  Owned<ConceptLinks> links(meaning.GetConceptLinks(relation));
  forEach(*links, [&](Owned<ConceptLink> link) {
    if (link->GetTargetConceptID() == 0) return;
    Owned<Concept> target(link->GetTargetConcept());
    RelatedMeanings& group = byRelation[link->GetRelation()];
    group.meanings.push_back(summarize(*target));
  });
  std::vector<RelatedMeanings> out;
  for (auto& [id, group] : byRelation) {
    group.relation = id;
    group.name = relationName(relations, id);
    out.push_back(std::move(group));
  }
  return out;
}

void printRelated(const std::string& word, const std::vector<LinkedMeaning>& found) {
  if (found.empty()) std::printf("no meaning of \"%s\"\n", word.c_str());
  for (const LinkedMeaning& l : found) {
    printMeaning(l.meaning, 0, true);
    for (const RelatedMeanings& r : l.relations) {
      std::printf("    %s\n", r.name.c_str());
      for (const MeaningSummary& m : r.meanings) printMeaning(m, 6, false);
    }
  }
}

void writeRelated(const std::string& word, const std::string& code,
                  const std::vector<LinkedMeaning>& found) {
  JsonWriter json(stdout);
  json.beginObject();
  json.key("word").value(word);
  json.key("lang").value(code);
  json.key("meanings").beginArray();
  for (const LinkedMeaning& l : found) {
    json.beginObject();
    writeMeaningMembers(json, l.meaning);
    json.key("relations").beginArray();
    for (const RelatedMeanings& r : l.relations) {
      json.beginObject();
      json.key("id").value(r.relation);
      json.key("name").value(r.name);
      json.key("meanings").beginArray();
      for (const MeaningSummary& m : r.meanings) writeMeaning(json, m);
      json.endArray();
      json.endObject();
    }
    json.endArray();
    json.endObject();
  }
  json.endArray();
  json.endObject();
}

int runRelated(const Invocation& run) {
  const Arguments args(
      run.args,
      {kDbOption, kJsonOption, {"--lang", Option::kValue}, {"--relation", Option::kValue}}, 1);
  const std::string word = args.word();
  if (!args.has("--lang")) throw UsageError{};
  const std::string code = args.value("--lang");
  Database db(run.databasePath(args));
  Owned<LanguageWordNet> wordnet = db.language(code);
  Owned<Relations> relations(db.polylex().GetRelations());
  const short relation =
      args.has("--relation") ? relationNamed(*relations, args.value("--relation")) : 0;
  std::vector<LinkedMeaning> found;
  for (Owned<Concept>& meaning : meaningsOf(*wordnet, word))
    found.push_back({summarize(*meaning), relatedTo(*meaning, relation, *relations)});
  if (args.has("--json"))
    writeRelated(word, code, found);
  else
    printRelated(word, found);
  return 0;
}

}  // namespace

const Command kLookupCommand = {
    "lookup", "lookup WORD [--lang CODE]... [--json]",
    "Every meaning of the word form, whatever its case, in the languages given\n"
    "(all when none is):\n"
    "its record number, part of speech, the WordNet offset of its index record,\n"
    "its variants (literal and sense) and its definition.\n",
    runLookup};

const Command kTranslateCommand = {
    "translate", "translate WORD --from CODE [--to CODE]... [--json]",
    "The word's meanings in one language and, through the inter-lingual index,\n"
    "the words of the same meanings in the languages given (all others when none is).\n",
    runTranslate};

const Command kRelatedCommand = {
    "related", "related WORD --lang CODE [--relation NAME] [--json]",
    "The meanings linked to each meaning of the word, relation by relation; with\n"
    "--relation only that one (names as `corvid relations` lists them).\n",
    runRelated};

}  // namespace corvid
