// The record dump: one indented, tagged line per field, every value type,
// names from the database or TAG_n, and what happens at the buffer's end.
#include <gtest/gtest.h>

#include <corvid5/FlmRecord.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "flm/Database.h"
#include "flm/Node.h"
#include "flm/Session.h"
#include "flm/Value.h"
#include "storage/RecordFormat.h"
#include "support/TestFiles.h"

namespace {

enum : unsigned short {
  kEntry = 1,
  kTitle = 2,
  kCount = 3,
  kBlob = 4,
  kLink = 5,
  kRatio = 6,
  kDay = 7,
  kClock = 8,
  kStamp = 9,
  kNested = 10,
  kLongName = 11,
  kUnnamed = 50,
};
constexpr unsigned short kLast = 32767;
constexpr unsigned short kNoTag = 0;
constexpr uint16_t kBig = 65535;

const std::string kLongFieldName(600, 'n');

flm::Dictionary dumpDictionary() {
  flm::Dictionary d;
  d.fields = {{kEntry, "entry", flm::FLM_TEXT_TYPE},       {kTitle, "title", flm::FLM_TEXT_TYPE},
              {kCount, "count", flm::FLM_NUMBER_TYPE},     {kBlob, "blob", flm::FLM_BINARY_TYPE},
              {kLink, "link", flm::FLM_CONTEXT_TYPE},      {kRatio, "ratio", flm::FLM_REAL_TYPE},
              {kDay, "day", flm::FLM_DATE_TYPE},           {kClock, "clock", flm::FLM_TIME_TYPE},
              {kStamp, "stamp", flm::FLM_TMSTAMP_TYPE},    {kNested, "nested", flm::FLM_TEXT_TYPE},
              {kLongName, kLongFieldName, flm::FLM_TEXT_TYPE}};
  return d;
}

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

class DumpStore : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(flm::Session::create(256, 0, &session), flm::FERR_OK);
    ASSERT_EQ(session->createDatabase(dir.file("dump.db").c_str(), dumpDictionary(), &db),
              flm::FERR_OK);
  }
  void TearDown() override { flm::Session::close(&session); }

  testfiles::ScratchDir dir;
  flm::Session* session = nullptr;
  flm::Database* db = nullptr;
};

}  // namespace

// ---------------------------------------------------------------------------
// Lines

TEST_F(DumpStore, EveryValueTypeWithNamesAndTheRecordNumber) {
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
  FlmRecord r(kEntry, 256);
  addText(r, kLongName, "v");
  ASSERT_EQ(r.Add(db, 0, flm::FLM_DATA_CONTAINER, 2), 1);
  FlmRecord read(kNoTag, 256);
  ASSERT_EQ(read.Retrieve(db, 0, flm::FLM_DATA_CONTAINER, 2), 1);
  EXPECT_EQ(dump(read), "0 @2@ entry\r\n  1 " + kLongFieldName + " v\r\n");
}

TEST(RecordDump, WithoutANameTableFieldsShowTheirTags) {
  FlmRecord r(kEntry, 256);
  buildEveryType(r);
  const std::string expected =
      "0 TAG_1\r\n"
      "  1 TAG_2 plain\r\n"
      "  1 TAG_2 \"\"quoted\"\"\r\n"
      "  1 TAG_2 \"\"\"\r\n"
      "  1 TAG_2\r\n"
      "  1 TAG_3 4294967295\r\n"
      "  1 TAG_4 [-binary-]\r\n"
      "  1 TAG_5 @77@\r\n"
      "  1 TAG_5\r\n"
      "  1 TAG_6 2.5\r\n"
      "  1 TAG_7 1998-03-01\r\n"
      "  1 TAG_8 9:05:07.03\r\n"
      "  1 TAG_9 2024-12-31 23:59:58.99\r\n"
      "  1 TAG_50 x\r\n"
      "  1 TAG_10\r\n"
      "    2 TAG_10 caf\xC3\xA9\r\n"
      "      3 TAG_2 deep\r\n";
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

TEST(RecordDump, DeepNestingIndentsTwoSpacesALevel) {
  FlmRecord r(kEntry, 256);
  for (int level = 1; level <= 230; ++level) add(r, kNested, fsCurrent);
  ASSERT_EQ(r.Put("bottom"), 1);
  std::string text = dump(r);
  size_t start = 0;
  for (unsigned level = 0; level <= 230; ++level) {
    size_t end = text.find("\r\n", start);
    ASSERT_NE(end, std::string::npos) << level;
    std::string expected = std::string(level * 2, ' ') + std::to_string(level) + " TAG_" +
                           (level ? "10" : "1") + (level == 230 ? " bottom" : "");
    ASSERT_EQ(text.substr(start, end - start), expected) << level;
    start = end + 2;
  }
  EXPECT_EQ(start, text.size());
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
