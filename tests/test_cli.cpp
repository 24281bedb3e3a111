// The corvid command run as people run it: its output, its JSON documents,
// its exit statuses and error lines, on a small English and French database
// made from a record dump (real WordNet 3.0 synsets and their OMW French
// lemmas) and on the English database built from WordNet 3.0.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "engine/Layout.h"
#include "support/CachedDatabases.h"
#include "support/LoadedDatabase.h"
#include "support/TestFiles.h"

extern char** environ;

namespace {

// ---------------------------------------------------------------- JSON ----

// A parsed JSON value: enough to check a document's shape and content.
struct Json {
  enum Kind { kNull, kBool, kNumber, kString, kArray, kObject } kind = kNull;
  double number = 0;
  std::string text;
  std::vector<Json> items;
  std::vector<std::pair<std::string, Json>> members;

  const Json& operator[](const std::string& key) const {
    for (const auto& [name, value] : members)
      if (name == key) return value;
    ADD_FAILURE() << "no member " << key;
    return none();
  }
  const Json& operator[](size_t i) const {
    if (i < items.size()) return items[i];
    ADD_FAILURE() << "no item " << i << " of " << items.size();
    return none();
  }
  static const Json& none() {
    static const Json null;
    return null;
  }
};

// Strict RFC 8259: one value, nothing but white space around it, raw
// control characters refused in strings, and every byte valid UTF-8.
class JsonParser {
 public:
  explicit JsonParser(const std::string& text) : s_(text) {}

  bool parse(Json* out) {
    if (!validUtf8()) return fail("not UTF-8");
    skipSpace();
    if (!value(out)) return false;
    skipSpace();
    return at_ == s_.size() || fail("text after the document");
  }
  const std::string& error() const { return error_; }

 private:
  bool fail(const std::string& why) {
    if (error_.empty()) error_ = why + " at byte " + std::to_string(at_);
    return false;
  }
  void skipSpace() {
    while (at_ < s_.size() && std::strchr(" \t\r\n", s_[at_])) ++at_;
  }
  bool literal(const char* word) {
    const size_t n = std::strlen(word);
    if (s_.compare(at_, n, word) != 0) return fail("bad literal");
    at_ += n;
    return true;
  }
  bool value(Json* out) {
    if (at_ >= s_.size()) return fail("end of text");
    const char c = s_[at_];
    if (c == '{') return object(out);
    if (c == '[') return array(out);
    if (c == '"') return out->kind = Json::kString, string(&out->text);
    if (c == 't' || c == 'f') return out->kind = Json::kBool, literal(c == 't' ? "true" : "false");
    if (c == 'n') return out->kind = Json::kNull, literal("null");
    return number(out);
  }
  bool number(Json* out) {
    const size_t start = at_;
    if (at_ < s_.size() && s_[at_] == '-') ++at_;
    if (at_ >= s_.size() || !std::isdigit(static_cast<unsigned char>(s_[at_])))
      return fail("bad value");
    if (s_[at_] == '0' && at_ + 1 < s_.size() &&
        std::isdigit(static_cast<unsigned char>(s_[at_ + 1])))
      return fail("leading zero");
    while (at_ < s_.size() && std::strchr("0123456789.eE+-", s_[at_])) ++at_;
    out->kind = Json::kNumber;
    char* end = nullptr;
    const std::string digits = s_.substr(start, at_ - start);
    out->number = std::strtod(digits.c_str(), &end);
    return *end == '\0' || fail("bad number");
  }
  bool hex4(uint32_t* unit) {
    if (at_ + 4 > s_.size()) return fail("short escape");
    *unit = 0;
    for (int i = 0; i < 4; ++i) {
      const char h = s_[at_++];
      if (!std::isxdigit(static_cast<unsigned char>(h))) return fail("bad escape");
      *unit = *unit * 16 + static_cast<uint32_t>(std::isdigit(h) ? h - '0' : (h | 0x20) - 'a' + 10);
    }
    return true;
  }
  static void appendUtf8(std::string* out, uint32_t c) {
    if (c < 0x80) {
      out->push_back(static_cast<char>(c));
    } else if (c < 0x800) {
      out->push_back(static_cast<char>(0xC0 | (c >> 6)));
      out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
      out->push_back(static_cast<char>(0xE0 | (c >> 12)));
      out->push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
      out->push_back(static_cast<char>(0xF0 | (c >> 18)));
      out->push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  bool escape(std::string* out) {
    const char e = s_[at_++];
    const char* from = "\"\\/bfnrt";
    const char* to = "\"\\/\b\f\n\r\t";
    if (const char* p = std::strchr(from, e); p && e) {
      out->push_back(to[p - from]);
      return true;
    }
    if (e != 'u') return fail("bad escape");
    uint32_t unit = 0;
    if (!hex4(&unit)) return false;
    if (unit >= 0xD800 && unit < 0xDC00) {
      uint32_t low = 0;
      if (s_.compare(at_, 2, "\\u") != 0) return fail("lone surrogate");
      at_ += 2;
      if (!hex4(&low) || low < 0xDC00 || low > 0xDFFF) return fail("lone surrogate");
      unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }
    appendUtf8(out, unit);
    return true;
  }
  bool string(std::string* out) {
    ++at_;
    while (at_ < s_.size()) {
      const unsigned char c = static_cast<unsigned char>(s_[at_]);
      if (c == '"') {
        ++at_;
        return true;
      }
      if (c < 0x20) return fail("raw control character");
      ++at_;
      if (c == '\\') {
        if (at_ >= s_.size() || !escape(out)) return fail("bad escape");
      } else {
        out->push_back(static_cast<char>(c));
      }
    }
    return fail("unterminated string");
  }
  bool array(Json* out) {
    out->kind = Json::kArray;
    ++at_;
    skipSpace();
    if (at_ < s_.size() && s_[at_] == ']') return ++at_, true;
    for (;;) {
      skipSpace();
      out->items.emplace_back();
      if (!value(&out->items.back())) return false;
      skipSpace();
      if (at_ < s_.size() && s_[at_] == ',') {
        ++at_;
        continue;
      }
      if (at_ < s_.size() && s_[at_] == ']') return ++at_, true;
      return fail("expected , or ]");
    }
  }
  bool object(Json* out) {
    out->kind = Json::kObject;
    ++at_;
    skipSpace();
    if (at_ < s_.size() && s_[at_] == '}') return ++at_, true;
    for (;;) {
      skipSpace();
      if (at_ >= s_.size() || s_[at_] != '"') return fail("expected a member name");
      std::string name;
      if (!string(&name)) return false;
      skipSpace();
      if (at_ >= s_.size() || s_[at_] != ':') return fail("expected :");
      ++at_;
      skipSpace();
      out->members.emplace_back(name, Json());
      if (!value(&out->members.back().second)) return false;
      skipSpace();
      if (at_ < s_.size() && s_[at_] == ',') {
        ++at_;
        continue;
      }
      if (at_ < s_.size() && s_[at_] == '}') return ++at_, true;
      return fail("expected , or }");
    }
  }
  bool validUtf8() const {
    for (size_t i = 0; i < s_.size();) {
      const unsigned char c = static_cast<unsigned char>(s_[i]);
      const size_t n = c < 0x80         ? 1
                       : (c >> 5) == 6  ? 2
                       : (c >> 4) == 14 ? 3
                       : (c >> 3) == 30 ? 4
                                        : 0;
      if (n == 0 || i + n > s_.size()) return false;
      for (size_t k = 1; k < n; ++k)
        if ((static_cast<unsigned char>(s_[i + k]) & 0xC0) != 0x80) return false;
      i += n;
    }
    return true;
  }

  const std::string& s_;
  size_t at_ = 0;
  std::string error_;
};

TEST(JsonChecker, RefusesWhatIsNotOneJsonDocument) {
  for (const char* bad : {"", "{", "[1,]", "{\"a\" 1}", "\"a\nb\"", "\"\\x\"", "01", "{} {}",
                          "\"\xC3\"", "\"\\ud800\"", "nul"}) {
    Json doc;
    EXPECT_FALSE(JsonParser(bad).parse(&doc)) << bad;
  }
  Json doc;
  ASSERT_TRUE(JsonParser("{\"a\":[1,-2.5,true,null,\"\\u00e9\\ud83d\\ude00\\\"\"]}").parse(&doc));
  EXPECT_EQ(doc["a"][4].text, "\xC3\xA9\xF0\x9F\x98\x80\"");
  EXPECT_EQ(doc["a"][1].number, -2.5);
}

// --------------------------------------------------------- running it ----

struct Outcome {
  int status = -1;
  std::string out, err;
};

// Runs corvid with `args`, in `dir` when given, with CORVID_DB set to `db`
// (unset when empty); standard output and error go to files of `scratch`.
Outcome corvid(const std::vector<std::string>& args, const std::string& db = "",
               const std::string& dir = "") {
  static testfiles::ScratchDir scratch;
  std::vector<std::string> env;
  for (char** e = environ; *e; ++e)
    if (std::strncmp(*e, "CORVID_DB=", 10) != 0) env.emplace_back(*e);
  if (!db.empty()) env.push_back("CORVID_DB=" + db);
  std::vector<char*> envp, argv{const_cast<char*>(CORVID5_CORVID_BINARY)};
  for (std::string& e : env) envp.push_back(e.data());
  envp.push_back(nullptr);
  std::vector<std::string> copies(args);
  for (std::string& a : copies) argv.push_back(a.data());
  argv.push_back(nullptr);
  const std::string outPath = scratch.file("out"), errPath = scratch.file("err");
  const pid_t child = fork();
  if (child == 0) {
    const int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (out < 0 || err < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0) _exit(126);
    if (!dir.empty() && chdir(dir.c_str()) != 0) _exit(126);
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  Outcome run;
  int status = 0;
  if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status))
    run.status = WEXITSTATUS(status);
  run.out = testfiles::readFile(outPath);
  run.err = testfiles::readFile(errPath);
  return run;
}

// The document a run printed; a failure when it is not one.
Json document(const Outcome& run) {
  Json doc;
  JsonParser parser(run.out);
  EXPECT_TRUE(parser.parse(&doc)) << parser.error() << "\n" << run.out;
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  return doc;
}

std::vector<std::string> texts(const Json& array) {
  std::vector<std::string> out;
  for (const Json& item : array.items) out.push_back(item.text);
  return out;
}

// The literals of a meaning's variants.
std::vector<std::string> literals(const Json& meaning) {
  std::vector<std::string> out;
  for (const Json& v : meaning["variants"].items) out.push_back(v["literal"].text);
  return out;
}

int lineCount(const std::string& text) {
  return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

// -------------------------------------------- the small database ----

// Five synsets of WordNet 3.0 in English and four of them in French, as the
// builder lays them out: meanings, variants with the definitions of the
// glosses, index variants, hyperonym and hyponym links, equivalence links,
// and two lexicographer files of the top ontology named in English.
const char* const kDump = R"(
STORE 0 CONTAINER 32001
0 @12@ VERSION_RECORD
  1 PART_OF_SPEECH 1.3
0 @28@ DATABASE_RECORD
  1 NAME Polylex
0 @61@ SITE
  1 SITE_NAME Corvid test site
  1 SITE_LANGUAGE en
STORE 96 CONTAINER 300
0 @100@ TAG_301
  1 CODE en
  1 STORE_ID 100
  1 NAME English
    2 NAME en English
    2 NAME fr anglais
0 @101@ TAG_301
  1 CODE fr
  1 STORE_ID 101
  1 NAME français
    2 NAME en French
    2 NAME fr français
STORE 96 CONTAINER 32001
0 @1@ RELATION_DEFINITION
  1 RELATION 1
  1 CODE near_antonym
  1 NAME antonym
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
  1 NAME equivalence synonym
STORE 98 CONTAINER 32001
0 @1@ ILI_RECORD
  1 PART_OF_SPEECH 1
  1 WORDNET_OFFSET 2084071
  1 GLOSS a member of the genus Canis (probably descended from the common wolf) that has been domesticated by man since prehistoric times; occurs in many breeds
0 @2@ ILI_RECORD
  1 PART_OF_SPEECH 1
  1 WORDNET_OFFSET 2083346
  1 GLOSS any of various fissiped mammals with nonretractile claws and typically long muzzles
0 @3@ ILI_RECORD
  1 PART_OF_SPEECH 1
  1 WORDNET_OFFSET 2121620
  1 GLOSS feline mammal usually having thick soft fur and no ability to roar: domestic cats; wildcats
0 @4@ ILI_RECORD
  1 PART_OF_SPEECH 1
  1 WORDNET_OFFSET 7134850
  1 GLOSS an informal conversation
0 @5@ ILI_RECORD
  1 PART_OF_SPEECH 1
  1 WORDNET_OFFSET 2120997
  1 GLOSS any of various lithe-bodied roundheaded fissiped mammals, many with retractile claws
STORE 98 CONTAINER 310
0 @1@ TOP_CONCEPT
  1 GLOSS the synsets of the noun lexicographer files
  1 ONTOLOGY_LINKS
    2 SUB_CONCEPT @2@
    2 SUB_CONCEPT @3@
0 @2@ TOP_CONCEPT
  1 GLOSS nouns denoting animals
  1 ONTOLOGY_LINKS
    2 SUPER_CONCEPT @1@
  1 TARGET_ILI @1@
  1 TARGET_ILI @2@
  1 TARGET_ILI @3@
  1 TARGET_ILI @5@
0 @3@ TOP_CONCEPT
  1 GLOSS nouns denoting communicative processes and contents
  1 ONTOLOGY_LINKS
    2 SUPER_CONCEPT @1@
  1 TARGET_ILI @4@
STORE 100 CONTAINER 200
0 @1@ CONCEPT
  1 TYPE 1
  1 PART_OF_SPEECH 1
0 @2@ CONCEPT
  1 TYPE 1
  1 PART_OF_SPEECH 1
0 @3@ CONCEPT
  1 TYPE 1
  1 PART_OF_SPEECH 1
0 @4@ CONCEPT
  1 TYPE 1
  1 PART_OF_SPEECH 1
0 @5@ CONCEPT
  1 TYPE 1
  1 PART_OF_SPEECH 1
STORE 100 CONTAINER 32001
0 @1@ VARIANT
  1 CONCEPT @1@
    2 PART_OF_SPEECH 1
  1 LITERAL dog
    2 SENSE 1
  1 DEFINITION a member of the genus Canis (probably descended from the common wolf) that has been domesticated by man since prehistoric times; occurs in many breeds; "the dog barked all night""
0 @2@ VARIANT
  1 CONCEPT @1@
    2 PART_OF_SPEECH 1
  1 LITERAL domestic dog
    2 SENSE 1
0 @3@ VARIANT
  1 CONCEPT @1@
    2 PART_OF_SPEECH 1
  1 LITERAL Canis familiaris
    2 SENSE 1
0 @4@ VARIANT
  1 CONCEPT @2@
    2 PART_OF_SPEECH 1
  1 LITERAL canine
    2 SENSE 2
  1 DEFINITION any of various fissiped mammals with nonretractile claws and typically long muzzles
0 @5@ VARIANT
  1 CONCEPT @2@
    2 PART_OF_SPEECH 1
  1 LITERAL canid
    2 SENSE 1
0 @6@ VARIANT
  1 CONCEPT @3@
    2 PART_OF_SPEECH 1
  1 LITERAL cat
    2 SENSE 1
  1 DEFINITION feline mammal usually having thick soft fur and no ability to roar: domestic cats; wildcats
0 @7@ VARIANT
  1 CONCEPT @3@
    2 PART_OF_SPEECH 1
  1 LITERAL true cat
    2 SENSE 1
0 @8@ VARIANT
  1 CONCEPT @4@
    2 PART_OF_SPEECH 1
  1 LITERAL chat
    2 SENSE 1
  1 DEFINITION an informal conversation
0 @9@ VARIANT
  1 CONCEPT @5@
    2 PART_OF_SPEECH 1
  1 LITERAL feline
    2 SENSE 1
  1 DEFINITION any of various lithe-bodied roundheaded fissiped mammals, many with retractile claws
0 @10@ VARIANT
  1 CONCEPT @5@
    2 PART_OF_SPEECH 1
  1 LITERAL felid
    2 SENSE 1
0 @11@ ILI_VARIANT
  1 TARGET_ILI @1@
  1 LITERAL dog
    2 SENSE 1
0 @12@ ILI_VARIANT
  1 TARGET_ILI @3@
  1 LITERAL cat
    2 SENSE 1
0 @13@ ILI_VARIANT
  1 TARGET_ILI @4@
  1 LITERAL chat
    2 SENSE 1
0 @21@ TOP_CONCEPT_VARIANT
  1 TARGET_TOP_CONCEPT @1@
  1 LITERAL noun
0 @22@ TOP_CONCEPT_VARIANT
  1 TARGET_TOP_CONCEPT @2@
  1 LITERAL noun.animal
0 @23@ TOP_CONCEPT_VARIANT
  1 TARGET_TOP_CONCEPT @3@
  1 LITERAL noun.communication
STORE 100 CONTAINER 202
0 @1@ CONCEPT_LINK
  1 RELATION 8
  1 SOURCE_CONCEPT @1@
  1 TARGET_CONCEPT @2@
0 @2@ CONCEPT_LINK
  1 RELATION 10
  1 SOURCE_CONCEPT @2@
  1 TARGET_CONCEPT @1@
0 @3@ CONCEPT_LINK
  1 RELATION 8
  1 SOURCE_CONCEPT @3@
  1 TARGET_CONCEPT @5@
0 @4@ CONCEPT_LINK
  1 RELATION 10
  1 SOURCE_CONCEPT @5@
  1 TARGET_CONCEPT @3@
STORE 100 CONTAINER 204
0 @1@ EQ_LINK
  1 EQ_RELATION 1
  1 CONCEPT @1@
  1 TARGET_ILI @1@
0 @2@ EQ_LINK
  1 EQ_RELATION 1
  1 CONCEPT @2@
  1 TARGET_ILI @2@
0 @3@ EQ_LINK
  1 EQ_RELATION 1
  1 CONCEPT @3@
  1 TARGET_ILI @3@
0 @4@ EQ_LINK
  1 EQ_RELATION 1
  1 CONCEPT @4@
  1 TARGET_ILI @4@
0 @5@ EQ_LINK
  1 EQ_RELATION 1
  1 CONCEPT @5@
  1 TARGET_ILI @5@
STORE 101 CONTAINER 200
0 @1@ CONCEPT
  1 TYPE 1
  1 PART_OF_SPEECH 1
0 @2@ CONCEPT
  1 TYPE 1
  1 PART_OF_SPEECH 1
0 @3@ CONCEPT
  1 TYPE 1
  1 PART_OF_SPEECH 1
0 @5@ CONCEPT
  1 TYPE 1
  1 PART_OF_SPEECH 1
STORE 101 CONTAINER 32001
0 @1@ VARIANT
  1 CONCEPT @1@
    2 PART_OF_SPEECH 1
  1 LITERAL chien
    2 SENSE 1
0 @2@ VARIANT
  1 CONCEPT @1@
    2 PART_OF_SPEECH 1
  1 LITERAL canis familiaris
    2 SENSE 1
0 @3@ VARIANT
  1 CONCEPT @2@
    2 PART_OF_SPEECH 1
  1 LITERAL canin
    2 SENSE 1
0 @4@ VARIANT
  1 CONCEPT @2@
    2 PART_OF_SPEECH 1
  1 LITERAL canine
    2 SENSE 1
0 @5@ VARIANT
  1 CONCEPT @3@
    2 PART_OF_SPEECH 1
  1 LITERAL chat
    2 SENSE 1
0 @6@ VARIANT
  1 CONCEPT @5@
    2 PART_OF_SPEECH 1
  1 LITERAL félin
    2 SENSE 1
0 @7@ VARIANT
  1 CONCEPT @5@
    2 PART_OF_SPEECH 1
  1 LITERAL félidé
    2 SENSE 1
STORE 101 CONTAINER 202
0 @1@ CONCEPT_LINK
  1 RELATION 8
  1 SOURCE_CONCEPT @1@
  1 TARGET_CONCEPT @2@
0 @2@ CONCEPT_LINK
  1 RELATION 8
  1 SOURCE_CONCEPT @3@
  1 TARGET_CONCEPT @5@
0 @3@ CONCEPT_LINK
  1 RELATION 10
  1 SOURCE_CONCEPT @5@
  1 TARGET_CONCEPT @3@
STORE 101 CONTAINER 204
0 @1@ EQ_LINK
  1 EQ_RELATION 1
  1 CONCEPT @1@
  1 TARGET_ILI @1@
0 @2@ EQ_LINK
  1 EQ_RELATION 1
  1 CONCEPT @2@
  1 TARGET_ILI @2@
0 @3@ EQ_LINK
  1 EQ_RELATION 1
  1 CONCEPT @3@
  1 TARGET_ILI @3@
0 @5@ EQ_LINK
  1 EQ_RELATION 1
  1 CONCEPT @5@
  1 TARGET_ILI @5@
)";

// A database file made with the storage engine and closed again, for the
// command to open.
std::string makeDatabase(const testfiles::ScratchDir& dir, const std::string& dump,
                         const std::string& name = "polylex.db") {
  const std::string path = dir.file(name);
  testdb::makeDatabase(path, dump, layout::polylexDictionary());
  return path;
}

class SmallDatabase : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new testfiles::ScratchDir;
    path_ = makeDatabase(*dir_, kDump);
  }
  static void TearDownTestSuite() {
    delete dir_;
    dir_ = nullptr;
  }
  // corvid --db <the database> args...
  static Outcome run(std::vector<std::string> args) {
    args.insert(args.begin(), {"--db", path_});
    return corvid(args);
  }
  static Json json(std::vector<std::string> args) {
    args.push_back("--json");
    return document(run(args));
  }
  static void expectFailure(const std::vector<std::string>& args, const std::string& message) {
    const Outcome r = run(args);
    EXPECT_EQ(r.status, 1) << args[0];
    EXPECT_EQ(r.out, "") << args[0];
    EXPECT_EQ(lineCount(r.err), 1) << r.err;
    EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
  }

  static testfiles::ScratchDir* dir_;
  static std::string path_;
};

testfiles::ScratchDir* SmallDatabase::dir_ = nullptr;
std::string SmallDatabase::path_;

TEST_F(SmallDatabase, LanguagesWithTheirNamesAndCounts) {
  const Json doc = json({"langs"});
  ASSERT_EQ(doc["languages"].items.size(), 2u);
  struct Case {
    const char* code;
    int store;
    const char* name;
    const char* english;
    int meanings, variants;  // index and top-concept variants are not the language's
  } const cases[] = {{"en", 100, "English", "English", 5, 10},
                     {"fr", 101,
                      "fran\xC3\xA7"
                      "ais",
                      "French", 4, 7}};
  for (size_t i = 0; i < 2; ++i) {
    const Json& l = doc["languages"][i];
    EXPECT_EQ(l["code"].text, cases[i].code);
    EXPECT_EQ(l["store"].number, cases[i].store);
    EXPECT_EQ(l["name"].text, cases[i].name);
    EXPECT_EQ(l["english_name"].text, cases[i].english);
    EXPECT_EQ(l["meanings"].number, cases[i].meanings);
    EXPECT_EQ(l["variants"].number, cases[i].variants);
  }
  const Outcome text = run({"langs"});
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(lineCount(text.out), 2);
  EXPECT_NE(text.out.find("fr    101        4 meanings        7 variants  fran\xC3\xA7"
                          "ais (French)\n"),
            std::string::npos)
      << text.out;
}

TEST_F(SmallDatabase, LookupFindsEveryMeaningInEveryLanguageOrInThoseNamed) {
  const Json dog = json({"lookup", "dog"});
  EXPECT_EQ(dog["word"].text, "dog");
  ASSERT_EQ(dog["languages"].items.size(), 2u);
  EXPECT_TRUE(dog["languages"][1]["meanings"].items.empty()) << "no French dog";
  const Json& m = dog["languages"][0]["meanings"][0];
  EXPECT_EQ(m["record"].number, 1);
  EXPECT_EQ(m["pos"].text, "n");
  EXPECT_EQ(m["offset"].number, 2084071);
  EXPECT_EQ(literals(m), (std::vector<std::string>{"dog", "domestic dog", "Canis familiaris"}));
  EXPECT_EQ(m["variants"][0]["sense"].number, 1);
  // Quotes survive the trip into the document.
  EXPECT_EQ(m["definition"].text.substr(m["definition"].text.size() - 28),
            "; \"the dog barked all night\"");

  // "chat": a conversation in English, a cat in French.
  const Json chat = json({"lookup", "chat"});
  EXPECT_EQ(chat["languages"][0]["meanings"][0]["offset"].number, 7134850);
  EXPECT_EQ(chat["languages"][1]["meanings"][0]["offset"].number, 2121620);
  const Json french = json({"lookup", "chat", "--lang", "fr"});
  ASSERT_EQ(french["languages"].items.size(), 1u);
  EXPECT_EQ(french["languages"][0]["code"].text, "fr");
  EXPECT_EQ(french["languages"][0]["meanings"][0]["definition"].kind, Json::kNull);

  const Outcome text = run({"lookup", "chat"});
  EXPECT_EQ(text.out,
            "en\n"
            "  @4@ n  07134850  chat 1\n"
            "      an informal conversation\n"
            "fr\n"
            "  @3@ n  02121620  chat 1\n");
  EXPECT_EQ(run({"lookup", "unicorn"}).out, "no meaning of \"unicorn\"\n");

  // What the user typed comes back escaped.
  const std::string odd = "tab\there \"quoted\" back\\slash \xC3\xA9t\xC3\xA9";
  EXPECT_EQ(json({"lookup", odd})["word"].text, odd);
}

TEST_F(SmallDatabase, TranslationGoesThroughTheIndex) {
  const Json dog = json({"translate", "dog", "--from", "en", "--to", "fr"});
  ASSERT_EQ(dog["meanings"].items.size(), 1u);
  ASSERT_EQ(dog["meanings"][0]["translations"].items.size(), 1u);
  EXPECT_EQ(dog["meanings"][0]["translations"][0]["code"].text, "fr");
  EXPECT_EQ(texts(dog["meanings"][0]["translations"][0]["words"]),
            (std::vector<std::string>{"chien", "canis familiaris"}));

  // Without --to: every other language; a meaning French lacks has no words.
  const Json chat = json({"translate", "chat", "--from", "en"});
  ASSERT_EQ(chat["meanings"][0]["translations"].items.size(), 1u);
  EXPECT_TRUE(chat["meanings"][0]["translations"][0]["words"].items.empty());

  const Outcome text = run({"translate", "chat", "--from", "fr", "--to", "en"});
  EXPECT_EQ(text.out,
            "@3@ n  02121620  chat 1\n"
            "    en  cat, true cat\n");
}

TEST_F(SmallDatabase, RelatedMeaningsRelationByRelation) {
  const Json dog = json({"related", "dog", "--lang", "en"});
  const Json& relations = dog["meanings"][0]["relations"];
  ASSERT_EQ(relations.items.size(), 1u);
  EXPECT_EQ(relations[0]["name"].text, "hyperonym");
  EXPECT_EQ(relations[0]["id"].number, 8);
  EXPECT_EQ(relations[0]["meanings"][0]["variants"][0]["literal"].text, "canine");
  EXPECT_EQ(relations[0]["meanings"][0]["offset"].number, 2083346);

  const Outcome felin = run({"related", "félin", "--lang", "fr"});
  EXPECT_EQ(felin.out,
            "@5@ n  02120997  f\xC3\xA9lin 1, f\xC3\xA9lid\xC3\xA9 1\n"
            "    hyponym\n"
            "      @3@ n  02121620  chat 1\n");
  const Json none = json({"related", "félin", "--lang", "fr", "--relation", "hyperonym"});
  EXPECT_TRUE(none["meanings"][0]["relations"].items.empty());
}

TEST_F(SmallDatabase, ExportWritesEachMeaningWithEitherWriter) {
  const Outcome composed = run({"export", "dog", "--lang", "en"});
  EXPECT_EQ(composed.out.rfind("0 @1@ WORD_MEANING\n  1 PART_OF_SPEECH \"n\"\n  1 VARIANTS\n", 0),
            0u)
      << composed.out;
  EXPECT_EQ(composed.out.find('\r'), std::string::npos);
  EXPECT_NE(composed.out.find("2 RELATION \"has_hyperonym\""), std::string::npos);
  EXPECT_NE(composed.out.find("4 WORDNET_OFFSET 2084071"), std::string::npos) << composed.out;

  const Outcome records = run({"export", "--concept", "3", "--lang", "fr", "--record-driven"});
  EXPECT_EQ(records.out.rfind("0 @3@ WORD_MEANING\n  1 PART_OF_SPEECH \"n\"\n", 0), 0u);
  EXPECT_NE(records.out.find("2 LITERAL \"chat\""), std::string::npos) << records.out;
  EXPECT_NE(records.out.find("2 RELATION \"hyperonym\""), std::string::npos) << records.out;

  // The document keeps the writer's own line ends.
  const Json doc = json({"export", "chat", "--lang", "en"});
  EXPECT_EQ(doc["meanings"][0]["record"].number, 4);
  EXPECT_EQ(doc["meanings"][0]["text"].text.rfind("0 @4@ WORD_MEANING\r\n", 0), 0u);
}

TEST_F(SmallDatabase, DictionaryWalksRangesPatternsAndLimits) {
  auto words = [](std::vector<std::string> args) {
    args.insert(args.begin(), {"dict", "--lang", "fr"});
    return texts(json(args)["words"]);
  };
  using Words = std::vector<std::string>;
  EXPECT_EQ(words({}), (Words{"canin", "canine", "canis familiaris", "chat", "chien",
                              "f\xC3\xA9lid\xC3\xA9", "f\xC3\xA9lin"}));
  EXPECT_EQ(words({"--from", "cat", "--to", "chien"}), (Words{"chat"}));
  EXPECT_EQ(words({"--pattern", "can*"}), (Words{"canin", "canine", "canis familiaris"}));
  EXPECT_EQ(words({"--pattern", "CH*"}), Words{});
  EXPECT_EQ(words({"--pattern", "CH*", "--ignore-case"}), (Words{"chat", "chien"}));
  EXPECT_EQ(words({"--limit", "2"}), (Words{"canin", "canine"}));
  EXPECT_EQ(run({"dict", "--lang", "en", "--pattern", "ca*"}).out, "canid\ncanine\ncat\n");
}

TEST_F(SmallDatabase, DumpShowsStoredRecordsByNumberOrCriteria) {
  const Outcome one = run({"dump", "--store", "101", "--container", "32001", "--record", "6"});
  EXPECT_EQ(one.out,
            "0 @6@ VARIANT\n"
            "  1 CONCEPT @5@\n"
            "    2 PART_OF_SPEECH 1\n"
            "  1 LITERAL f\xC3\xA9lin\n"
            "    2 SENSE 1\n");
  const Json chats =
      json({"dump", "--store", "100", "--container", "32001", "--criteria", "LITERAL == chat"});
  ASSERT_EQ(chats["records"].items.size(), 2u) << "the variant and the index variant";
  EXPECT_EQ(chats["records"][0]["record"].number, 8);
  EXPECT_EQ(chats["records"][1]["record"].number, 13);
  EXPECT_EQ(json({"dump", "--store", "100", "--container", "200", "--criteria", "TYPE == 1",
                  "--limit", "3"})["records"]
                .items.size(),
            3u);
}

TEST_F(SmallDatabase, RelationsAndTheTopOntology) {
  const Json relations = json({"relations"});
  ASSERT_EQ(relations["relations"].items.size(), 3u);
  std::map<int, std::string> names;
  for (const Json& r : relations["relations"].items)
    names[static_cast<int>(r["id"].number)] = r["name"].text;
  EXPECT_EQ(names, (std::map<int, std::string>{{1, "antonym"}, {8, "hyperonym"}, {10, "hyponym"}}));

  // Named in the site's language unless another is asked for.
  EXPECT_EQ(run({"ontology"}).out,
            "@1@ noun -- the synsets of the noun lexicographer files\n"
            "  @2@ noun.animal -- nouns denoting animals\n"
            "  @3@ noun.communication -- nouns denoting communicative processes and contents\n");
  const Json french = json({"ontology", "--lang", "fr"});
  ASSERT_EQ(french["concepts"].items.size(), 1u);
  EXPECT_TRUE(french["concepts"][0]["names"].items.empty());
  ASSERT_EQ(french["concepts"][0]["subs"].items.size(), 2u);
  EXPECT_EQ(french["concepts"][0]["subs"][1]["id"].number, 3);
  EXPECT_EQ(french["concepts"][0]["subs"][1]["gloss"].text,
            "nouns denoting communicative processes and contents");
}

TEST_F(SmallDatabase, WhatIsUnknownIsNamedOnOneLine) {
  expectFailure({"lookup", "dog", "--lang", "de"}, "unknown language de");
  expectFailure({"translate", "dog", "--from", "en", "--to", "xx"}, "unknown language xx");
  expectFailure({"ontology", "--lang", "es"}, "unknown language es");
  expectFailure({"related", "dog", "--lang", "en", "--relation", "cousin"},
                "unknown relation cousin");
  expectFailure({"export", "--concept", "4", "--lang", "fr"}, "no meaning 4 in fr");
  expectFailure({"dump", "--store", "100", "--container", "32001", "--record", "99"},
                "no record 99 in store 100, container 32001");
  for (const char* criteria : {"LITERAL ==", "== chat", "LITERAL == chat AND"})
    expectFailure({"dump", "--store", "100", "--container", "32001", "--criteria", criteria},
                  "malformed criteria");
}

// ------------------------------------------- usage and databases ----

TEST(CorvidUsage, WrongUsageGivesTheUsageLineAndStatusTwo) {
  const Outcome bare = corvid({});
  EXPECT_EQ(bare.status, 2);
  EXPECT_EQ(bare.err.rfind("usage: corvid", 0), 0u);
  EXPECT_EQ(corvid({"frobnicate"}).status, 2);
  EXPECT_EQ(corvid({"--db"}).status, 2);

  struct Case {
    std::vector<std::string> args;
    const char* usage;
  } const cases[] = {
      {{"lookup"}, "lookup WORD"},
      {{"lookup", "a", "b"}, "lookup WORD"},
      {{"lookup", "dog", "--lang"}, "lookup WORD"},
      {{"lookup", "dog", "--colour"}, "lookup WORD"},
      {{"translate", "dog", "--to", "fr"}, "translate WORD --from"},
      {{"related", "dog"}, "related WORD --lang"},
      {{"export", "dog", "--concept", "1", "--lang", "en"}, "export (WORD | --concept N)"},
      {{"export", "--concept", "one", "--lang", "en"}, "export (WORD | --concept N)"},
      {{"dict", "--lang", "en", "--from", "a", "--pattern", "b*"}, "dict --lang CODE"},
      {{"dict", "--lang", "en", "--limit", "-1"}, "dict --lang CODE"},
      {{"dump", "--store", "1", "--container", "2"}, "dump --store N"},
      {{"dump", "--store", "1", "--container", "70000", "--record", "1"}, "dump --store N"},
      {{"dump", "--store", "1", "--container", "2", "--record", "1", "--criteria", "x"},
       "dump --store N"},
      {{"langs", "extra"}, "langs"},
      {{"relations", "--lang", "en"}, "relations"},
      {{"info", "--db"}, "info"},
      {{"build"}, "build OUT.db"},
  };
  for (const Case& c : cases) {
    const Outcome r = corvid(c.args);
    SCOPED_TRACE(c.args[0] + " " + r.err);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err.rfind(std::string("usage: corvid ") + c.usage, 0), 0u);
    EXPECT_EQ(lineCount(r.err), 1);
  }

  for (const char* command : {"build", "info", "langs", "lookup", "translate", "related", "export",
                              "dict", "dump", "relations", "ontology"}) {
    const Outcome help = corvid({command, "--help"});
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_EQ(help.out.rfind(std::string("usage: corvid ") + command, 0), 0u) << help.out;
    EXPECT_GT(lineCount(help.out), 2) << command;
  }
  EXPECT_EQ(corvid({"--db", "any.db", "--version"}).out.rfind("corvid ", 0), 0u);
  const Outcome help = corvid({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("corvid ontology"), std::string::npos);
  EXPECT_NE(help.out.find("CORVID_DB"), std::string::npos);
}

TEST(CorvidDatabase, FoundByOptionEnvironmentOrWorkingFolder) {
  testfiles::ScratchDir dir;
  const std::string path = makeDatabase(dir, kDump);
  const std::string elsewhere = dir.file("elsewhere");
  ASSERT_EQ(std::system(("mkdir " + elsewhere).c_str()), 0);

  // ./polylex.db, then CORVID_DB over it, then --db over both, before or
  // after the command.
  EXPECT_EQ(corvid({"relations"}, "", dir.path()).status, 0);
  EXPECT_EQ(corvid({"relations"}, path, elsewhere).status, 0);
  const Outcome missing = corvid({"relations"}, "", elsewhere);
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "corvid: no database at polylex.db (give one with --db or CORVID_DB)\n");
  EXPECT_EQ(corvid({"relations"}, dir.file("none.db"), dir.path()).status, 1);
  EXPECT_EQ(corvid({"--db", path, "relations"}, dir.file("none.db")).status, 0);
  EXPECT_EQ(corvid({"relations", "--db", path}, dir.file("none.db")).status, 0);
  EXPECT_EQ(corvid({"info", "--db", path}).status, 0);
  EXPECT_EQ(document(corvid({"info", "--json"}, path))["stores"][0]["store"].number, 0);

  // A database of an older layout, and a file that is no database.
  std::string old = kDump;
  old.replace(old.find("PART_OF_SPEECH 1.3"), 18, "PART_OF_SPEECH 1.2");
  const std::string older = makeDatabase(dir, old, "older.db");
  const std::string text = dir.file("text.db");
  testfiles::writeFile(text, std::string(8192, 'x'));
  struct Case {
    std::string db;
    std::string message;
  } const cases[] = {
      {older, older + ": not a database of a layout this version reads"},
      {text, text + ": cannot open: FLAIM: "},
      {dir.file("none.db"), "no database at " + dir.file("none.db")},
  };
  for (const Case& c : cases)
    for (const char* command : {"langs", "lookup", "ontology"}) {
      std::vector<std::string> args{"--db", c.db, command};
      if (std::string(command) == "lookup") args.push_back("dog");
      const Outcome r = corvid(args);
      EXPECT_EQ(r.status, 1) << command << " " << c.db;
      EXPECT_EQ(r.out, "");
      EXPECT_EQ(r.err.rfind("corvid: " + c.message, 0), 0u) << r.err;
      EXPECT_EQ(lineCount(r.err), 1) << r.err;
    }
}

// ------------------------------------------- the English database ----

TEST(CorvidEnglish, DogAndItsHyperonymsInWordNet) {
  const std::string path = testdb::englishDatabase();
  if (path.empty()) GTEST_SKIP() << "no English database: WordNet 3.0 files missing";
  const Json dog = document(corvid({"--db", path, "lookup", "dog", "--json"}));
  ASSERT_EQ(dog["languages"].items.size(), 1u);
  const Json& meanings = dog["languages"][0]["meanings"];
  EXPECT_EQ(meanings.items.size(), 8u) << "seven nouns and a verb";
  int found = 0;
  for (const Json& m : meanings.items) {
    if (m["offset"].number != 2084071) continue;
    ++found;
    EXPECT_EQ(literals(m), (std::vector<std::string>{"dog", "domestic dog", "Canis familiaris"}));
    EXPECT_EQ(m["definition"].text.rfind("a member of the genus Canis", 0), 0u);
  }
  EXPECT_EQ(found, 1);

  const Outcome up = corvid(
      {"--db", path, "related", "Canis familiaris", "--lang", "en", "--relation", "hyperonym"});
  EXPECT_EQ(up.status, 0) << up.err;
  EXPECT_NE(up.out.find("02083346  canine 2, canid 1\n"), std::string::npos) << up.out;
  EXPECT_NE(up.out.find("01317541  domestic animal 1, domesticated animal 1\n"), std::string::npos);

  const Json langs = document(corvid({"--db", path, "langs", "--json"}));
  EXPECT_EQ(langs["languages"][0]["meanings"].number, 117659) << "WordNet 3.0's synsets";
}

}  // namespace
