// The tagged text of word meanings, as either writer of the library makes it.
#include <corvid5/PLXException.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "Json.h"
#include "Library.h"
#include "Meanings.h"

namespace corvid {

namespace {

struct ExportedMeaning {
  int32_t record = 0;
  std::string text;
};

// The record-driven writer fills a buffer it is given; a meaning with many
// variants and links needs more than a first guess, so the buffer grows
// until the text fits.
std::string recordDrivenText(Concept& meaning) {
  constexpr size_t kLargest = size_t{64} << 20;
  for (size_t size = size_t{16} << 10;; size *= 2) {
    std::vector<char> buffer(size);
    try {
      meaning.Export(buffer.data(), static_cast<int>(size), 0);
      return buffer.data();
    } catch (const PLXException& e) {
      if (e.GetError() != errBufferTooSmall || size >= kLargest) throw;
    }
  }
}

std::string composedText(LanguageWordNet& wordnet, Concept& meaning) {
  unsigned short* text = nullptr;
  if (!wordnet.ExportConcept(&meaning, &text))
    throw Failure{"meaning " + std::to_string(meaning.GetRecordID()) + " could not be exported"};
  return takeText(text);
}

// The meaning of a record number, as one element; Failure when there is none.
std::vector<Owned<Concept>> meaningNumbered(LanguageWordNet& wordnet, uint32_t record,
                                            const std::string& code) {
  Owned<Concepts> all(wordnet.GetConcepts());
  Concept* found = nullptr;
  if (!all->GetItem(record, &found)) {
    expectEnd(*all);
    throw Failure{"no meaning " + std::to_string(record) + " in " + code};
  }
  std::vector<Owned<Concept>> out;
  out.emplace_back(found);
  return out;
}

// The people reading it expect their own line ends.
std::string withLineFeeds(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i)
    if (!(text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')) out += text[i];
  return out;
}

void printExports(const std::vector<ExportedMeaning>& found) {
  for (size_t i = 0; i < found.size(); ++i)
    std::printf("%s%s", i ? "\n" : "", withLineFeeds(found[i].text).c_str());
}

void writeExports(const std::string& code, const std::vector<ExportedMeaning>& found) {
  JsonWriter json(stdout);
  json.beginObject();
  json.key("lang").value(code);
  json.key("meanings").beginArray();
  for (const ExportedMeaning& e : found) {
    json.beginObject();
    json.key("record").value(e.record);
    json.key("text").value(e.text);
    json.endObject();
  }
  json.endArray();
  json.endObject();
}

int runExport(const Invocation& run) {
  const Arguments args(run.args,
                       {kDbOption,
                        kJsonOption,
                        {"--lang", Option::kValue},
                        {"--concept", Option::kValue},
                        {"--record-driven", Option::kFlag}},
                       1);
  const bool byNumber = args.has("--concept");
  if (!args.has("--lang") || byNumber == (args.words().size() == 1)) throw UsageError{};
  const uint32_t record = byNumber ? args.number("--concept", 0x7fffffff) : 0;
  const std::string word = byNumber ? "" : args.word();
  const std::string code = args.value("--lang");
  Database db(run.databasePath(args));
  Owned<LanguageWordNet> wordnet = db.language(code);
  std::vector<Owned<Concept>> meanings =
      byNumber ? meaningNumbered(*wordnet, record, code) : meaningsOf(*wordnet, word);
  std::vector<ExportedMeaning> found;
  for (Owned<Concept>& meaning : meanings)
    found.push_back({meaning->GetRecordID(), args.has("--record-driven")
                                                 ? recordDrivenText(*meaning)
                                                 : composedText(*wordnet, *meaning)});
  if (args.has("--json"))
    writeExports(code, found);
  else if (found.empty())
    std::printf("no meaning of \"%s\"\n", word.c_str());
  else
    printExports(found);
  return 0;
}

}  // namespace

const Command kExportCommand = {
    "export", "export (WORD | --concept N) --lang CODE [--record-driven] [--json]",
    "The tagged text of each meaning of the word, or of meaning N: one line per item,\n"
    "each opening with its level. The composing writer by default, which resolves\n"
    "names and targets; --record-driven writes the stored records field by field.\n",
    runExport};

}  // namespace corvid
