// Records by number: how fast one is read and decoded, and how fast many are
// added in one transaction.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "flm/Session.h"
#include "flm/Value.h"

namespace {

constexpr uint16_t kRoot = 60;

flm::Dictionary benchDictionary() {
  flm::Dictionary d;
  d.fields = {{kRoot, "VARIANT", flm::FLM_TEXT_TYPE},  {120, "LITERAL", flm::FLM_TEXT_TYPE},
              {121, "SENSE", flm::FLM_NUMBER_TYPE},    {50, "CONCEPT", flm::FLM_CONTEXT_TYPE},
              {122, "DEFINITION", flm::FLM_TEXT_TYPE}, {124, "EXAMPLE", flm::FLM_TEXT_TYPE}};
  d.indexes = {{252, "BY_CONCEPT", flm::FLM_DATA_CONTAINER, {{50}}}};
  return d;
}

// Ten fields: a root and nine children of the types a variant holds.
flm::Node* tenFieldRecord(flm::PoolMemoryManager* pool, uint32_t i) {
  flm::RCODE rc;
  flm::Node* root = flm::nodeMake(pool, kRoot, &rc);
  auto child = [&](uint16_t tag) {
    flm::Node* n = flm::nodeMake(pool, tag, &rc);
    flm::nodeChildGraft(root, n, flm::GED_LAST);
    return n;
  };
  std::string literal = "literal number " + std::to_string(i);
  flm::putUtf8(pool, child(120), literal.data(), literal.size());
  flm::putInt(pool, child(121), i % 7 + 1);
  flm::putRecPtr(pool, child(50), i / 3 + 1);
  static const char kDefinition[] = "a member of the genus Canis that has been domesticated";
  flm::putUtf8(pool, child(122), kDefinition, sizeof kDefinition - 1);
  for (int e = 0; e < 5; ++e) {
    std::string example = "example sentence " + std::to_string(e);
    flm::putUtf8(pool, child(124), example.data(), example.size());
  }
  return root;
}

struct BenchDb {
  std::string path;
  flm::Session* session = nullptr;
  flm::Database* db = nullptr;

  BenchDb() {
    path = "/tmp/corvid5-bench-" + std::to_string(getpid()) + ".db";
    std::remove(path.c_str());
    flm::Session::create(256 * 1024, 0, &session);
    session->createDatabase(path.c_str(), benchDictionary(), &db);
  }
  ~BenchDb() {
    flm::Session::close(&session);
    std::remove(path.c_str());
  }
};

void fill(flm::Database* db, uint32_t count) {
  flm::PoolMemoryManager pool;
  flm::poolInit(&pool, 1024);
  db->transBegin();
  for (uint32_t i = 1; i <= count; ++i) {
    flm::poolReset(&pool, nullptr);
    uint32_t drn = 0;
    db->add(0, flm::FLM_DATA_CONTAINER, &drn, tenFieldRecord(&pool, i));
  }
  db->transCommit();
  flm::poolFree(&pool);
}

void BM_AddTenFieldRecordsInOneTransaction(benchmark::State& state) {
  const auto count = static_cast<uint32_t>(state.range(0));
  for (auto _ : state) {
    BenchDb bench;
    fill(bench.db, count);
  }
  state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(BM_AddTenFieldRecordsInOneTransaction)->Arg(200000)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_RetrieveTenFieldRecord(benchmark::State& state) {
  constexpr uint32_t kCount = 200000;
  BenchDb bench;
  fill(bench.db, kCount);
  // Read as the library reads: from a read-only open.
  flm::Session::closeDatabase(&bench.db);
  bench.session->openDatabase(bench.path.c_str(), nullptr, flm::FO_READ_ONLY, &bench.db);
  flm::PoolMemoryManager pool;
  flm::poolInit(&pool, 1024);
  uint32_t drn = 1;
  for (auto _ : state) {
    flm::poolReset(&pool, nullptr);
    flm::Node* root = nullptr;
    if (bench.db->retrieve(0, flm::FLM_DATA_CONTAINER, drn, &pool, &root)) state.SkipWithError("retrieve failed");
    benchmark::DoNotOptimize(root);
    drn = drn * 7919 % kCount + 1;
  }
  flm::poolFree(&pool);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RetrieveTenFieldRecord);

}  // namespace
