// Records as text and back: one indented, tagged line per field for every
// value type, names from the database or TAG_n, what happens at the buffer's
// end; the record dump loaded into a database, and a whole database dumped in
// the text the loader reads.
#include <gtest/gtest.h>

#include <corvid5/FlmRecord.h>
#include <corvid5/RecordText.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "engine/build/DatabaseDump.h"
#include "engine/build/RecordDumpLoader.h"
#include "flm/Database.h"
#include "flm/Node.h"
#include "flm/Session.h"
#include "flm/Value.h"
#include "storage/RecordFormat.h"
#include "support/FlmNodes.h"
#include "support/TestFiles.h"

namespace {

using flm::FERR_OK;
using flm::Node;
using namespace std::string_literals;

using namespace testflm;
constexpr uint16_t kData = flm::FLM_DATA_CONTAINER;

std::string withCrLf(const std::string& text) {
  std::string out;
  for (char c : text) out += c == '\n' ? std::string("\r\n") : std::string(1, c);
  return out;
}

// One record read back, to look at its fields one by one.
struct Stored {
  Stored(flm::Database* db, uint32_t store, uint16_t container, uint32_t drn)
      : rc(db->retrieve(store, container, drn, &pool, &root)) {}

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
    return n && flm::nodeType(n) == flm::FLM_TEXT_TYPE ? textOf(n) : u"<not text>";
  }
  int64_t length(uint16_t tag, int nth = 1) const {
    const Node* n = field(tag, nth);
    return n ? int64_t{n->length} : -1;
  }
  std::string number(uint16_t tag, int nth = 1) const {
    return read(flm::getNumber, field(tag, nth));
  }

  ScopedPool pool;
  Node* root = nullptr;
  flm::RCODE rc;
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


constexpr unsigned short kUnnamed = 50;
constexpr unsigned short kLast = 32767;
constexpr unsigned short kNoTag = 0;
constexpr uint16_t kBig = 65535;

node* current(FlmRecord& r) { return static_cast<node*>(r.GetCurrentField()); }

node* rootOf(FlmRecord& r) {
  void* keep = r.GetCurrentField();
  r.GotoRoot();
  node* root = current(r);
  r.SetCurrentField(keep);
  return root;
}

void add(FlmRecord& r, unsigned short tag, eFindStart start = fsRoot) {
  ASSERT_EQ(r.AddField(tag, kLast, start, gmChild), 1);
}

void addText(FlmRecord& r, unsigned short tag, const char* text, eFindStart start = fsRoot) {
  add(r, tag, start);
  ASSERT_EQ(r.Put(text), 1);
}

// A record with one field of every value type, text in all its shapes, a
// field the dictionary does not name, and a nested branch.
void buildEveryType(FlmRecord& r) {
  addText(r, kTitle, "plain");
  addText(r, kTitle, "\"quoted\"");
  addText(r, kTitle, "\"");
  add(r, kTitle);  // an empty text
  add(r, kCount);
  ASSERT_EQ(r.Put(uint32_t{0xFFFFFFFF}), 0);
  add(r, kBlob);
  const unsigned char bytes[] = {1, 2, 3};
  ASSERT_EQ(flm::putBinary(r.GetPool(), current(r), bytes, sizeof bytes), 0u);
  add(r, kLink);
  ASSERT_EQ(flm::putRecPtr(r.GetPool(), current(r), 77), 0u);
  add(r, kLink);
  ASSERT_EQ(flm::putRecPtr(r.GetPool(), current(r), 0xFFFFFFFF), 0u);
  add(r, kRatio);
  ASSERT_EQ(flm::putReal(r.GetPool(), current(r), 2.5), 0u);
  add(r, kDay);
  ASSERT_EQ(flm::putDate(r.GetPool(), current(r), flm::FlmDate{1998, 3, 1}), 0u);
  add(r, kClock);
  ASSERT_EQ(flm::putTime(r.GetPool(), current(r), flm::FlmTime{9, 5, 7, 3}), 0u);
  add(r, kStamp);
  ASSERT_EQ(flm::putTimestamp(r.GetPool(), current(r),
                              flm::FlmTimestamp{{2024, 12, 31}, {23, 59, 58, 99}}),
            0u);
  addText(r, kUnnamed, "x");
  add(r, kNested);
  addText(r, kNested, "caf\xC3\xA9", fsCurrent);
  addText(r, kTitle, "deep", fsCurrent);
}

const char* const kEveryTypeBody =
    "  1 title plain\r\n"
    "  1 title \"\"quoted\"\"\r\n"
    "  1 title \"\"\"\r\n"
    "  1 title\r\n"
    "  1 count 4294967295\r\n"
    "  1 blob [-binary-]\r\n"
    "  1 link @77@\r\n"
    "  1 link\r\n"
    "  1 ratio 2.5\r\n"
    "  1 day 1998-03-01\r\n"
    "  1 clock 9:05:07.03\r\n"
    "  1 stamp 2024-12-31 23:59:58.99\r\n"
    "  1 TAG_50 x\r\n"
    "  1 nested\r\n"
    "    2 nested caf\xC3\xA9\r\n"
    "      3 title deep\r\n";

// The dump through FlmRecord::Format into a buffer big enough for it.
std::string dump(FlmRecord& r) {
  std::vector<char> buffer(kBig, 'x');
  EXPECT_EQ(r.Format(buffer.data(), kBig), 1);
  return std::string(buffer.data(), strnlen(buffer.data(), buffer.size()));
}

// The dump of a tree through the formatter, with the count it reports.
std::string formatted(const node* first, uint32_t trees, const flm::NameTable* names,
                      uint16_t* count = nullptr, uint32_t codePage = 0) {
  std::vector<char> buffer(kBig, 'x');
  uint16_t size = kBig;
  EXPECT_EQ(storage::formatTrees(trees, first, buffer.data(), &size, names, codePage),
            flm::FERR_OK);
  if (count) *count = size;
  return std::string(buffer.data(), strnlen(buffer.data(), buffer.size()));
}

using DumpStore = DumpLoad;

}  // namespace

// ---------------------------------------------------------------------------
// Lines

TEST_F(DumpStore, EveryValueTypeWithNamesAndTheRecordNumber) {
  flm::Database* db = fresh(everyType());
  FlmRecord r(kEntry, 256);
  buildEveryType(r);
  ASSERT_EQ(r.Add(db, 0, flm::FLM_DATA_CONTAINER, 15), 1);
  FlmRecord read(kNoTag, 256);
  ASSERT_EQ(read.Retrieve(db, 0, flm::FLM_DATA_CONTAINER, 15), 1);
  EXPECT_EQ(dump(read), std::string("0 @15@ entry\r\n") + kEveryTypeBody);
  EXPECT_EQ(read.GetFlmError().GetError(), 0);

  // The names stay once the table is made, database or not.
  flm::Database* closing = db;
  ASSERT_EQ(flm::Session::closeDatabase(&closing), flm::FERR_OK);
  EXPECT_EQ(dump(read), std::string("0 @15@ entry\r\n") + kEveryTypeBody);
}

TEST_F(DumpStore, NamesLongerThanTheWorkingLine) {
  flm::Database* db = fresh(everyType());
  FlmRecord r(kEntry, 256);
  addText(r, kLongName, "v");
  ASSERT_EQ(r.Add(db, 0, flm::FLM_DATA_CONTAINER, 2), 1);
  FlmRecord read(kNoTag, 256);
  ASSERT_EQ(read.Retrieve(db, 0, flm::FLM_DATA_CONTAINER, 2), 1);
  EXPECT_EQ(dump(read), "0 @2@ entry\r\n  1 " + kLongFieldName + " v\r\n");
}

TEST(RecordDump, WithoutANameTableFieldsShowTheirTags) {
  FlmRecord r(kEntry, 256);
  addText(r, kTitle, "plain");
  add(r, kNested);
  addText(r, kUnnamed, "x", fsCurrent);
  const std::string expected = "0 TAG_1\r\n  1 TAG_2 plain\r\n  1 TAG_10\r\n    2 TAG_50 x\r\n";
  EXPECT_EQ(dump(r), expected);
  EXPECT_EQ(r.GetFlmError().GetError(), 0);
  EXPECT_EQ(formatted(rootOf(r), 1, nullptr), expected);
}

TEST(RecordDump, RootLine) {
  FlmRecord bare(5, 256);
  EXPECT_EQ(dump(bare), "0 TAG_5\r\n");

  // A number shows only when it is nonzero; a handle that is no database
  // gives no names.
  int notADatabase = 0;
  bare.SetSource(&notADatabase, 100, 0, 0);
  EXPECT_EQ(dump(bare), "0 TAG_5\r\n");
  bare.SetSource(&notADatabase, 100, 0, 4294967295u);
  EXPECT_EQ(dump(bare), "0 @4294967295@ TAG_5\r\n");
  ASSERT_EQ(bare.Put("root text"), 1);
  EXPECT_EQ(dump(bare), "0 @4294967295@ TAG_5 root text\r\n");

  // Only a level-0 field shows its source.
  FlmRecord outer(kEntry, 256);
  ASSERT_EQ(outer.AddRecord(bare, kLast, fsRoot, gmChild), 1);
  EXPECT_EQ(dump(outer), "0 TAG_1\r\n  1 TAG_5 root text\r\n");
}

TEST(RecordDump, UnreadableValuesShowTheirErrorAndTheDumpGoesOn) {
  FlmRecord r(kEntry, 256);
  add(r, kCount);
  ASSERT_EQ(r.Put(int32_t{-1}), 0);
  add(r, kBlob);
  current(r)->type = 9;  // no such value type
  add(r, kRatio);
  current(r)->type = flm::FLM_REAL_TYPE;  // a real without its eight bytes
  addText(r, kTitle, "after");
  EXPECT_EQ(dump(r),
            "0 TAG_1\r\n"
            "  1 TAG_3    # Error: CONV_NUM_UNDERFLOW\r\n"
            "  1 TAG_4    # Error: BAD_FIELD_TYPE\r\n"
            "  1 TAG_6    # Error: CONV_NULL_SRC\r\n"
            "  1 TAG_2 after\r\n");
  EXPECT_EQ(r.GetFlmError().GetError(), 0) << "value errors do not fail the dump";

  // Text that the code page cannot take (only 0 and UTF-8 are known here).
  FlmRecord words(kEntry, 256);
  addText(words, kTitle, "words");
  EXPECT_EQ(formatted(rootOf(words), 1, nullptr, nullptr, 1252),
            "0 TAG_1\r\n  1 TAG_2    # Error: CONV_ILLEGAL\r\n");
}

TEST(RecordDump, LongAndWideText) {
  FlmRecord r(kEntry, 256);
  std::string han;
  for (int i = 0; i < 5000; ++i) han += "\xE6\xBC\xA2";  // three UTF-8 bytes each
  addText(r, kTitle, ("\"" + han + "\"").c_str());
  EXPECT_EQ(dump(r), "0 TAG_1\r\n  1 TAG_2 \"\"" + han + "\"\"\r\n");
}

TEST(RecordDump, TreeCountsOverAForest) {
  FlmRecord r(kEntry, 256);
  addText(r, kTitle, "in first");
  ASSERT_EQ(r.AddField(kCount, 0, fsRoot, gmSibling), 1);
  ASSERT_EQ(r.Put(uint32_t{2}), 0);
  ASSERT_EQ(r.AddField(kDay, kLast, fsRoot, gmSibling), 1);
  ASSERT_EQ(flm::putDate(r.GetPool(), current(r), flm::FlmDate{2001, 1, 2}), 0u);
  const node* first = rootOf(r);
  const std::string one = "0 TAG_1\r\n  1 TAG_2 in first\r\n";
  const std::string all = one + "0 TAG_3 2\r\n0 TAG_7 2001-01-02\r\n";
  EXPECT_EQ(formatted(first, 1, nullptr), one);
  EXPECT_EQ(formatted(first, 2, nullptr), one + "0 TAG_3 2\r\n");
  EXPECT_EQ(formatted(first, 0, nullptr), all);
  EXPECT_EQ(formatted(first, 9, nullptr), all);
  EXPECT_EQ(dump(r), one) << "Format dumps the root's tree";
}

// ---------------------------------------------------------------------------
// The buffer's end

TEST(RecordDump, EmptyRecordWritesNothingAndFails) {
  FlmRecord empty(kNoTag, 256);
  std::vector<char> buffer(64, 'x');
  EXPECT_EQ(empty.Format(buffer.data(), 64), 0);
  EXPECT_EQ(empty.GetFlmError().GetError(), 0xC040) << "NULL_RECORD";
  EXPECT_EQ(std::string(buffer.begin(), buffer.end()), std::string(64, 'x'));
}

TEST(RecordDump, ExactBufferAndZeroedRest) {
  FlmRecord r(kEntry, 256);
  buildEveryType(r);
  uint16_t total = 0;
  std::string whole = formatted(rootOf(r), 1, nullptr, &total);
  ASSERT_EQ(total, whole.size());

  // Exactly large enough: every byte used, no terminator, nothing past it.
  std::vector<char> exact(whole.size(), 'x');
  ASSERT_EQ(r.Format(exact.data(), static_cast<unsigned short>(exact.size())), 1);
  EXPECT_EQ(std::string(exact.begin(), exact.end()), whole);

  // Larger: the rest is zeroed.
  std::vector<char> roomy(whole.size() + 40, 'x');
  ASSERT_EQ(r.Format(roomy.data(), static_cast<unsigned short>(roomy.size())), 1);
  EXPECT_EQ(std::string(roomy.begin(), roomy.begin() + static_cast<long>(whole.size())), whole);
  for (size_t i = whole.size(); i < roomy.size(); ++i) ASSERT_EQ(roomy[i], '\0') << i;
}

// The count is 16 bits taken down by every line's full length: a dump that
// does not fit reports more than the buffer holds, and wraps past 65535.
// Lines are cut at the buffer's end and later ones only counted; the buffers
// below are exactly their size, so the address sanitizer sees any overrun.
TEST(RecordDump, TooSmallBufferIsCutAndTheCountRunsOn) {
  FlmRecord r(kEntry, 256);
  addText(r, kTitle, "first line");
  addText(r, kTitle, "second line");
  addText(r, kTitle, "third line");
  uint16_t total = 0;
  const std::string whole = formatted(rootOf(r), 1, nullptr, &total);
  const size_t firstTwo = whole.find("  1 TAG_2 second");
  ASSERT_NE(firstTwo, std::string::npos);

  const uint16_t capacity = static_cast<uint16_t>(firstTwo + 5);
  std::vector<char> small(capacity, 'x');
  uint16_t size = capacity;
  ASSERT_EQ(storage::formatTrees(1, rootOf(r), small.data(), &size, nullptr, 0), flm::FERR_OK);
  EXPECT_EQ(std::string(small.begin(), small.end()), whole.substr(0, capacity))
      << "the second line cut, the third dropped";
  EXPECT_EQ(size, total) << "the count goes past the capacity";
  EXPECT_GT(size, capacity);

  std::vector<char> viaFormat(capacity, 'x');
  EXPECT_EQ(r.Format(viaFormat.data(), capacity), 1) << "the size is not checked";
  EXPECT_EQ(std::string(viaFormat.begin(), viaFormat.end()), whole.substr(0, capacity));

  std::vector<char> none(1, 'x');
  size = 0;
  ASSERT_EQ(storage::formatTrees(1, rootOf(r), none.data(), &size, nullptr, 0), flm::FERR_OK);
  EXPECT_EQ(none[0], 'x') << "a zero capacity takes nothing";
  EXPECT_EQ(size, total);
}

TEST(RecordDump, CountWrapsPast65535WithoutOverrun) {
  FlmRecord r(kEntry, 256);
  addText(r, kTitle, std::string(69990, 'w').c_str());
  // "0 TAG_1\r\n" is 9 bytes, "  1 TAG_2 " 10, the text 69990, the ending 2.
  const size_t length = 9 + 10 + 69990 + 2;

  std::vector<char> small(100, 'x');
  uint16_t size = 100;
  ASSERT_EQ(storage::formatTrees(1, rootOf(r), small.data(), &size, nullptr, 0), flm::FERR_OK);
  EXPECT_EQ(size, length - 65536) << "the 16-bit count wrapped";
  EXPECT_EQ(std::string(small.begin(), small.end()),
            "0 TAG_1\r\n  1 TAG_2 " + std::string(100 - 19, 'w'));

  std::vector<char> full(kBig, 'x');
  ASSERT_EQ(r.Format(full.data(), kBig), 1);
  EXPECT_EQ(full[kBig - 1], 'w') << "filled to the last byte and no further";
}

// Past the buffer: the same lines, whole, from the record's database.
TEST_F(DumpStore, TextOfAnyLengthIsWhole) {
  flm::Database* db = fresh(everyType());
  FlmRecord r(kEntry, 256);
  buildEveryType(r);
  addText(r, kTitle, std::string(69990, 'w').c_str());
  ASSERT_EQ(r.Add(db, 0, flm::FLM_DATA_CONTAINER, 15), 1);
  FlmRecord read(kNoTag, 256);
  ASSERT_EQ(read.Retrieve(db, 0, flm::FLM_DATA_CONTAINER, 15), 1);
  ASSERT_EQ(read.FindField(kBlob, 1, fsRoot, faSubtree), 1);
  void* blob = read.GetCurrentField();
  std::string text = "kept ";
  ASSERT_EQ(FormatRecordText(read, &text), FERR_OK);
  EXPECT_TRUE(text == "kept 0 @15@ entry\r\n" + std::string(kEveryTypeBody) + "  1 title " +
                          std::string(69990, 'w') + "\r\n")
      << text.size() << " bytes";
  EXPECT_EQ(read.GetCurrentField(), blob);

  // Without a database, as Format writes them.
  FlmRecord bare(kEntry, 256);
  buildEveryType(bare);
  text.clear();
  ASSERT_EQ(FormatRecordText(bare, &text), FERR_OK);
  EXPECT_EQ(text, dump(bare));
  EXPECT_NE(text.find("TAG_2 plain"), std::string::npos);

  FlmRecord empty(kNoTag, 256);
  text = "kept";
  EXPECT_EQ(FormatRecordText(empty, &text), 0xC040u) << "NULL_RECORD";
  EXPECT_EQ(text, "kept");
}

// ---------------------------------------------------------------------------
// Into a file

TEST(RecordDump, IntoAFileAtItsPosition) {
  testfiles::ScratchDir dir;
  FlmRecord r(kEntry, 256);
  buildEveryType(r);
  const std::string path = dir.file("dump.txt");
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(::write(fd, "HEAD", 4), 4);
  EXPECT_EQ(storage::formatTreesToFile(1, rootOf(r), fd, nullptr, 0), flm::FERR_OK);
  ::close(fd);
  EXPECT_EQ(testfiles::readFile(path), "HEAD" + formatted(rootOf(r), 1, nullptr));

  fd = ::open(path.c_str(), O_RDONLY);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(storage::formatTreesToFile(1, rootOf(r), fd, nullptr, 0), flm::FERR_WRITING_FILE);
  ::close(fd);
  EXPECT_EQ(storage::formatTreesToFile(1, nullptr, fd, nullptr, 0), flm::FERR_NULL_RECORD);
}

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
  EXPECT_EQ(r.number(kCount, 1) + " " + r.number(kCount, 2) + " " + r.number(kCount, 3),
            "4294967295 -1 8589934592");
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
  EXPECT_EQ(read(flm::getRecPtr, r.field(kLink, 2)), "4294967295");
  EXPECT_EQ(r.number(52), "-7");
  EXPECT_EQ(read(flm::getTimestamp, r.field(kStamp)), "2024-12-31 23:59:58.99");
  EXPECT_EQ(flm::nodeParent(r.field(kTitle, 9)), r.root);
  EXPECT_EQ(r.text(kTitle, 9), u"after");

  // Numbers given, taken (one past the highest when the record is added), and
  // per container.
  EXPECT_EQ(Stored(db, 0, kData, 6).text(kTitle), u"any case");
  EXPECT_EQ(Stored(db, 3, kSide, 1).text(kEntry), u"side");
  EXPECT_EQ(Stored(db, 0, kData, 2).text(kEntry), u"first");
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
  double ratio = 0;
  EXPECT_EQ(flm::getReal(Stored(again, 0, kData, 5).field(kRatio, 2), &ratio), FERR_OK);
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

TEST_F(DumpLoad, DumpRefusesTextThatWouldNotReadBack) {
  for (const std::string& bad : {"two\nlines"s, "   # Error: MEM"s, "nul\0byte"s}) {
    flm::Database* db = fresh(everyType());
    ScopedPool pool;
    Node* root = pool.make(kEntry);
    ASSERT_EQ(flm::putUtf8(&pool, root, bad.data(), bad.size()), FERR_OK);
    uint32_t drn = 4;
    ASSERT_EQ(db->add(0, kData, &drn, root), FERR_OK);

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
    std::string text;  // from line 6
    flm::RCODE rc;
    const char* error;
  };
  const Case cases[] = {
      {"  1 nosuch x\n", flm::FERR_BAD_FIELD_NUM, "t:6: unknown field name 'nosuch'"},
      // Text goes in as written or not at all.
      {"  1 title caf\xE9\n", flm::FERR_GED_BAD_VALUE, "t:6: the value is not UTF-8 text"},
      {"  1 title \xED\xA0\x80 half a pair\n", flm::FERR_GED_BAD_VALUE,
       "t:6: the value is not UTF-8 text"},
      {"  1 title\n  1 title cut \xC3\n", flm::FERR_GED_BAD_VALUE,
       "t:7: the value is not UTF-8 text"},
      {"  1 title a\0b\n"s, flm::FERR_GED_BAD_VALUE, "t:6: a NUL byte in the value"},
      {"  1 count 1\0"s + "\n", flm::FERR_GED_BAD_VALUE, "t:6: a NUL byte in the value"},
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
      {"  1 day 2024-256-01\n", flm::FERR_GED_BAD_VALUE, "t:6: bad date '2024-256-01' for day"},
      {"  1 stamp 65536-01-01 1:00:00.00\n", flm::FERR_GED_BAD_VALUE,
       "t:6: bad timestamp '65536-01-01 1:00:00.00' for stamp"},
      {"  1 count    # Error: CONV_NUM_UNDERFLOW\n", flm::FERR_GED_BAD_VALUE,
       "t:6: the dump could not read this value (CONV_NUM_UNDERFLOW)"},
      {"0 @0@ entry\n", flm::FERR_GED_BAD_RECID, "t:6: bad record number '@0@' (1 to 4294967294)"},
      {"0 @7@entry\n", flm::FERR_SYNTAX,
       "t:6: expected a space and a field name after the record number"},
      {"  1 @7@ title\n", flm::FERR_GED_BAD_RECID,
       "t:6: only a level-0 line carries a record number"},
      {"0 @20@ entry again\n", flm::FERR_EXISTS,
       "t:6: record @20@ is already in store 0 container 32001"},
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
  EXPECT_EQ(Stored(db, 0, kData, 21).rc, FERR_OK);
}
