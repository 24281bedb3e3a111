// Databases from text and back: the record dump loaded into a database, and a
// whole database dumped in the text the loader reads.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "engine/Layout.h"
#include "engine/build/DatabaseDump.h"
#include "engine/build/RecordDumpLoader.h"
#include "flm/Database.h"
#include "flm/Node.h"
#include "flm/Session.h"
#include "flm/Value.h"
#include "support/TestFiles.h"

namespace {

using flm::FERR_OK;
using flm::Node;

enum : uint16_t {
  kEntry = 1,
  kTitle = 2,
  kCount = 3,
  kBlob = 4,
  kLink = 5,
  kRatio = 6,
  kDay = 7,
  kClock = 8,
  kStamp = 9,
};
constexpr uint16_t kSide = 7;
constexpr uint16_t kData = flm::FLM_DATA_CONTAINER;

flm::Dictionary everyType() {
  flm::Dictionary d;
  d.fields = {{kEntry, "entry", flm::FLM_TEXT_TYPE},   {kTitle, "title", flm::FLM_TEXT_TYPE},
              {kCount, "count", flm::FLM_NUMBER_TYPE}, {kBlob, "blob", flm::FLM_BINARY_TYPE},
              {kLink, "link", flm::FLM_CONTEXT_TYPE},  {kRatio, "ratio", flm::FLM_REAL_TYPE},
              {kDay, "day", flm::FLM_DATE_TYPE},       {kClock, "clock", flm::FLM_TIME_TYPE},
              {kStamp, "stamp", flm::FLM_TMSTAMP_TYPE}};
  d.containers = {{kSide, "side"}};
  return d;
}

std::string withCrLf(const std::string& text) {
  std::string out;
  for (char c : text) out += c == '\n' ? std::string("\r\n") : std::string(1, c);
  return out;
}

// One record read back, to look at its fields one by one.
class Stored {
 public:
  Stored(flm::Database* db, uint32_t store, uint16_t container, uint32_t drn) {
    flm::poolInit(&pool_, 512);
    rc = db->retrieve(store, container, drn, &pool_, &root);
  }
  ~Stored() { flm::poolFree(&pool_); }
  Stored(const Stored&) = delete;
  Stored& operator=(const Stored&) = delete;

  // The nth field with the tag in the record, in document order.
  const Node* field(uint16_t tag, int nth = 1) const {
    const Node* n = root ? flm::nodeFind(flm::GED_TREE, root, tag, nth) : nullptr;
    if (!n) ADD_FAILURE() << "no field " << tag << " #" << nth;
    return n;
  }
  int type(uint16_t tag, int nth = 1) const {
    const Node* n = field(tag, nth);
    return n ? flm::nodeType(n) : -1;
  }
  std::u16string text(uint16_t tag, int nth = 1) const {
    const Node* n = field(tag, nth);
    if (!n || flm::nodeType(n) != flm::FLM_TEXT_TYPE) return u"<not text>";
    std::vector<uint16_t> units(n->length / 2 + 1);
    uint32_t bytes = static_cast<uint32_t>(units.size() * 2);
    EXPECT_EQ(flm::getUnicode(n, units.data(), &bytes), FERR_OK);
    return std::u16string(units.begin(), units.begin() + bytes / 2);
  }
  int64_t length(uint16_t tag, int nth = 1) const {
    const Node* n = field(tag, nth);
    return n ? int64_t{n->length} : -1;
  }
  int64_t number(uint16_t tag, int nth = 1) const {
    const Node* n = field(tag, nth);
    int64_t v = -12345;
    if (n) {
      EXPECT_EQ(flm::getNumber(n, &v), FERR_OK);
    }
    return v;
  }

  flm::RCODE rc;
  Node* root = nullptr;

 private:
  flm::PoolMemoryManager pool_;
};

class DumpLoad : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(flm::Session::create(256, 0, &session), FERR_OK); }
  void TearDown() override { flm::Session::close(&session); }

  flm::Database* fresh(const flm::Dictionary& dictionary) {
    flm::Database* db = nullptr;
    std::string path = dir.file("db" + std::to_string(made++));
    EXPECT_EQ(session->createDatabase(path.c_str(), dictionary, &db), FERR_OK);
    return db;
  }
  static std::string dumpOf(flm::Database* db) {
    std::string text, error;
    EXPECT_EQ(build::dumpDatabase(db, &text, &error), FERR_OK) << error;
    return text;
  }
  static void load(flm::Database* db, const std::string& text) {
    std::string error;
    ASSERT_EQ(build::loadRecordDump(db, text, "t", &error), FERR_OK) << error;
    EXPECT_EQ(error, "");
  }

  testfiles::ScratchDir dir;
  flm::Session* session = nullptr;
  int made = 0;
};

// A record written as the dump writes it: its lines come back unchanged.
const char* const kRecordFive =
    "0 @5@ entry\n"
    "  1 title plain\n"
    "  1 title \"\"\"\n"
    "  1 title \"\"starts\n"
    "  1 title ends\"\"\n"
    "  1 title \"\"both\"\"\n"
    "  1 title   spaced\n"
    "  1 title\n"
    "  1 count 4294967295\n"
    "  1 count -1\n"
    "  1 count 8589934592\n"
    "  1 count 1.3\n"
    "  1 blob [-binary-]\n"
    "  1 link @77@\n"
    "  1 link @4294967295@\n"
    "  1 link\n"
    "  1 ratio 2.5\n"
    "  1 ratio 0.30000000000000004\n"
    "  1 day 1998-03-01\n"
    "  1 clock 9:05:07.03\n"
    "  1 stamp 2024-12-31 23:59:58.99\n"
    "  1 TAG_50 x\n"
    "  1 TAG_51 @9@\n"
    "  1 TAG_52 -7\n"
    "  1 entry\n"
    "    2 entry caf\xC3\xA9\n"
    "      3 title deep\n"
    "  1 title after\n";

// With records that take their numbers, a group opened twice and a name in
// another case.
const std::string kEveryType = std::string("# every type of value\n\nSTORE 0 CONTAINER 32001\n") +
                               kRecordFive +
                               "0 ENTRY\n  1 Title any case\n"
                               "STORE 3 CONTAINER 7\n0 entry side\n"
                               "STORE 0 CONTAINER 32001\n0 @2@ entry first\n";

const std::string kEveryTypeDumped = "STORE 0 CONTAINER 32001\r\n0 @2@ entry first\r\n" +
                                     withCrLf(kRecordFive) +
                                     "0 @6@ entry\r\n  1 title any case\r\n"
                                     "STORE 3 CONTAINER 7\r\n0 @1@ entry side\r\n";

}  // namespace

// ---------------------------------------------------------------------------
// Loading

TEST_F(DumpLoad, EveryValueTypeLoadsAsItsFieldsType) {
  flm::Database* db = fresh(everyType());
  load(db, kEveryType);

  Stored r(db, 0, kData, 5);
  ASSERT_EQ(r.rc, FERR_OK);
  // The quote the dump adds at either end comes off again.
  EXPECT_EQ(r.text(kTitle, 1), u"plain");
  EXPECT_EQ(r.text(kTitle, 2), u"\"");
  EXPECT_EQ(r.text(kTitle, 3), u"\"starts");
  EXPECT_EQ(r.text(kTitle, 4), u"ends\"");
  EXPECT_EQ(r.text(kTitle, 5), u"\"both\"");
  EXPECT_EQ(r.text(kTitle, 6), u"  spaced");
  EXPECT_EQ(r.length(kTitle, 7), 0);

  EXPECT_EQ(r.type(kCount, 1), flm::FLM_NUMBER_TYPE);
  EXPECT_EQ(r.number(kCount, 1), 4294967295);
  EXPECT_EQ(r.number(kCount, 2), -1);
  EXPECT_EQ(r.number(kCount, 3), 8589934592);
  // Fields are not held to their type: what is no number stays text.
  EXPECT_EQ(r.text(kCount, 4), u"1.3");

  // The values' texts come back in the dump (below); here, their types.
  EXPECT_EQ(std::vector<int>({r.type(kBlob), r.type(kLink, 1), r.type(kLink, 2), r.type(kLink, 3),
                              r.type(kRatio), r.type(kDay), r.type(kClock), r.type(kStamp),
                              r.type(50), r.type(51), r.type(52)}),
            std::vector<int>({flm::FLM_BINARY_TYPE, flm::FLM_CONTEXT_TYPE, flm::FLM_CONTEXT_TYPE,
                              flm::FLM_TEXT_TYPE, flm::FLM_REAL_TYPE, flm::FLM_DATE_TYPE,
                              flm::FLM_TIME_TYPE, flm::FLM_TMSTAMP_TYPE, flm::FLM_TEXT_TYPE,
                              flm::FLM_CONTEXT_TYPE, flm::FLM_NUMBER_TYPE}));
  EXPECT_EQ(r.length(kBlob), 0);
  EXPECT_EQ(r.length(kLink, 3), 0) << "nothing after the name is no value";
  uint32_t drn = 0;
  EXPECT_EQ(flm::getRecPtr(r.field(kLink, 2), &drn), FERR_OK);
  EXPECT_EQ(drn, 0xFFFFFFFFu);
  EXPECT_EQ(r.number(52), -7);
  flm::FlmTimestamp stamp{};
  EXPECT_EQ(flm::getTimestamp(r.field(kStamp), &stamp), FERR_OK);
  EXPECT_EQ(std::vector<int>({stamp.date.year, stamp.date.month, stamp.date.day, stamp.time.hour,
                              stamp.time.minute, stamp.time.second, stamp.time.hundredth}),
            std::vector<int>({2024, 12, 31, 23, 59, 58, 99}));
  EXPECT_EQ(flm::nodeParent(r.field(kTitle, 9)), r.root);
  EXPECT_EQ(r.text(kTitle, 9), u"after");

  // Numbers given, taken (one past the highest when the record is added), and
  // per container.
  Stored taken(db, 0, kData, 6);
  EXPECT_EQ(taken.text(kTitle), u"any case");
  Stored side(db, 3, kSide, 1);
  EXPECT_EQ(side.text(kEntry), u"side");
  Stored first(db, 0, kData, 2);
  EXPECT_EQ(first.text(kEntry), u"first");
  uint32_t count = 0;
  EXPECT_EQ(db->recordCount(0, kData, &count), FERR_OK);
  EXPECT_EQ(count, 3u);
}

TEST_F(DumpLoad, DumpWritesGroupsInOrderAndBothLineEndsLoadAlike) {
  flm::Database* lf = fresh(everyType());
  std::vector<std::pair<uint32_t, uint16_t>> places{{9, 9}};
  ASSERT_EQ(lf->containersInUse(&places), FERR_OK);
  EXPECT_TRUE(places.empty());
  EXPECT_EQ(dumpOf(lf), "");

  load(lf, kEveryType);
  ASSERT_EQ(lf->containersInUse(&places), FERR_OK);
  EXPECT_EQ(places, (std::vector<std::pair<uint32_t, uint16_t>>{{0, kData}, {3, kSide}}));
  EXPECT_EQ(dumpOf(lf), kEveryTypeDumped);

  flm::Database* crlf = fresh(everyType());
  load(crlf, withCrLf(kEveryType));
  EXPECT_EQ(dumpOf(crlf), kEveryTypeDumped);

  // Its own dump loads into a fresh database as the same records.
  flm::Database* again = fresh(everyType());
  load(again, kEveryTypeDumped);
  EXPECT_EQ(dumpOf(again), kEveryTypeDumped);
  Stored r(again, 0, kData, 5);
  double ratio = 0;
  EXPECT_EQ(flm::getReal(r.field(kRatio, 2), &ratio), FERR_OK);
  EXPECT_EQ(ratio, 0.1 + 0.2);
}

TEST_F(DumpLoad, TheDeepestLevelLoadsAndDumps) {
  std::string text = "STORE 0 CONTAINER 32001\n0 @1@ entry\n";
  for (int level = 1; level <= 255; ++level)
    text += std::string(size_t(level) * 2, ' ') + std::to_string(level) + " title t" +
            std::to_string(level) + "\n";
  flm::Database* db = fresh(everyType());
  load(db, text);
  Stored r(db, 0, kData, 1);
  const Node* last = r.field(kTitle, 255);
  ASSERT_NE(last, nullptr);
  EXPECT_EQ(last->level, 255);
  EXPECT_EQ(r.text(kTitle, 255), u"t255");
  EXPECT_EQ(dumpOf(db), withCrLf(text));
}

// ---------------------------------------------------------------------------
// Round trips of the multilingual database

TEST_F(DumpLoad, MultilingualRecordsComeBackAsThemselves) {
  using namespace layout;
  const char* const text =
      "STORE 0 CONTAINER 32001\n"
      "0 @12@ VERSION_RECORD\n"
      "  1 PART_OF_SPEECH 1.3\n"
      "0 @28@ DATABASE_RECORD\n"
      "0 @61@ SITE\n"
      "  1 SITE_NAME Test site\n"
      "  1 SITE_LANGUAGE en\n"
      "STORE 96 CONTAINER 32001\n"
      "0 RELATION_DEFINITION\n"
      "  1 RELATION 8\n"
      "  1 CODE has_hyperonym\n"
      "0 RELATION_DEFINITION\n"
      "  1 RELATION -3\n"
      "STORE 96 CONTAINER 360\n"
      "0 USAGE_LABEL_DEFINITION\n"
      "  1 USAGE_LABEL 2\n"
      "STORE 100 CONTAINER 212\n"
      "0 USAGE_LABEL_DEFINITION\n"
      "  1 USAGE_LABEL -2\n"
      "STORE 100 CONTAINER 200\n"
      "0 @1@ CONCEPT\n"
      "  1 TYPE 1\n"
      "STORE 100 CONTAINER 32001\n"
      "0 VARIANT\n"
      "  1 CONCEPT @1@\n"
      "  1 LITERAL dog\n"
      "  1 SENSE -1\n"
      "  1 USAGE_LABELS\n"
      "    2 USAGE_LABEL -2\n"
      "  1 EXAMPLES\n"
      "    2 EXAMPLE \"\"a dog\" barked\n"
      "STORE 100 CONTAINER 202\n"
      "0 CONCEPT_LINK\n"
      "  1 SOURCE_CONCEPT @1@\n"
      "  1 TARGET_CONCEPT @1@\n"
      "    2 VARIANT 17\n"
      "STORE 98 CONTAINER 32001\n"
      "0 ILI_RECORD\n"
      "  1 WORDNET_OFFSET 2084071\n"
      "  1 ADD_ON_ID -2147483648\n";
  flm::Database* first = fresh(polylexDictionary());
  load(first, text);
  const std::string dumped = dumpOf(first);
  const std::string head =
      "STORE 0 CONTAINER 32001\r\n0 @12@ VERSION_RECORD\r\n  1 PART_OF_SPEECH 1.3\r\n";
  EXPECT_EQ(dumped.substr(0, head.size()), head);
  EXPECT_NE(dumped.find("STORE 96 CONTAINER 360\r\n0 @1@ USAGE_LABEL_DEFINITION\r\n"
                        "  1 USAGE_LABEL 2\r\nSTORE 96 CONTAINER 32001\r\n"),
            std::string::npos);
  EXPECT_NE(dumped.find("  1 SENSE -1\r\n"), std::string::npos);

  flm::Database* second = fresh(polylexDictionary());
  load(second, dumped);
  EXPECT_EQ(dumpOf(second), dumped);

  Stored version(second, layout::kDatabaseStore, layout::kData, kVersionRecord);
  EXPECT_EQ(version.text(kPos), u"1.3");
  Stored variant(second, kFirstLanguageStore, layout::kData, 1);
  int16_t sense = 0;
  ASSERT_NE(variant.field(kSense), nullptr);
  EXPECT_EQ(flm::getInt16(variant.field(kSense), &sense), FERR_OK);
  EXPECT_EQ(sense, -1);
  EXPECT_EQ(variant.number(kUsageLabel), -2);
  EXPECT_EQ(variant.text(kExample), u"\"a dog\" barked");
  Stored relation(second, kSystemStore, layout::kData, 2);
  EXPECT_EQ(relation.number(kRelation), -3);
  Stored link(second, kFirstLanguageStore, kConceptLinks, 1);
  EXPECT_EQ(link.type(kVariant), flm::FLM_NUMBER_TYPE) << "a number where a pointer is declared";
  EXPECT_EQ(link.number(kVariant), 17);
  Stored ili(second, kIliStore, layout::kData, 1);
  int32_t addOn = 0;
  ASSERT_NE(ili.field(kAddOnId), nullptr);
  EXPECT_EQ(flm::getInt32(ili.field(kAddOnId), &addOn), FERR_OK);
  EXPECT_EQ(addOn, INT32_MIN);
}

TEST_F(DumpLoad, DumpRefusesTextThatWouldNotReadBack) {
  for (const char* bad : {"two\nlines", "   # Error: MEM"}) {
    flm::Database* db = fresh(everyType());
    flm::PoolMemoryManager pool;
    flm::poolInit(&pool, 256);
    flm::RCODE rc = FERR_OK;
    Node* root = flm::nodeMake(&pool, kEntry, &rc);
    ASSERT_NE(root, nullptr);
    ASSERT_EQ(flm::putUtf8(&pool, root, bad, std::strlen(bad)), FERR_OK);
    uint32_t drn = 4;
    ASSERT_EQ(db->add(0, kData, &drn, root), FERR_OK);
    flm::poolFree(&pool);

    std::string text = "left over", error;
    EXPECT_EQ(build::dumpDatabase(db, &text, &error), flm::FERR_CANNOT_CONVERT) << bad;
    EXPECT_EQ(text, "");
    EXPECT_EQ(error, "record @4@ of store 0 container 32001: CANNOT_CONVERT");
  }
}

// ---------------------------------------------------------------------------
// Errors

TEST_F(DumpLoad, EveryErrorNamesItsLineAndLeavesNothingBehind) {
  flm::Database* db = fresh(everyType());
  load(db, "STORE 0 CONTAINER 32001\n0 @1@ entry kept\n");
  const std::string before = dumpOf(db);

  // Two good records come first, so that a failure has something to undo.
  const std::string good =
      "# comment\n"
      "STORE 0 CONTAINER 32001\r\n"
      "0 @20@ entry\n"
      "\n"
      "0 entry\n";  // line 5
  struct Case {
    const char* text;  // from line 6
    flm::RCODE rc;
    const char* error;
  };
  const Case cases[] = {
      {"  1 nosuch x\n", flm::FERR_BAD_FIELD_NUM, "t:6: unknown field name 'nosuch'"},
      {"  1 TAG_65536 x\n", flm::FERR_BAD_FIELD_NUM, "t:6: unknown field name 'TAG_65536'"},
      {"  1 title\n    3 title x\n", flm::FERR_GED_SKIP_LEVEL,
       "t:7: level 3 skips a level after level 1"},
      {"STORE 0 CONTAINER 7\n  1 title x\n", flm::FERR_GED_SKIP_LEVEL,
       "t:7: a record starts at level 0"},
      {"  256 title x\n", flm::FERR_GED_MAXLVLNUM,
       "t:6: level '256' is deeper than a record goes (255)"},
      {"title x\n", flm::FERR_BAD_FIELD_LEVEL, "t:6: expected a level number, found 'title x'"},
      {"  1\n", flm::FERR_SYNTAX, "t:6: expected a space and a field name after the level"},
      {"0 \n", flm::FERR_SYNTAX, "t:6: missing field name"},
      {"  1 count 9223372036854775808\n", flm::FERR_GED_BAD_VALUE,
       "t:6: bad number (past 64 bits) '9223372036854775808' for count"},
      {"  1 link @4294967296@\n", flm::FERR_GED_BAD_VALUE,
       "t:6: bad record pointer (past 32 bits) '@4294967296@' for link"},
      {"  1 TAG_60 @4294967296@\n", flm::FERR_GED_BAD_VALUE,
       "t:6: bad record pointer (past 32 bits) '@4294967296@' for TAG_60"},
      {"  1 day 2024-256-01\n", flm::FERR_GED_BAD_VALUE, "t:6: bad date '2024-256-01' for day"},
      {"  1 clock 9:05:07.300\n", flm::FERR_GED_BAD_VALUE, "t:6: bad time '9:05:07.300' for clock"},
      {"  1 stamp 65536-01-01 1:00:00.00\n", flm::FERR_GED_BAD_VALUE,
       "t:6: bad timestamp '65536-01-01 1:00:00.00' for stamp"},
      {"  1 count    # Error: CONV_NUM_UNDERFLOW\n", flm::FERR_GED_BAD_VALUE,
       "t:6: the dump could not read this value (CONV_NUM_UNDERFLOW)"},
      {"0 @0@ entry\n", flm::FERR_GED_BAD_RECID, "t:6: bad record number '@0@' (1 to 4294967294)"},
      {"0 @4294967295@ entry\n", flm::FERR_GED_BAD_RECID,
       "t:6: bad record number '@4294967295@' (1 to 4294967294)"},
      {"0 @7@entry\n", flm::FERR_SYNTAX,
       "t:6: expected a space and a field name after the record number"},
      {"  1 @7@ title\n", flm::FERR_GED_BAD_RECID,
       "t:6: only a level-0 line carries a record number"},
      {"0 @20@ entry again\n", flm::FERR_EXISTS,
       "t:6: record @20@ is already in store 0 container 32001"},
      {"\n0 @1@ entry\n", flm::FERR_EXISTS,
       "t:7: record @1@ is already in store 0 container 32001"},
      {"STORE 0 CONTAINER\n", flm::FERR_SYNTAX,
       "t:6: expected STORE <n> CONTAINER <n>, found 'STORE 0 CONTAINER'"},
      {"STORE 32768 CONTAINER 7\n", flm::FERR_INVALID_PARM,
       "t:6: store past the highest there is (32767)"},
      {"STORE 0 CONTAINER 999\n", flm::FERR_BAD_CONTAINER,
       "t:6: the database has no container 999"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    std::string error;
    EXPECT_EQ(build::loadRecordDump(db, good + c.text + "0 entry last\n", "t", &error), c.rc);
    EXPECT_EQ(error, c.error);
    EXPECT_FALSE(db->transActive());
    EXPECT_EQ(dumpOf(db), before);
  }

  // A record line needs its group first.
  std::string error;
  EXPECT_EQ(build::loadRecordDump(db, "#\n0 entry\n", "x.txt", &error), flm::FERR_SYNTAX);
  EXPECT_EQ(error, "x.txt:2: a record line before any STORE <n> CONTAINER <n> line");

  // The text's transaction is its own.
  ASSERT_EQ(db->transBegin(), FERR_OK);
  EXPECT_EQ(build::loadRecordDump(db, good, "t", &error), flm::FERR_TRANS_ACTIVE);
  EXPECT_EQ(error, "t: a transaction is already open; the text needs one of its own");
  EXPECT_TRUE(db->transActive());
  ASSERT_EQ(db->transAbort(), FERR_OK);
  EXPECT_EQ(dumpOf(db), before);

  // The same text without a fault goes in whole.
  load(db, good);
  EXPECT_NE(dumpOf(db), before);
  Stored taken(db, 0, kData, 21);
  EXPECT_EQ(taken.rc, FERR_OK);
}
