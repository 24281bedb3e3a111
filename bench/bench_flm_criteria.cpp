// Criteria of 100,000 pieces, parsed, planned and run over a handful of
// records: long chains of and and or, brackets and nots nested to the bottom,
// unions nested in unions, and arithmetic. Each figure is the whole of one
// query, from its first piece to its count; the answer cache is emptied
// before each, so every query is parsed and planned afresh.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "flm/Cursor.h"
#include "flm/Database.h"
#include "flm/Session.h"
#include "flm/Value.h"

namespace {

constexpr uint16_t kEntry = 60, kLiteral = 120, kCount = 130;
constexpr uint16_t kByLiteral = 1;
constexpr uint32_t kRecords = 8;
constexpr size_t kPieces = 100000;

flm::Dictionary benchDictionary() {
  flm::Dictionary d;
  d.fields = {{kEntry, "entry", flm::FLM_TEXT_TYPE},
              {kLiteral, "literal", flm::FLM_TEXT_TYPE},
              {kCount, "count", flm::FLM_NUMBER_TYPE}};
  d.indexes = {{kByLiteral, "byLiteral", flm::FLM_DATA_CONTAINER, {{kLiteral}}}};
  return d;
}

// Record n has literal "word n" and count n.
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
    path_ = "/tmp/corvid5-bench-criteria-" + std::to_string(getpid()) + ".db";
    std::remove(path_.c_str());
    if (flm::Session::create(1024, 0, &session_) ||
        session_->createDatabase(path_.c_str(), benchDictionary(), &db_))
      return;
    flm::PoolMemoryManager pool;
    flm::poolInit(&pool, 512);
    bool added = true;
    for (uint32_t n = 1; added && n <= kRecords; ++n) {
      flm::poolReset(&pool, nullptr);
      flm::RCODE rc;
      flm::Node* root = flm::nodeMake(&pool, kEntry, &rc);
      flm::Node* literal = flm::nodeMake(&pool, kLiteral, &rc);
      flm::Node* count = flm::nodeMake(&pool, kCount, &rc);
      flm::nodeChildGraft(root, literal, flm::GED_LAST);
      flm::nodeChildGraft(root, count, flm::GED_LAST);
      const std::string word = "word " + std::to_string(n);
      flm::putUtf8(&pool, literal, word.data(), word.size());
      flm::putInt(&pool, count, n);
      uint32_t drn = 0;
      added = db_->add(0, flm::FLM_DATA_CONTAINER, &drn, root) == flm::FERR_OK;
    }
    flm::poolFree(&pool);
    if (!added) return;
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

// Adds criteria of about kPieces pieces to a cursor.
using Criteria = void (*)(flm::Cursor* c);

void field(flm::Cursor* c, uint16_t tag) { c->addField(&tag, 1, 0); }
void number(flm::Cursor* c, uint32_t n) { c->addValue(flm::FLM_UINT32_VAL, &n, 0); }
void text(flm::Cursor* c, const std::string& t) {
  c->addValue(flm::FLM_STRING_VAL, t.data(), t.size());
}
void ops(flm::Cursor* c, uint16_t op, size_t times) {
  for (size_t i = 0; i < times; ++i) c->addOp(op);
}
void countIs(flm::Cursor* c, uint32_t n) {
  field(c, kCount);
  c->addOp(flm::FLM_EQ_OP);
  number(c, n);
}

void literalIs(flm::Cursor* c, const std::string& word) {
  field(c, kLiteral);
  c->addOp(flm::FLM_EQ_OP);
  text(c, word);
}

// count == 1 && count >= 0 && count >= 0 ...: finds record 1.
void andChain(flm::Cursor* c) {
  countIs(c, 1);
  for (size_t i = 4; i < kPieces; i += 4) {
    c->addOp(flm::FLM_AND_OP);
    field(c, kCount);
    c->addOp(flm::FLM_GE_OP);
    number(c, 0);
  }
}

// literal == "word 1" || literal == "word 2" ...: each term a key probe.
void orChain(flm::Cursor* c) {
  for (size_t i = 0; i < kPieces; i += 4) {
    if (i) c->addOp(flm::FLM_OR_OP);
    literalIs(c, "word " + std::to_string(i / 4 % kRecords + 1));
  }
}

// ! ( ! ( ... count == 2 ) ): an even depth, finds record 2.
void nestedNots(flm::Cursor* c) {
  const size_t depth = (kPieces - 3) / 6 * 2;
  for (size_t i = 0; i < depth; ++i) {
    c->addOp(flm::FLM_NOT_OP);
    c->addOp(flm::FLM_LPAREN_OP);
  }
  countIs(c, 2);
  ops(c, flm::FLM_RPAREN_OP, depth);
}

// literal == "word 3" || ( literal == "word 3" || ( ... ) ): unions within
// unions, narrowed through the index as one.
void nestedUnions(flm::Cursor* c) {
  const size_t depth = (kPieces - 3) / 6;
  for (size_t i = 0; i < depth; ++i) {
    literalIs(c, "word 3");
    c->addOp(flm::FLM_OR_OP);
    c->addOp(flm::FLM_LPAREN_OP);
  }
  literalIs(c, "word 3");
  ops(c, flm::FLM_RPAREN_OP, depth);
}

// count + 1 + 1 ... == 4 + n: finds record 4.
void arithmetic(flm::Cursor* c) {
  const size_t ones = (kPieces - 3) / 2;
  field(c, kCount);
  for (size_t i = 0; i < ones; ++i) {
    c->addOp(flm::FLM_PLUS_OP);
    number(c, 1);
  }
  c->addOp(flm::FLM_EQ_OP);
  number(c, static_cast<uint32_t>(4 + ones));
}

void runCriteria(benchmark::State& state, Criteria criteria, uint32_t expected) {
  Shared& shared = Shared::get();
  if (!shared.ok()) {
    state.SkipWithError("could not build the database");
    return;
  }
  flm::Database* db = shared.db();
  for (auto _ : state) {
    db->answerCache()->clear();
    flm::Cursor* c = nullptr;
    flm::RCODE rc = flm::Cursor::init(db, 0, flm::FLM_DATA_CONTAINER, &c);
    if (!rc) {
      criteria(c);
      rc = c->validate();
    }
    uint32_t count = 0;
    if (!rc) rc = c->recordCount(&count);
    flm::Cursor::free(&c);
    if (rc || count != expected) {
      state.SkipWithError("the query failed or found the wrong records");
      break;
    }
  }
  state.counters["pieces"] = static_cast<double>(kPieces);
}

void BM_CriteriaAndChain(benchmark::State& state) { runCriteria(state, andChain, 1); }
BENCHMARK(BM_CriteriaAndChain)->Unit(benchmark::kMillisecond);

void BM_CriteriaOrChain(benchmark::State& state) { runCriteria(state, orChain, kRecords); }
BENCHMARK(BM_CriteriaOrChain)->Unit(benchmark::kMillisecond);

void BM_CriteriaNestedNots(benchmark::State& state) { runCriteria(state, nestedNots, 1); }
BENCHMARK(BM_CriteriaNestedNots)->Unit(benchmark::kMillisecond);

void BM_CriteriaNestedUnions(benchmark::State& state) { runCriteria(state, nestedUnions, 1); }
BENCHMARK(BM_CriteriaNestedUnions)->Unit(benchmark::kMillisecond);

void BM_CriteriaArithmetic(benchmark::State& state) { runCriteria(state, arithmetic, 1); }
BENCHMARK(BM_CriteriaArithmetic)->Unit(benchmark::kMillisecond);

}  // namespace
