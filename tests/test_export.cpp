// The two writers of a word meaning's text: the record-driven Concept::Export
// and the composing writer behind the wordnet's export, line for line on
// meanings that reach every conversion-table row and every composing step;
// the record-driven writer's room checks one by one; failures of both.
#include <corvid5/corvid5.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "engine/Layout.h"
#include "model/meanings/ConceptExporter.h"
#include "model/meanings/RecordExport.h"
#include "support/LoadedDatabase.h"
#include "support/SmallDatabases.h"

namespace {

constexpr uint32_t kStore = 100;

// System tables: relation names under NAME for the record-driven writer and
// under CODE for the composing one; part-of-speech names; equivalence
// relations; and shared and local usage labels and features.
const std::string kSystem = dumptext::systemTables() + R"(
STORE 96 CONTAINER 360
0 @1@ USAGE_LABEL_DEFINITION
  1 USAGE_LABEL 3
  1 NAME register
STORE 100 CONTAINER 212
0 @1@ USAGE_LABEL_DEFINITION
  1 USAGE_LABEL -2
  1 NAME dialect
STORE 96 CONTAINER 370
0 @1@ FEATURE_DEFINITION
  1 FEATURE 4
  1 NAME countable
STORE 100 CONTAINER 213
0 @1@ FEATURE_DEFINITION
  1 FEATURE 0
  1 NAME plural form
  1 VALUES
    2 TAG_22
STORE 98 CONTAINER 32001
0 @1@ ILI_RECORD
  1 PART_OF_SPEECH 1
  1 WORDNET_OFFSET 2084071
0 @2@ ILI_RECORD
  1 PART_OF_SPEECH 2
  1 ADD_ON_ID 17
0 @3@ ILI_RECORD
  1 PART_OF_SPEECH 1
)";

// Meaning 1 ("dog") has every kind of variant field, every kind of link
// target (link 205 has no target field at all) and every kind of
// equivalence target; 2 and 42 are link targets, 3 an instance, 4 a meaning
// without part of speech.
const std::string kMeanings = dumptext::group(100, 200) + dumptext::meaning(1, 1) +
                             dumptext::meaning(2, 1) + dumptext::meaning(42, 1) + R"(0 @3@ CONCEPT
  1 TYPE 2
  1 PART_OF_SPEECH 5
0 @4@ CONCEPT
  1 TYPE 1
STORE 100 CONTAINER 32001
0 @101@ VARIANT
  1 CONCEPT @1@
    2 PART_OF_SPEECH 1
  1 LITERAL dog
    2 SENSE 1
  1 DEFINITION a "domesticated" canid
  1 STATUS checked
  1 EXAMPLES
    2 EXAMPLE the dog barked
    2 EXAMPLE a dog's life
  1 MULTI_WORD_INFO
    2 MULTI_WORD_TOKEN 7
      3 PART_OF_SPEECH 1
    2 MULTI_WORD_TOKEN 40000
      3 PART_OF_SPEECH 4
  1 TRANSLATIONS
    2 TRANSLATION chien
  1 USAGE_LABELS
    2 USAGE_LABEL 3
      3 VALUE 2
    2 USAGE_LABEL -2
    2 USAGE_LABEL 77
      3 VALUE 1
  1 FEATURES
    2 FEATURE 4
    2 FEATURE 0
      3 TAG_22 dogs
    2 FEATURE 99
  1 EXTERNAL_INFO
    2 SOURCE_ID 11
      3 TEXT_KEY dog%1:05:00::
    2 SOURCE_ID 12
      3 NUMBER_KEY 2084071
    2 CORPUS_ID 3
      3 FREQUENCY 42
    2 PAROLE_ID 9
)" + dumptext::variant(102, 1, "domestic dog", 1) + dumptext::variant(103, 2, "animal", 1) +
                             dumptext::variant(104, 2, "beast", 2) + dumptext::group(100, 202) +
                             dumptext::conceptLink(201, 8, 1, 2) + R"(0 @202@ CONCEPT_LINK
  1 RELATION 12
  1 SOURCE_CONCEPT @1@
    2 VARIANT @101@
      3 LITERAL dog
        4 SENSE 1
  1 TARGET_CONCEPT @2@
    2 VARIANT @103@
      3 LITERAL animal
        4 SENSE 1
    2 TARGET_VARIANT_REFERENCE @103@
  1 CONJUNCTIVE 1
  1 DISJUNCTIVE 2
  1 FACTIVE
  1 NEGATIVE
  1 REVERSED
  1 FEATURES
  1 SOURCE_ID 5
    2 TEXT_KEY k5
0 @203@ CONCEPT_LINK
  1 RELATION 10
  1 SOURCE_CONCEPT @1@
  1 TARGET_CONCEPT
    2 PART_OF_SPEECH 1
    2 LITERAL puppy
    2 SENSE 3
  1 NON_FACTIVE
)" + dumptext::conceptLink(204, 99, 1, 42) + R"(0 @205@ CONCEPT_LINK
  1 RELATION 1
  1 SOURCE_CONCEPT @1@
  1 NEGATIVE
)" + dumptext::group(100, 204) +
                             dumptext::eqLink(301, 1, 1, 1) + dumptext::eqLink(303, 5, 1, 3) +
                             R"(0 @302@ EQ_LINK
  1 EQ_RELATION 2
  1 CONCEPT @1@
  1 TARGET_ILI @2@
  1 SOURCE_ID 7
    2 NUMBER_KEY 99
)";

using Database = testdb::LoadedDatabase;
using testdb::thrown;

// The library makes its objects; a test reaches them through a collection.
struct Meanings : Concepts {
  Meanings(void* db, uint32_t store) : Concepts(db, layout::kMeanings, store) {}
};

std::unique_ptr<Concept> meaning(void* db, uint32_t id) {
  Meanings all(db, kStore);
  Concept* out = nullptr;
  if (!all.GetItem(id, &out)) {
    ADD_FAILURE() << "no meaning " << id;
    return nullptr;
  }
  return std::unique_ptr<Concept>(out);
}

std::string recordText(Concept& c, int size = 8192) {
  std::vector<char> buffer(static_cast<size_t>(size));
  c.Export(buffer.data(), size, 0);
  return buffer.data();
}

std::string composedText(void* db, Concept& c) {
  ConceptExporter exporter(db, kStore);
  std::u16string text;
  EXPECT_EQ(exporter.Export(c, text), 1);
  return std::string(text.begin(), text.end());
}

class Export : public ::testing::Test {
 protected:
  Database db{kSystem + kMeanings};
};

// Lines joined with the writer's line end.
std::string lines(std::initializer_list<const char*> items, const char* end) {
  std::string text;
  for (const char* item : items) text.append(item).append(end);
  return text;
}

// The record-driven text, in the order the records are stored and indexed;
// fields the tables do not know leave their marker at the start of the
// next line.
const std::initializer_list<const char*> kDogRecordLines = {
    "0 @1@ WORD_MEANING",
    "  1 PART_OF_SPEECH \"n\"",
    "  1 VARIANTS",
    "    2 LITERAL \"dog\"",
    "      3 SENSE 1",
    "      3 DEFINITION \"a \"domesticated\" canid\"",
    "      3 STATUS \"checked\"",
    "      3 EXAMPLES",
    "        4 EXAMPLE \"the dog barked\"",
    "        4 EXAMPLE \"a dog's life\"",
    "      3 MULTI_WORD_INFO",
    "        4 MULTI_WORD_TOKEN 7",
    "          5 PART_OF_SPEECH \"noun\"",
    "        4 MULTI_WORD_TOKEN 40000",
    "          5 PART_OF_SPEECH",
    "{Cannot convert tag 129, level 1}{Cannot convert tag 137, level 2}      3 USAGE_LABELS",
    "{Cannot convert tag 42, level 2}{Cannot convert tag 20, level 3}"
    "{Cannot convert tag 42, level 2}{Cannot convert tag 42, level 2}"
    "{Cannot convert tag 20, level 3}{Cannot convert tag 128, level 1}"
    "{Cannot convert tag 46, level 2}{Cannot convert tag 46, level 2}"
    "{Cannot convert tag 22, level 3}{Cannot convert tag 46, level 2}      3 EXTERNAL_INFO",
    "        4 SOURCE_ID 11",
    "          5 TEXT_KEY \"dog%1:05:00::\"",
    "        4 SOURCE_ID 12",
    "          5 NUMBER_KEY 2084071",
    "        4 CORPUS_ID 3",
    "          5 FREQUENCY 42",
    "        4 PAROLE_ID 9",
    "    2 LITERAL \"domestic dog\"",
    "      3 SENSE 1",
    "  1 INTERNAL_LINKS",
    "    2 RELATION \"hyperonym\"",
    "      3 TARGET_CONCEPT @2@",
    "    2 RELATION \"near synonym\"",
    "{Cannot convert tag 60, level 2}{Cannot convert tag 120, level 3}"
    "{Cannot convert tag 121, level 4}      3 TARGET_CONCEPT @2@",
    "{Cannot convert tag 60, level 2}{Cannot convert tag 120, level 3}"
    "{Cannot convert tag 121, level 4}{Cannot convert tag 118, level 2}        4 CONJUNCTIVE 1",
    "        4 DISJUNCTIVE 2",
    "        4 FACTIVE",
    "        4 NEGATIVE",
    "        4 REVERSED",
    "{Cannot convert tag 128, level 1}{Cannot convert tag 131, level 1}"
    "{Cannot convert tag 132, level 2}    2 RELATION \"hyponym\"",
    "      3 TARGET_CONCEPT{Error: CONV_NULL_SRC-0xC01E}",
    "{Cannot convert tag 2, level 2}{Cannot convert tag 120, level 2}"
    "{Cannot convert tag 121, level 2}        4 NON_FACTIVE",
    "    2 RELATION",
    "      3 TARGET_CONCEPT @42@",
    "    2 RELATION \"antonym\"",
    "        4 NEGATIVE",
    "  1 EQ_LINKS",
    "    2 EQ_RELATION \"synonym\"",
    "      3 TARGET_ILI @1@",
    "    2 EQ_RELATION \"near synonym\"",
    "      3 TARGET_ILI @2@",
    "{Cannot convert tag 131, level 1}{Cannot convert tag 133, level 2}    2 EQ_RELATION",
    "      3 TARGET_ILI @3@",
};

// The composed text: variants last to first, names and targets resolved.
const std::initializer_list<const char*> kDogComposedLines = {
    "0 @1@ WORD_MEANING",
    "  1 PART_OF_SPEECH \"n\"",
    "  1 VARIANTS",
    "    2 LITERAL \"domestic dog\"",
    "      3 SENSE 1",
    "    2 LITERAL \"dog\"",
    "      3 SENSE 1",
    "      3 DEFINITION \"a \"domesticated\" canid\"",
    "      3 STATUS \"checked\"",
    "      3 EXAMPLES",
    "        4 EXAMPLE \"the dog barked\"",
    "        4 EXAMPLE \"a dog's life\"",
    "      3 TRANSLATIONS",
    "        4 TRANSLATION \"chien\"",
    "      3 USAGE_LABELS",
    "        4 USAGE_LABEL \"register\"",
    "          5 USAGE_LABEL_VALUE \"2\"",
    "        4 USAGE_LABEL \"dialect\"",
    "          5 USAGE_LABEL_VALUE \"\"",
    "      3 FEATURES",
    "        4 FEATURE \"countable\"",
    "        4 FEATURE \"plural form\"",
    "          5 FEATURE_VALUE \"dogs\"",
    "      3 EXTERNAL_INFO",
    "        4 SOURCE_ID 11",
    "          5 TEXT_KEY \"dog%1:05:00::\"",
    "        4 SOURCE_ID 12",
    "          5 NUMBER_KEY 2084071",
    "        4 CORPUS_ID 3",
    "          5 FREQUENCY 42",
    "        4 PAROLE 9",
    "  1 INTERNAL_LINKS",
    "    2 RELATION \"has_hyperonym\"",
    "      3 TARGET_CONCEPT",
    "        4 PART_OF_SPEECH \"n\"",
    "        4 LITERAL \"beast\"",
    "          5 SENSE 2",
    "    2 RELATION \"near_synonym\"",
    "      3 TARGET_CONCEPT",
    "        4 PART_OF_SPEECH \"n\"",
    "        4 LITERAL \"animal\"",
    "          5 SENSE 1",
    "        4 CONJUNCTIVE 1",
    "        4 DISJUNCTIVE 2",
    "        4 FACTIVE",
    "        4 NEGATIVE",
    "        4 REVERSED",
    "        4 VARIANT_TO_VARIANT",
    "          5 SOURCE_VARIANT \"dog\" 1",
    "          5 TARGET_VARIANT \"animal\" 1",
    "      3 FEATURES",
    "      3 SOURCE_ID 5",
    "        4 TEXT_KEY \"k5\"",
    "    2 RELATION \"has_hyponym\"",
    "      3 TARGET_CONCEPT",
    "        4 PART_OF_SPEECH \"n\"",
    "        4 LITERAL \"puppy\"",
    "          5 SENSE 3",
    "        4 NON_FACTIVE",
    "    2 RELATION \"\"",
    "      3 TARGET_CONCEPT @42@",
    "    2 RELATION \"near_antonym\"",
    "      3 TARGET_CONCEPT",
    "        4 PART_OF_SPEECH \"?\"",
    "        4 LITERAL \"\"",
    "          5 SENSE 0",
    "        4 NEGATIVE",
    "  1 EQ_LINKS",
    "    2 EQ_RELATION \"eq_synonym\"",
    "      3 TARGET_ILI",
    "        4 PART_OF_SPEECH \"n\"",
    "        4 WORDNET_OFFSET 2084071",
    "    2 EQ_RELATION \"eq_near_synonym\"",
    "      3 TARGET_ILI",
    "        4 PART_OF_SPEECH \"v\"",
    "        4 ADD_ON_ID 17",
    "      3 SOURCE_ID 7",
    "        4 NUMBER_KEY 99",
    "    2 EQ_RELATION \"\"",
    "      3 TARGET_ILI @3@",
};

// Splits for readable failures: the first differing line is shown.
std::vector<std::string> split(const std::string& text, const std::string& end) {
  std::vector<std::string> out;
  size_t from = 0;
  for (size_t at; (at = text.find(end, from)) != std::string::npos; from = at + end.size())
    out.push_back(text.substr(from, at - from));
  if (from < text.size()) out.push_back(text.substr(from));
  return out;
}

TEST_F(Export, RichMeaningLineForLine) {
  auto dog = meaning(db.handle(), 1);
  EXPECT_EQ(split(recordText(*dog), "\n"), split(lines(kDogRecordLines, "\n"), "\n"));
  EXPECT_EQ(split(composedText(db.handle(), *dog), "\r\n"),
            split(lines(kDogComposedLines, "\r\n"), "\r\n"));
}

// Both writers open alike and part on line ends and on the letter of the
// proper-noun code.
TEST_F(Export, HeaderAndPartOfSpeechLines) {
  struct Row {
    uint32_t id;
    const char* head;
    const char* record;
    const char* composed;
  } rows[] = {
      {42, "0 @42@ WORD_MEANING", "  1 PART_OF_SPEECH \"n\"", "  1 PART_OF_SPEECH \"n\""},
      {3, "0 @3@ WORD_INSTANCE", "  1 PART_OF_SPEECH \"pn\"", "  1 PART_OF_SPEECH \"p\""},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.id);
    auto c = meaning(db.handle(), r.id);
    EXPECT_EQ(recordText(*c), lines({r.head, r.record}, "\n"));
    EXPECT_EQ(composedText(db.handle(), *c), lines({r.head, r.composed}, "\r\n"));
  }
}

// Without a part of speech the record-driven writer stops after its first
// line; the composing writer shows "?".
TEST_F(Export, MeaningWithoutPartOfSpeech) {
  auto c = meaning(db.handle(), 4);
  char buffer[256];
  EXPECT_EQ(thrown([&] { c->Export(buffer, sizeof buffer, 0); }).error, errDataLayout);
  EXPECT_STREQ(buffer, "0 @4@ WORD_MEANING\n");
  EXPECT_EQ(composedText(db.handle(), *c),
            lines({"0 @4@ WORD_MEANING", "  1 PART_OF_SPEECH \"?\""}, "\r\n"));
}

// What Export leaves in a buffer of `size` bytes, and the error it threw
// (0 when it threw none). The buffer is exactly as large as asked, so that
// a write past its end is caught.
struct Attempt {
  std::string text;
  int error = -1;
  bool untouched = false;
};

Attempt attempt(Concept& c, int size) {
  Attempt a;
  std::vector<char> buffer(static_cast<size_t>(size), 'X');
  char* data = size ? buffer.data() : nullptr;
  a.error = std::max(thrown([&] { c.Export(data, size, 0); }).error, 0);
  a.untouched = std::string(buffer.begin(), buffer.end()) == std::string(buffer.size(), 'X');
  const char* end =
      size ? static_cast<const char*>(std::memchr(buffer.data(), '\0', buffer.size())) : nullptr;
  if (end) a.text.assign(static_cast<const char*>(buffer.data()), end);
  return a;
}

TEST_F(Export, BuffersTooSmallForTheFirstLine) {
  auto c = meaning(db.handle(), 42);
  // Refused before anything is written: below 20 bytes, and too short for
  // the first line with its terminator.
  for (int size : {0, 19, 20}) {
    Attempt a = attempt(*c, size);
    EXPECT_EQ(a.error, errBufferTooSmall) << size;
    EXPECT_TRUE(a.untouched) << size;
  }
  Attempt a = attempt(*c, 21);
  EXPECT_EQ(a.error, errBufferTooSmall);
  EXPECT_EQ(a.text, "0 @42@ WORD_MEANING\n");
}

// Each room check of the record-driven writer, found at its place in the
// rich meaning's text: one byte less than it asks for stops the export just
// there, with everything before it written; what it asks for lets it pass.
TEST_F(Export, EachRoomCheckStopsTheExportWhereItStands) {
  auto dog = meaning(db.handle(), 1);
  const std::string full = lines(kDogRecordLines, "\n");
  struct Row {
    const char* check;
    const char* anchor;  // its first occurrence in the text
    size_t offset;       // where in it the check is made
    int room;
  } rows[] = {
      {"part-of-speech line", "  1 PART_OF_SPEECH", 0, 30},
      {"variants header", "  1 VARIANTS\n", 0, 20},
      {"links header", "  1 INTERNAL_LINKS\n", 0, 20},
      {"equivalences header", "  1 EQ_LINKS\n", 0, 20},
      {"first indentation step", "      3 SENSE 1\n", 0, 3},
      {"last indentation step", "      3 SENSE 1\n", 4, 3},
      {"item name", "      3 SENSE 1\n", 6, 5 + 4},
      {"wide text", "    2 LITERAL \"dog\"", 13, 3 + 5},
      {"16-bit number", "      3 SENSE 1\n", 13, 6},
      {"32-bit number", "        4 CORPUS_ID 3", 19, 16},
      {"record pointer", "      3 TARGET_CONCEPT @2@", 22, 18},
      {"relation name", "    2 RELATION \"hyperonym\"", 14, 9 + 4},
      {"equivalence relation name", "    2 EQ_RELATION \"synonym\"", 17, 7 + 4},
      {"part-of-speech name", "          5 PART_OF_SPEECH \"noun\"", 26, 4 + 4},
      {"unconverted-field marker", "{Cannot convert tag 129", 0, 40},
      {"unreadable-value marker", "{Error:", 0, 40},
      // Only a name value leaves less room than the line end asks for.
      {"line end", "    2 RELATION \"hyperonym\"\n", 26, 2},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.check);
    const size_t at = full.find(r.anchor);
    ASSERT_NE(at, std::string::npos);
    const size_t stop = at + r.offset;
    Attempt refused = attempt(*dog, static_cast<int>(stop) + r.room - 1);
    EXPECT_EQ(refused.error, errBufferTooSmall);
    EXPECT_EQ(refused.text, full.substr(0, stop));
    Attempt passed = attempt(*dog, static_cast<int>(stop) + r.room);
    EXPECT_EQ(passed.text.compare(0, stop, full, 0, stop), 0);
    EXPECT_GT(passed.text.size(), stop);
  }
}

TEST(RecordExport, AnUnknownValueKindThrowsAfterItsName) {
  const meanings::ConversionEntry table[] = {{60, 0, 10, "ODD", 1}, {0, 0, 0, nullptr, 0}};
  FlmRecord record(60, 256);
  char buffer[64];
  meanings::ExportBuffer out(buffer, sizeof buffer);
  meanings::NameLookup names(nullptr);
  EXPECT_EQ(thrown([&] { meanings::writeRecord(out, record, table, names); }).error, errUndefined);
  EXPECT_STREQ(buffer, "  1 ODD");
}

// A name is read into a buffer of 100 bytes; a longer one writes as empty.
TEST(RecordExport, ANameLongerThanItsBufferIsWrittenEmpty) {
  const std::string name(100, 'a');
  Database db(dumptext::systemTables() + dumptext::group(96, 32001) +
              "0 @20@ RELATION_DEFINITION\n  1 RELATION 20\n  1 NAME " + name + "\n" +
              dumptext::group(100, 200) + dumptext::meaning(1, 1) + dumptext::group(100, 202) +
              dumptext::conceptLink(201, 20, 1, 1));
  auto c = meaning(db.handle(), 1);
  EXPECT_EQ(recordText(*c),
            lines({"0 @1@ WORD_MEANING", "  1 PART_OF_SPEECH \"n\"", "  1 INTERNAL_LINKS",
                   "    2 RELATION \"\"", "      3 TARGET_CONCEPT @1@"},
                  "\n"));
}

// A failure on the way is named at the end of the text so far, and the
// exception goes on to the caller.
TEST_F(Export, ComposingWriterNamesAnExceptionAndPassesItOn) {
  auto dog = meaning(db.handle(), 1);
  ConceptExporter exporter(db.handle(), kStore);
  db.close();
  std::u16string text;
  const testdb::Thrown t = thrown([&] { exporter.Export(*dog, text); });
  EXPECT_EQ(t.error, errFlaim);
  EXPECT_EQ(t.flaim, 0xC00Du);  // the closed handle
  const std::string narrow(text.begin(), text.end());
  const std::string opening = lines({"0 @1@ WORD_MEANING", "  1 PART_OF_SPEECH \"n\""}, "\r\n") +
                              "\r\n# An exception occurred: FLAIM: BAD_HDL [0xC00D] -- "
                              "ConceptExporter (";
  EXPECT_EQ(narrow.compare(0, opening.size(), opening), 0) << narrow;
  EXPECT_EQ(narrow.substr(narrow.size() - 3), ")\r\n");
}

// The wordnet keeps at most 150 usage labels, the shared ones first, and
// shows only those.
TEST(ComposingWriter, KeepsTheFirst150UsageLabels) {
  std::string dump = "STORE 96 CONTAINER 360\n";
  for (int id = 1; id <= 151; ++id)
    dump += "0 USAGE_LABEL_DEFINITION\n  1 USAGE_LABEL " + std::to_string(id) +
            "\n  1 CODE x\n  1 NAME label" + std::to_string(id) + "\n";
  dump += R"(STORE 100 CONTAINER 212
0 USAGE_LABEL_DEFINITION
  1 USAGE_LABEL -1
  1 NAME local
STORE 100 CONTAINER 200
0 @1@ CONCEPT
  1 TYPE 1
  1 PART_OF_SPEECH 2
STORE 100 CONTAINER 32001
0 @1@ VARIANT
  1 CONCEPT @1@
  1 LITERAL run
  1 USAGE_LABELS
    2 USAGE_LABEL 1
    2 USAGE_LABEL 150
    2 USAGE_LABEL 151
    2 USAGE_LABEL -1
)";
  Database db(dump);
  auto run = meaning(db.handle(), 1);
  EXPECT_EQ(composedText(db.handle(), *run),
            lines({"0 @1@ WORD_MEANING", "  1 PART_OF_SPEECH \"v\"", "  1 VARIANTS",
                   "    2 LITERAL \"run\"", "      3 SENSE 0", "      3 USAGE_LABELS",
                   "        4 USAGE_LABEL \"label1\"", "          5 USAGE_LABEL_VALUE \"\"",
                   "        4 USAGE_LABEL \"label150\"", "          5 USAGE_LABEL_VALUE \"\""},
                  "\r\n"));
}

}  // namespace
