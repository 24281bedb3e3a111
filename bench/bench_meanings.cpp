// A word meaning read whole (its variants with their fields, its links with
// their target meanings and variants, its equivalences with their index
// records) and written out by each of the two writers, in a language store
// of 20,000 meanings with 40,000 variants, 40,000 links and 20,000
// equivalences, so that every query runs through its index on a store of
// some size.
#include <benchmark/benchmark.h>

#include <corvid5/Concept.h>
#include <corvid5/ConceptLink.h>
#include <corvid5/ConceptVariant.h>
#include <corvid5/Examples.h>
#include <corvid5/ILIRecord.h>
#include <corvid5/Platform.h>

#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "engine/Layout.h"
#include "engine/build/RecordDumpLoader.h"
#include "flm/Session.h"
#include "model/meanings/ConceptExporter.h"

namespace {

constexpr uint32_t kStore = 100;
constexpr uint32_t kFiller = 20000;
constexpr uint32_t kRich = 1;

// Meaning 1 has five variants with every field, ten links of each target
// kind and three equivalences; the others two variants, two links and one
// equivalence each.
std::string dump() {
  std::string d = R"(STORE 96 CONTAINER 32001
0 @8@ RELATION_DEFINITION
  1 RELATION 8
  1 CODE has_hyperonym
  1 NAME hyperonym
0 @10@ RELATION_DEFINITION
  1 RELATION 10
  1 CODE has_hyponym
  1 NAME hyponym
STORE 96 CONTAINER 320
0 @1@ PART_OF_SPEECH_DEFINITION
  1 PART_OF_SPEECH 1
  1 NAME noun
STORE 96 CONTAINER 350
0 @1@ EQ_RELATION_DEFINITION
  1 EQ_RELATION 1
  1 CODE eq_synonym
  1 NAME synonym
STORE 96 CONTAINER 360
0 @1@ USAGE_LABEL_DEFINITION
  1 USAGE_LABEL 3
  1 NAME register
  1 VALUES
    2 VALUE 2
      3 VALUE_TEXT slang
STORE 96 CONTAINER 370
0 @1@ FEATURE_DEFINITION
  1 FEATURE 4
  1 NAME countable
)";
  d += "STORE 98 CONTAINER 32001\n";
  for (uint32_t m = 1; m <= kFiller; ++m)
    d += "0 @" + std::to_string(m) + "@ ILI_RECORD\n  1 PART_OF_SPEECH 1\n  1 WORDNET_OFFSET " +
         std::to_string(1000000 + m) + "\n";
  d += "STORE 100 CONTAINER 200\n";
  for (uint32_t m = 1; m <= kFiller; ++m)
    d += "0 @" + std::to_string(m) + "@ CONCEPT\n  1 TYPE 1\n  1 PART_OF_SPEECH 1\n";
  d += "STORE 100 CONTAINER 32001\n";
  for (int v = 1; v <= 5; ++v)
    d += "0 VARIANT\n  1 CONCEPT @1@\n    2 PART_OF_SPEECH 1\n  1 LITERAL rich word " +
         std::to_string(v) +
         "\n    2 SENSE 1\n  1 DEFINITION a meaning with everything a meaning may have\n"
         "  1 STATUS checked\n  1 EXAMPLES\n    2 EXAMPLE the first example\n"
         "    2 EXAMPLE the second example\n  1 TRANSLATIONS\n    2 TRANSLATION mot\n"
         "  1 USAGE_LABELS\n    2 USAGE_LABEL 3\n      3 VALUE 2\n"
         "  1 FEATURES\n    2 FEATURE 4\n"
         "  1 EXTERNAL_INFO\n    2 SOURCE_ID 11\n      3 TEXT_KEY key\n"
         "    2 CORPUS_ID 3\n      3 FREQUENCY 42\n    2 PAROLE_ID 9\n";
  for (uint32_t m = 2; m <= kFiller; ++m)
    for (int v = 1; v <= 2; ++v)
      d += "0 VARIANT\n  1 CONCEPT @" + std::to_string(m) + "@\n    2 PART_OF_SPEECH 1\n" +
           "  1 LITERAL word " + std::to_string(m) + "\n    2 SENSE " + std::to_string(v) + "\n";
  d += "STORE 100 CONTAINER 202\n";
  for (int l = 0; l < 10; ++l) {
    const std::string target = std::to_string(2 + l);
    d += "0 CONCEPT_LINK\n  1 RELATION 8\n  1 SOURCE_CONCEPT @1@\n  1 TARGET_CONCEPT @" + target +
         "@\n";
    d += "0 CONCEPT_LINK\n  1 RELATION 10\n  1 SOURCE_CONCEPT @1@\n    2 VARIANT @1@\n"
         "      3 LITERAL rich word 1\n  1 TARGET_CONCEPT @" + target +
         "@\n    2 VARIANT @" + std::to_string(6 + 2 * l) + "@\n      3 LITERAL word " + target +
         "\n  1 FACTIVE\n";
    d += "0 CONCEPT_LINK\n  1 RELATION 8\n  1 SOURCE_CONCEPT @1@\n  1 TARGET_CONCEPT\n"
         "    2 PART_OF_SPEECH 1\n    2 LITERAL inline\n    2 SENSE 1\n";
  }
  for (uint32_t m = 2; m <= kFiller; ++m)
    for (uint32_t t : {m % kFiller + 1, (m * 7) % kFiller + 1})
      d += "0 CONCEPT_LINK\n  1 RELATION 8\n  1 SOURCE_CONCEPT @" + std::to_string(m) +
           "@\n  1 TARGET_CONCEPT @" + std::to_string(t) + "@\n";
  d += "STORE 100 CONTAINER 204\n";
  for (uint32_t m = 1; m <= kFiller; ++m)
    d += "0 EQ_LINK\n  1 EQ_RELATION 1\n  1 CONCEPT @" + std::to_string(m) +
         "@\n  1 TARGET_ILI @" + std::to_string(m) + "@\n";
  for (uint32_t ili : {2u, 3u})
    d += "0 EQ_LINK\n  1 EQ_RELATION 2\n  1 CONCEPT @1@\n  1 TARGET_ILI @" + std::to_string(ili) +
         "@\n";
  return d;
}

struct Meanings : Concepts {
  Meanings(void* db, uint32_t store) : Concepts(db, layout::kMeanings, store) {}
};

// One database for the whole run, made in the temporary directory.
class Fixture {
 public:
  Fixture() {
    char dir[] = "/tmp/bench-meanings-XXXXXX";
    if (!mkdtemp(dir)) std::abort();
    dir_ = dir;
    path_ = dir_ + "/meanings.db";
    flm::Session::create(1 << 16, 0, &session_);
    session_->createDatabase(path_.c_str(), layout::polylexDictionary(), &db_);
    std::string error;
    if (build::loadRecordDump(db_, dump(), "bench", &error)) {
      std::fprintf(stderr, "%s\n", error.c_str());
      std::abort();
    }
    // Looked up as clients look words up: read-only, which lets the storage
    // engine keep its lock and the records it has read between queries.
    flm::Session::closeDatabase(&db_);
    if (session_->openDatabase(path_.c_str(), nullptr, flm::FO_READ_ONLY, &db_)) std::abort();
  }
  ~Fixture() {
    flm::Session::close(&session_);
    std::remove(path_.c_str());
    rmdir(dir_.c_str());
  }
  void* handle() const { return db_; }

  std::unique_ptr<Concept> rich() {
    Meanings all(db_, kStore);
    Concept* c = nullptr;
    if (!all.GetItem(kRich, &c)) std::abort();
    return std::unique_ptr<Concept>(c);
  }

 private:
  std::string dir_, path_;
  flm::Session* session_ = nullptr;
  flm::Database* db_ = nullptr;
};

Fixture& fixture() {
  static Fixture f;
  return f;
}

// Everything a client reads of one meaning, strings freed as it goes.
void BM_ReadMeaningWhole(benchmark::State& state) {
  Fixture& f = fixture();
  for (auto _ : state) {
    Meanings all(f.handle(), kStore);
    Concept* c = nullptr;
    all.GetItem(kRich, &c);
    std::unique_ptr<Concept> meaning(c);
    size_t read = 0;
    std::unique_ptr<ConceptVariants> variants(meaning->GetConceptVariants());
    for (ConceptVariant* v = nullptr; variants->GetNext(&v);) {
      std::unique_ptr<ConceptVariant> held(v);
      for (unsigned short* s : {held->GetLiteral(), held->GetDefinition(), held->GetStatus(),
                                held->GetUsageLabels(), held->GetFeatures()}) {
        read += SysStringLen(s);
        SysFreeString(s);
      }
      read += static_cast<size_t>(held->GetSense());
      std::unique_ptr<Examples> examples(held->GetExamples());
      unsigned short* e = nullptr;
      for (int more = examples->GetFirst(&e); more; more = examples->GetNext(&e)) {
        read += SysStringLen(e);
        SysFreeString(e);
      }
    }
    std::unique_ptr<ConceptLinks> links(meaning->GetConceptLinks(0));
    for (ConceptLink* l = nullptr; links->GetNext(&l);) {
      std::unique_ptr<ConceptLink> held(l);
      read += static_cast<size_t>(held->GetRelation() + held->GetFactivity());
      if (held->GetTargetConceptID()) read += std::unique_ptr<Concept>(held->GetTargetConcept())->GetID();
      if (std::unique_ptr<ConceptVariant> to{held->GetTargetVariant()}) read += to->GetID();
    }
    ILIRecords* records = nullptr;
    if (meaning->GetILIRecords(0, &records)) {
      std::unique_ptr<ILIRecords> held(records);
      for (ILIRecord* r = nullptr; held->GetNext(&r);) {
        read += static_cast<size_t>(r->GetRecordID());
        r->Destroy();
      }
    }
    benchmark::DoNotOptimize(read);
  }
}
BENCHMARK(BM_ReadMeaningWhole)->Unit(benchmark::kMicrosecond);

void BM_RecordDrivenExport(benchmark::State& state) {
  Fixture& f = fixture();
  std::unique_ptr<Concept> meaning = f.rich();
  std::vector<char> buffer(1 << 16);
  for (auto _ : state) {
    meaning->Export(buffer.data(), static_cast<int>(buffer.size()), 0);
    benchmark::DoNotOptimize(buffer.data());
  }
  state.counters["bytes"] = static_cast<double>(std::string(buffer.data()).size());
}
BENCHMARK(BM_RecordDrivenExport)->Unit(benchmark::kMicrosecond);

// The exporter is made once, as a wordnet makes it, so its definition
// caches are not part of each export.
void BM_ComposingExport(benchmark::State& state) {
  Fixture& f = fixture();
  std::unique_ptr<Concept> meaning = f.rich();
  ConceptExporter exporter(f.handle(), kStore);
  size_t units = 0;
  for (auto _ : state) {
    std::u16string text;
    exporter.Export(*meaning, text);
    units = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.counters["units"] = static_cast<double>(units);
}
BENCHMARK(BM_ComposingExport)->Unit(benchmark::kMicrosecond);

}  // namespace
