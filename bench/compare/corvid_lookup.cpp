// Every meaning of each word with the literals of each meaning, through
// Corvid5's public interface alone, as a client program would do it; or the
// word's translation into every other language of the database through the
// inter-lingual index.
//
// usage: compare_corvid DB WORDS [--cache KB] [--translate]
//
// Words are read as WordNet's index spells them, in lower case with
// underscores for spaces, and looked up as the other peers look them up:
// whatever the case of the stored literal, with spaces. Prints
// `name value` lines as the other peers do; times are the process's CPU
// time, `wall_` lines the elapsed time.
#include <corvid5/corvid5.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

struct Found {
  long meanings = 0;
  long literals = 0;
  bool operator!=(const Found& other) const {
    return meanings != other.meanings || literals != other.literals;
  }
};

struct Span {
  timespec cpu{}, wall{};
  Span() {
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpu);
    clock_gettime(CLOCK_MONOTONIC, &wall);
  }
};

double seconds(const timespec& t) { return static_cast<double>(t.tv_sec) + t.tv_nsec * 1e-9; }

void report(const char* name, const Span& from, double scale) {
  const Span to;
  std::printf("%s %.2f\n", name, (seconds(to.cpu) - seconds(from.cpu)) * scale);
  std::printf("wall_%s %.2f\n", name, (seconds(to.wall) - seconds(from.wall)) * scale);
}

// Counts the literal without keeping it: reading it is the work measured.
long countLiteral(unsigned short* literal) {
  const long read = literal && SysStringLen(literal) > 0 ? 1 : 0;
  SysFreeString(literal);
  return read;
}

void readVariants(Concept& meaning, Found& found) {
  ConceptVariants* variants = meaning.GetConceptVariants();
  ConceptVariant* variant = nullptr;
  for (int more = variants->GetFirst(&variant); more; more = variants->GetNext(&variant)) {
    found.literals += countLiteral(variant->GetLiteral());
    variant->Destroy();
  }
  variants->Destroy();
}

// The literals of the index record in each of `others`.
void translate(Concept& meaning, const std::vector<LanguageWordNet*>& others, Found& found) {
  ILIRecord* index = nullptr;
  if (!meaning.GetEqSynonym(&index)) return;
  const uint32_t record = static_cast<uint32_t>(index->GetRecordID());
  index->Destroy();
  for (LanguageWordNet* other : others) {
    ILIVariants* words = other->GetILIVariants(record);
    ILIVariant* word = nullptr;
    for (int more = words->GetFirst(&word); more; more = words->GetNext(&word)) {
      found.literals += countLiteral(word->GetLiteral());
      word->Destroy();
    }
    words->Destroy();
  }
}

// With no other languages given, the meanings' own literals; with them, the
// meanings' translations.
void lookUp(LanguageWordNet& english, const std::vector<LanguageWordNet*>& others,
            const std::string& word, Found& found) {
  Concepts* meanings = english.GetConcepts(word.c_str());
  meanings->CaseSensitive(0);
  Concept* meaning = nullptr;
  for (int more = meanings->GetFirst(&meaning); more; more = meanings->GetNext(&meaning)) {
    ++found.meanings;
    if (others.empty())
      readVariants(*meaning, found);
    else
      translate(*meaning, others, found);
    meaning->Destroy();
  }
  meanings->Destroy();
}

Found onePass(LanguageWordNet& english, const std::vector<LanguageWordNet*>& others,
              const std::vector<std::string>& words) {
  Found found;
  for (const std::string& word : words) lookUp(english, others, word, found);
  return found;
}

std::vector<std::string> readWords(const char* path) {
  std::vector<std::string> words;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) {
    if (line.empty()) continue;
    std::replace(line.begin(), line.end(), '_', ' ');
    words.push_back(line);
  }
  return words;
}

// Every language but English, made once as a client would keep them.
std::vector<LanguageWordNet*> otherLanguages(Polylex& polylex, uint32_t englishStore) {
  std::vector<LanguageWordNet*> others;
  LanguageWordNets* wordnets = polylex.GetLanguageWordNets();
  LanguageWordNet* wordnet = nullptr;
  for (int more = wordnets->GetFirst(&wordnet); more; more = wordnets->GetNext(&wordnet)) {
    if (wordnet->GetStoreID() == englishStore) {
      wordnet->Destroy();
    } else {
      others.push_back(wordnet);
    }
  }
  wordnets->Destroy();
  return others;
}

LanguageWordNet* english(Polylex& polylex) {
  LanguageWordNets* wordnets = polylex.GetLanguageWordNets();
  LanguageWordNet* english = wordnets->GetItem("en");
  wordnets->Destroy();
  return english;
}

struct Options {
  const char* database = nullptr;
  const char* words = nullptr;
  int cacheKilobytes = 0;  // 0: the engine's own; at most 65535, an unsigned 16-bit count
  bool translate = false;
};

bool parse(int argc, char** argv, Options& options) {
  if (argc < 3) return false;
  options.database = argv[1];
  options.words = argv[2];
  for (int i = 3; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--translate")) {
      options.translate = true;
    } else if (!std::strcmp(argv[i], "--cache") && i + 1 < argc) {
      options.cacheKilobytes = std::atoi(argv[++i]);
      if (options.cacheKilobytes <= 0 || options.cacheKilobytes > 65535) return false;
    } else {
      return false;
    }
  }
  return true;
}

int run(const Options& options) {
  const std::vector<std::string> words = readWords(options.words);
  if (words.empty()) {
    std::fprintf(stderr, "compare_corvid: no words in %s\n", options.words);
    return 1;
  }

  const Span start;
  CorvidEngine* engine = CorvidEngine::GetInstance();
  // The engine takes the limit in a signed 16-bit number that it reads as
  // unsigned.
  if (options.cacheKilobytes)
    engine->SetCache(static_cast<int16_t>(static_cast<uint16_t>(options.cacheKilobytes)));
  Polylex polylex;
  polylex.Open(options.database, nullptr, /*readOnly=*/1, /*exclusive=*/0);
  LanguageWordNet* en = english(polylex);
  std::vector<LanguageWordNet*> others;
  if (options.translate) others = otherLanguages(polylex, en->GetStoreID());
  Found opening;
  lookUp(*en, others, words.front(), opening);
  std::printf("words %zu\n", words.size());
  std::printf("cache_kb %u\n", static_cast<uint16_t>(engine->GetCache()));
  std::printf("languages %zu\n", others.size());
  report("open_to_first_answer_ms", start, 1e3);

  const double perWord = 1e6 / static_cast<double>(words.size());
  const Span first;
  const Found found = onePass(*en, others, words);
  report("first_pass_us", first, perWord);
  const Span second;
  const Found again = onePass(*en, others, words);
  report("second_pass_us", second, perWord);
  std::printf("meanings %ld\nliterals %ld\n", found.meanings, found.literals);

  for (LanguageWordNet* other : others) other->Destroy();
  en->Destroy();
  polylex.Close();
  CorvidEngine::DestroyInstance();
  if (again != found) {
    std::fprintf(stderr, "compare_corvid: the two passes found different answers\n");
    return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) {
    std::fprintf(stderr, "usage: compare_corvid DB WORDS [--cache KB] [--translate]\n");
    return 2;
  }
  try {
    return run(options);
  } catch (const PLXException& e) {
    std::fprintf(stderr, "compare_corvid: %s\n", static_cast<const char*>(e));
    return 1;
  }
}
