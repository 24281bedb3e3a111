// Query cursors over 200,000 variants and 100,000 meanings: each query is
// measured whole, from making the cursor to reading its first record, as a
// lookup by word pays for it; and a whole container counted.
//
// Each query runs twice over: with argument 0 the engine's caches work as
// they do for any reader, so a query asked before is answered from the
// answer cache; with argument 1 the answer cache is emptied before every
// query (inside the timing, which makes the figure a little high), so every
// query is parsed, planned and descends the key table in SQLite.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "flm/Cursor.h"
#include "flm/Database.h"
#include "flm/Session.h"
#include "flm/Value.h"

namespace {

constexpr uint16_t kVariant = 60, kLiteral = 120, kSense = 121, kConcept = 50;
constexpr uint16_t kMeaning = 80, kDefinition = 122, kExample = 124;
constexpr uint16_t kMeanings = 101;
constexpr uint16_t kByLiteral = 1, kByConcept = 2;
constexpr uint32_t kVariants = 200000, kMeaningCount = kVariants / 2, kWords = kVariants / 2;

flm::Dictionary benchDictionary() {
  flm::Dictionary d;
  d.fields = {{kVariant, "variant", flm::FLM_TEXT_TYPE},   {kLiteral, "literal", flm::FLM_TEXT_TYPE},
              {kSense, "sense", flm::FLM_NUMBER_TYPE},     {kConcept, "concept", flm::FLM_CONTEXT_TYPE},
              {kMeaning, "meaning", flm::FLM_TEXT_TYPE},   {kDefinition, "definition", flm::FLM_TEXT_TYPE},
              {kExample, "example", flm::FLM_TEXT_TYPE}};
  d.containers = {{kMeanings, "meanings"}};
  d.indexes = {{kByLiteral, "byLiteral", flm::FLM_DATA_CONTAINER, {{kVariant, kLiteral}}},
               {kByConcept, "byConcept", flm::FLM_DATA_CONTAINER, {{kConcept}}}};
  return d;
}

// Variant i spells word (i * 7919) % kWords, so each word has two variants,
// i and i + kWords, of different meanings; variants 2m-1 and 2m mean m.
std::string word(uint32_t n) { return "word " + std::to_string(n); }
uint32_t wordOf(uint32_t variant) { return static_cast<uint32_t>(uint64_t{variant} * 7919 % kWords); }
uint32_t meaningOf(uint32_t variant) { return (variant - 1) / 2 + 1; }

flm::Node* child(flm::PoolMemoryManager* pool, flm::Node* root, uint16_t tag) {
  flm::RCODE rc;
  flm::Node* n = flm::nodeMake(pool, tag, &rc);
  flm::nodeChildGraft(root, n, flm::GED_LAST);
  return n;
}

void putText(flm::PoolMemoryManager* pool, flm::Node* n, const std::string& s) {
  flm::putUtf8(pool, n, s.data(), s.size());
}

flm::Node* variantRecord(flm::PoolMemoryManager* pool, uint32_t i) {
  flm::RCODE rc;
  flm::Node* root = flm::nodeMake(pool, kVariant, &rc);
  putText(pool, child(pool, root, kLiteral), word(wordOf(i)));
  flm::putInt(pool, child(pool, root, kSense), i % 7 + 1);
  flm::putRecPtr(pool, child(pool, root, kConcept), meaningOf(i));
  for (int e = 0; e < 3; ++e) putText(pool, child(pool, root, kExample), "example sentence " + std::to_string(e));
  return root;
}

flm::Node* meaningRecord(flm::PoolMemoryManager* pool, uint32_t m) {
  flm::RCODE rc;
  flm::Node* root = flm::nodeMake(pool, kMeaning, &rc);
  putText(pool, child(pool, root, kDefinition), "the sense numbered " + std::to_string(m));
  return root;
}

// One database for the whole run, built once and read as the library reads:
// through a read-only open.
class Shared {
 public:
  static Shared& get() {
    static Shared shared;
    return shared;
  }
  flm::Database* db() const { return db_; }
  bool ok() const { return ok_; }

 private:
  Shared() {
    path_ = "/tmp/corvid5-bench-query-" + std::to_string(getpid()) + ".db";
    std::remove(path_.c_str());
    if (flm::Session::create(256 * 1024, 0, &session_) ||
        session_->createDatabase(path_.c_str(), benchDictionary(), &db_))
      return;
    flm::PoolMemoryManager pool;
    flm::poolInit(&pool, 1024);
    bool added = db_->transBegin() == flm::FERR_OK;
    for (uint32_t i = 1; added && i <= kVariants; ++i) {
      flm::poolReset(&pool, nullptr);
      uint32_t drn = 0;
      added = db_->add(0, flm::FLM_DATA_CONTAINER, &drn, variantRecord(&pool, i)) == flm::FERR_OK;
    }
    for (uint32_t m = 1; added && m <= kMeaningCount; ++m) {
      flm::poolReset(&pool, nullptr);
      uint32_t drn = 0;
      added = db_->add(0, kMeanings, &drn, meaningRecord(&pool, m)) == flm::FERR_OK;
    }
    flm::poolFree(&pool);
    if (!added || db_->transCommit()) return;
    flm::Session::closeDatabase(&db_);
    ok_ = session_->openDatabase(path_.c_str(), nullptr, flm::FO_READ_ONLY, &db_) == flm::FERR_OK;
  }
  ~Shared() {
    flm::Session::close(&session_);
    std::remove(path_.c_str());
  }

  std::string path_;
  flm::Session* session_ = nullptr;
  flm::Database* db_ = nullptr;
  bool ok_ = false;
};

// Criteria for one query; `n` picks which.
using Criteria = void (*)(flm::Cursor* c, uint32_t n);

void byLiteral(flm::Cursor* c, uint32_t n) {
  static const uint16_t path[] = {kVariant, kLiteral};
  std::string w = word(n % kWords);
  c->addField(path, 2, 0);
  c->addOp(flm::FLM_EQ_OP);
  c->addValue(flm::FLM_STRING_VAL, w.data(), w.size());
}

void byConcept(flm::Cursor* c, uint32_t n) {
  static const uint16_t path[] = {kConcept};
  uint32_t meaning = n % kMeaningCount + 1;
  c->addField(path, 1, 0);
  c->addOp(flm::FLM_EQ_OP);
  c->addValue(flm::FLM_UINT32_VAL, &meaning, 0);
}

// Variants (set 1) to meanings (set 2) by the variant's literal.
void meaningsByLiteral(flm::Cursor* c, uint32_t n) {
  static const uint16_t pointer[] = {kVariant, kConcept}, recId[] = {flm::FLM_RECID_FIELD},
                        literal[] = {kVariant, kLiteral};
  std::string w = word(n % kWords);
  c->addField(pointer, 2, 1);
  c->addOp(flm::FLM_EQ_OP);
  c->addField(recId, 1, 2);
  c->addOp(flm::FLM_AND_OP);
  c->addField(literal, 2, 1);
  c->addOp(flm::FLM_EQ_OP);
  c->addValue(flm::FLM_STRING_VAL, w.data(), w.size());
}

void fiftyRecordNumbers(flm::Cursor* c, uint32_t n) {
  static const uint16_t recId[] = {flm::FLM_RECID_FIELD};
  for (uint32_t k = 0; k < 50; ++k) {
    uint32_t drn = (n + k * 3989) % kVariants + 1;
    if (k) c->addOp(flm::FLM_OR_OP);
    c->addField(recId, 1, 0);
    c->addOp(flm::FLM_EQ_OP);
    c->addValue(flm::FLM_UINT32_VAL, &drn, 0);
  }
}

flm::RCODE makeCursor(flm::Database* db, bool join, flm::Cursor** c) {
  if (!join) return flm::Cursor::init(db, 0, flm::FLM_DATA_CONTAINER, c);
  flm::RCODE rc = flm::Cursor::init(nullptr, 0, flm::FLM_DATA_CONTAINER, c);
  if (!rc) rc = (*c)->addContext(1, db, 0, flm::FLM_DATA_CONTAINER);
  if (!rc) rc = (*c)->addContext(2, db, 0, kMeanings);
  return rc;
}

// The number of records query `n` finds, checked before timing it.
uint32_t resultCount(flm::Database* db, bool join, Criteria criteria, uint32_t n) {
  flm::Cursor* c = nullptr;
  uint32_t count = 0;
  if (makeCursor(db, join, &c)) return 0;
  criteria(c, n);
  if (c->validate() || c->recordCount(&count)) count = 0;
  flm::Cursor::free(&c);
  return count;
}

void runQueries(benchmark::State& state, Criteria criteria, bool join, uint32_t expected) {
  Shared& shared = Shared::get();
  if (!shared.ok()) {
    state.SkipWithError("could not build the database");
    return;
  }
  flm::Database* db = shared.db();
  for (uint32_t n : {1u, 77777u, 199999u})
    if (resultCount(db, join, criteria, n) != expected) {
      state.SkipWithError("a query found the wrong number of records");
      return;
    }
  flm::PoolMemoryManager pool;
  flm::poolInit(&pool, 1024);
  uint32_t n = 0;
  const bool freshAnswers = state.range(0) != 0;
  for (auto _ : state) {
    n = n * 1103515245u + 12345u;  // spread the queries over the keys
    if (freshAnswers) db->answerCache()->clear();
    flm::Cursor* c = nullptr;
    flm::RCODE rc = makeCursor(db, join, &c);
    if (!rc) {
      criteria(c, n >> 8);
      rc = c->validate();
    }
    uint32_t drn = 0;
    if (!rc) rc = c->moveFirst(&drn);
    flm::poolReset(&pool, nullptr);
    flm::Node* root = nullptr;
    if (!rc) rc = c->read(&pool, &root);
    flm::Cursor::free(&c);
    if (rc) {
      state.SkipWithError("query failed");
      break;
    }
    benchmark::DoNotOptimize(root);
  }
  flm::poolFree(&pool);
  state.counters["results"] = expected;
}

void BM_QueryIndexedTextEquality(benchmark::State& state) { runQueries(state, byLiteral, false, 2); }
BENCHMARK(BM_QueryIndexedTextEquality)->Arg(0)->Arg(1);

void BM_QueryIndexedRecordPointer(benchmark::State& state) { runQueries(state, byConcept, false, 2); }
BENCHMARK(BM_QueryIndexedRecordPointer)->Arg(0)->Arg(1);

void BM_QueryJoinVariantsToMeanings(benchmark::State& state) {
  runQueries(state, meaningsByLiteral, true, 2);
}
BENCHMARK(BM_QueryJoinVariantsToMeanings)->Arg(0)->Arg(1);

void BM_QueryFiftyRecordNumbers(benchmark::State& state) {
  runQueries(state, fiftyRecordNumbers, false, 50);
}
BENCHMARK(BM_QueryFiftyRecordNumbers)->Arg(0)->Arg(1);

void BM_CountWholeContainer(benchmark::State& state) {
  Shared& shared = Shared::get();
  if (!shared.ok()) {
    state.SkipWithError("could not build the database");
    return;
  }
  for (auto _ : state) {
    flm::Cursor* c = nullptr;
    uint32_t count = 0;
    flm::RCODE rc = flm::Cursor::init(shared.db(), 0, flm::FLM_DATA_CONTAINER, &c);
    if (!rc) rc = c->recordCount(&count);
    flm::Cursor::free(&c);
    if (rc || count != kVariants) {
      state.SkipWithError("wrong count");
      break;
    }
  }
}
BENCHMARK(BM_CountWholeContainer)->Unit(benchmark::kMillisecond);

}  // namespace
