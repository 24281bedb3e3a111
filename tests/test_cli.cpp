// The corvid command run as people run it: its output, its JSON documents,
// its exit statuses and error lines, on a small English and French database
// made from a record dump (real WordNet 3.0 synsets and their OMW French
// lemmas).
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "engine/Layout.h"
#include "support/LoadedDatabase.h"
#include "support/Slices.h"
#include "support/SmallDatabases.h"
#include "support/TestFiles.h"

namespace {

using testdb::CommandRun;
using testdb::corvid;

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

// Well-formed UTF-8: each character in its shortest form, no surrogates,
// nothing past U+10FFFF.
bool validUtf8(const std::string& s) {
  static const uint32_t kShortest[] = {0, 0, 0x80, 0x800, 0x10000};
  for (size_t i = 0; i < s.size();) {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    const size_t n = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
    if (n == 0 || i + n > s.size()) return false;
    uint32_t code = n == 1 ? c : c & (0x7Fu >> n);
    for (size_t k = 1; k < n; ++k) {
      const unsigned char next = static_cast<unsigned char>(s[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      code = code << 6 | (next & 0x3Fu);
    }
    if (code < kShortest[n] || (code >= 0xD800 && code < 0xE000) || code > 0x10FFFF) return false;
    i += n;
  }
  return true;
}

// Escapes name no surrogates, so a unit takes at most three bytes.
void appendUtf8(std::string* out, uint32_t c) {
  if (c < 0x80) return out->push_back(static_cast<char>(c));
  const int extra = c < 0x800 ? 1 : 2;
  out->push_back(static_cast<char>((c < 0x800 ? 0xC0 : 0xE0) | (c >> (6 * extra))));
  for (int k = extra - 1; k >= 0; --k)
    out->push_back(static_cast<char>(0x80 | ((c >> (6 * k)) & 0x3F)));
}

// Strict RFC 8259: one value, nothing but white space around it, raw
// control characters refused in strings, and every byte valid UTF-8.
class JsonParser {
 public:
  explicit JsonParser(const std::string& text) : s_(text) {}
  bool parse(Json* out) {
    if (!validUtf8(s_)) return fail("not UTF-8");
    return value(out) && (space(), at_ == s_.size() || fail("text after the document"));
  }
  const std::string& error() const { return error_; }

 private:
  bool fail(const std::string& why) {
    if (error_.empty()) error_ = why + " at byte " + std::to_string(at_);
    return false;
  }
  void space() {
    while (at_ < s_.size() && std::strchr(" \t\r\n", s_[at_])) ++at_;
  }
  bool take(char c) { return space(), at_ < s_.size() && s_[at_] == c ? (++at_, true) : false; }
  bool value(Json* out) {
    space();
    if (at_ >= s_.size()) return fail("end of text");
    for (const auto& [word, kind] : {std::pair{"true", Json::kBool}, {"false", Json::kBool},
                                     {"null", Json::kNull}})
      if (s_[at_] == word[0]) {
        out->kind = kind;
        return s_.compare(at_, std::strlen(word), word) == 0 ? (at_ += std::strlen(word), true)
                                                             : fail("bad literal");
      }
    if (take('"')) return out->kind = Json::kString, string(&out->text);
    if (take('[')) return out->kind = Json::kArray, list(']', [&] {
                            out->items.emplace_back();
                            return value(&out->items.back());
                          });
    if (take('{')) return out->kind = Json::kObject, list('}', [&] {
                            out->members.emplace_back();
                            return (take('"') || fail("expected a member name")) &&
                                   string(&out->members.back().first) &&
                                   (take(':') || fail("expected :")) &&
                                   value(&out->members.back().second);
                          });
    return number(out);
  }
  template <class Item>
  bool list(char close, Item item) {
    if (take(close)) return true;
    do
      if (!item()) return false;
    while (take(','));
    return take(close) || fail("expected , or the list's end");
  }
  bool number(Json* out) {
    const size_t start = at_;
    if (s_[at_] == '-') ++at_;
    if (at_ >= s_.size() || !std::isdigit(static_cast<unsigned char>(s_[at_])))
      return fail("bad value");
    if (s_[at_] == '0' && at_ + 1 < s_.size() &&
        std::isdigit(static_cast<unsigned char>(s_[at_ + 1])))
      return fail("leading zero");
    while (at_ < s_.size() && std::strchr("0123456789.eE+-", s_[at_])) ++at_;
    out->kind = Json::kNumber;
    const std::string digits = s_.substr(start, at_ - start);
    char* end = nullptr;
    out->number = std::strtod(digits.c_str(), &end);
    return *end == '\0' || fail("bad number");
  }
  bool hex4(uint32_t* unit) {
    if (at_ + 4 > s_.size()) return fail("short escape");
    const std::string digits = s_.substr(at_, 4);
    char* end = nullptr;
    *unit = static_cast<uint32_t>(std::strtoul(digits.c_str(), &end, 16));
    at_ += 4;
    return (*end == '\0' && std::isxdigit(static_cast<unsigned char>(digits[0]))) ||
           fail("bad escape");
  }
  bool escape(std::string* out) {
    const char e = s_[at_++];
    if (const char* p = std::strchr("\"\\/bfnrt", e); p && e) {
      out->push_back("\"\\/\b\f\n\r\t"[p - "\"\\/bfnrt"]);
      return true;
    }
    // The writer escapes control characters only: a surrogate is refused.
    uint32_t unit = 0;
    if (e != 'u' || !hex4(&unit) || (unit >= 0xD800 && unit < 0xE000)) return fail("bad escape");
    appendUtf8(out, unit);
    return true;
  }
  bool string(std::string* out) {
    while (at_ < s_.size()) {
      const unsigned char c = static_cast<unsigned char>(s_[at_++]);
      if (c == '"') return true;
      if (c < 0x20) return fail("raw control character");
      if (c != '\\')
        out->push_back(static_cast<char>(c));
      else if (at_ >= s_.size() || !escape(out))
        return fail("bad escape");
    }
    return fail("unterminated string");
  }

  const std::string& s_;
  size_t at_ = 0;
  std::string error_;
};

TEST(JsonChecker, RefusesWhatIsNotOneJsonDocument) {
  for (const char* bad : {"", "{", "[1,]", "{\"a\" 1}", "\"a\nb\"", "\"\\x\"", "01", "{} {}",
                          "\"\xC3\"", "\"\xC0\xAF\"", "\"\xED\xA0\x80\"", "\"\xF4\x90\x80\x80\"",
                          "\"\\ud800\"", "nul", "[1 2]", "{\"a\":1,}"}) {
    Json doc;
    EXPECT_FALSE(JsonParser(bad).parse(&doc)) << bad;
  }
  Json doc;
  ASSERT_TRUE(
      JsonParser("{\"a\":[1,-2.5,true,null,\"\\u00e9\\u0009\\\"\"], \"b\" : {}}").parse(&doc));
  EXPECT_EQ(doc["a"][4].text, "\xC3\xA9\t\"");
  EXPECT_EQ(doc["a"][1].number, -2.5);
  EXPECT_EQ(doc["b"].kind, Json::kObject);
}

// The document a run printed; a failure when it is not one.
Json document(const CommandRun& run) {
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

const char* const kDogGloss =
    "a member of the genus Canis (probably descended from the common wolf) that has been "
    "domesticated by man since prehistoric times; occurs in many breeds";

// Five synsets of WordNet 3.0 in English and four of them in French, as the
// builder lays them out: meanings, variants with the definitions of the
// glosses, index variants, hyperonym and hyponym links, equivalence links,
// and two lexicographer files of the top ontology named in English.
std::string smallDump(const std::string& version = "1.3") {
  using namespace dumptext;
  struct Synset {
    uint32_t offset;
    std::string gloss;
    std::vector<std::pair<const char*, int>> words;
  } const synsets[] = {
      {2084071, kDogGloss, {{"dog", 1}, {"domestic dog", 1}, {"Canis familiaris", 1}}},
      {2083346,
       "any of various fissiped mammals with nonretractile claws and typically long muzzles",
       {{"canine", 2}, {"canid", 1}}},
      {2121620,
       "feline mammal usually having thick soft fur and no ability to roar: "
       "domestic cats; wildcats",
       {{"cat", 1}, {"true cat", 1}}},
      {7134850, "an informal conversation", {{"chat", 1}}},
      {2120997,
       "any of various lithe-bodied roundheaded fissiped mammals, many with retractile claws",
       {{"feline", 1}, {"felid", 1}}}};
  std::string d = fixedRecords(version) + languages() + systemTables() + group(98, 32001);
  std::string meanings, variants;
  uint32_t id = 1, variantId = 1;
  for (const Synset& s : synsets) {
    d += "0 @" + std::to_string(id) + "@ ILI_RECORD\n  1 PART_OF_SPEECH 1\n  1 WORDNET_OFFSET " +
         std::to_string(s.offset) + "\n  1 GLOSS " + s.gloss + "\n";
    meanings += meaning(id, 1);
    for (const auto& [literal, sense] : s.words)
      variants += variant(variantId++, id, literal, sense,
                          literal != s.words[0].first ? ""
                          : id == 1 ? s.gloss + "; \"the dog barked all night\"\""
                                    : s.gloss);
    ++id;
  }
  d += group(98, 310) + R"(0 @1@ TOP_CONCEPT
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
)";
  d += group(100, 200) + meanings + group(100, 32001) + variants;
  for (const auto& [at, ili, literal] : {std::tuple{11, 1, "dog"}, {12, 3, "cat"}, {13, 4, "chat"}})
    d += "0 @" + std::to_string(at) + "@ ILI_VARIANT\n  1 TARGET_ILI @" + std::to_string(ili) +
         "@\n  1 LITERAL " + literal + "\n    2 SENSE 1\n";
  for (const auto& [at, top, literal] :
       {std::tuple{21, 1, "noun"}, {22, 2, "noun.animal"}, {23, 3, "noun.communication"}})
    d += "0 @" + std::to_string(at) + "@ TOP_CONCEPT_VARIANT\n  1 TARGET_TOP_CONCEPT @" +
         std::to_string(top) + "@\n  1 LITERAL " + literal + "\n";
  d += group(100, 202) + conceptLink(1, 8, 1, 2) + conceptLink(2, 10, 2, 1) +
       conceptLink(3, 8, 3, 5) + conceptLink(4, 10, 5, 3) + group(100, 204);
  for (uint32_t m = 1; m <= 5; ++m) d += eqLink(m, 1, m, m);

  // French has no word for the conversation.
  d += group(101, 200);
  for (uint32_t m : {1, 2, 3, 5}) d += meaning(m, 1);
  d += group(101, 32001);
  variantId = 1;
  for (const auto& [meaning, literal] :
       {std::pair{1, "chien"}, {1, "canis familiaris"}, {2, "canin"}, {2, "canine"}, {3, "chat"},
        {5, "f\xC3\xA9lin"}, {5, "f\xC3\xA9lid\xC3\xA9"}})
    d += variant(variantId++, meaning, literal, 1);
  d += group(101, 202) + conceptLink(1, 8, 1, 2) + conceptLink(2, 8, 3, 5) +
       conceptLink(3, 10, 5, 3) + group(101, 204);
  for (uint32_t m : {1, 2, 3, 5}) d += eqLink(m, 1, m, m);
  return d;
}

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
    path_ = makeDatabase(*dir_, smallDump());
  }
  static void TearDownTestSuite() {
    delete dir_;
    dir_ = nullptr;
  }
  // corvid --db <the database> args...
  static CommandRun run(std::vector<std::string> args) {
    args.insert(args.begin(), {"--db", path_});
    return corvid(args);
  }
  static Json json(std::vector<std::string> args) {
    args.push_back("--json");
    return document(run(args));
  }

  static testfiles::ScratchDir* dir_;
  static std::string path_;
};

testfiles::ScratchDir* SmallDatabase::dir_ = nullptr;
std::string SmallDatabase::path_;

// Every command's text, and every error a command names on one line with
// status 1 and nothing on standard output.
TEST_F(SmallDatabase, TextOutputAndErrorLines) {
  struct Row {
    std::vector<std::string> args;
    int status;
    std::string expected;  // status 0: the whole output; 1: part of the error line
  } const rows[] = {
      {{"lookup", "chat"},
       0,
       "en\n  @4@ n  07134850  chat 1\n      an informal conversation\n"
       "fr\n  @3@ n  02121620  chat 1\n"},
      {{"lookup", "unicorn"}, 0, "no meaning of \"unicorn\"\n"},
      // A word form is found whatever its case.
      {{"lookup", "CHAT", "--lang", "fr"}, 0, "fr\n  @3@ n  02121620  chat 1\n"},
      {{"translate", "chat", "--from", "fr", "--to", "en"},
       0,
       "@3@ n  02121620  chat 1\n    en  cat, true cat\n"},
      {{"related", "f\xC3\xA9lin", "--lang", "fr"},
       0,
       "@5@ n  02120997  f\xC3\xA9lin 1, f\xC3\xA9lid\xC3\xA9 1\n    hyponym\n"
       "      @3@ n  02121620  chat 1\n"},
      {{"dict", "--lang", "en", "--pattern", "ca*"}, 0, "canid\ncanine\ncat\n"},
      {{"dump", "--store", "101", "--container", "32001", "--record", "6"},
       0,
       "0 @6@ VARIANT\n  1 CONCEPT @5@\n    2 PART_OF_SPEECH 1\n  1 LITERAL f\xC3\xA9lin\n"
       "    2 SENSE 1\n"},
      // Named in the site's language unless another is asked for.
      {{"ontology"},
       0,
       "@1@ noun -- the synsets of the noun lexicographer files\n"
       "  @2@ noun.animal -- nouns denoting animals\n"
       "  @3@ noun.communication -- nouns denoting communicative processes and contents\n"},
      {{"lookup", "dog", "--lang", "de"}, 1, "unknown language de"},
      {{"translate", "dog", "--from", "en", "--to", "xx"}, 1, "unknown language xx"},
      {{"ontology", "--lang", "es"}, 1, "unknown language es"},
      {{"related", "dog", "--lang", "en", "--relation", "cousin"}, 1, "unknown relation cousin"},
      {{"export", "--concept", "4", "--lang", "fr"}, 1, "no meaning 4 in fr"},
      {{"dump", "--store", "100", "--container", "32001", "--record", "99"},
       1,
       "no record 99 in store 100, container 32001"},
      {{"dump", "--store", "100", "--container", "32001", "--criteria", "LITERAL =="},
       1,
       "malformed criteria"},
      {{"dump", "--store", "100", "--container", "32001", "--criteria", "== chat"},
       1,
       "malformed criteria"},
      {{"dump", "--store", "100", "--container", "32001", "--criteria", "LITERAL == chat AND"},
       1,
       "malformed criteria"},
      // The criteria language stops at a bracket, an empty quoted string or an
      // escape that yields nothing, and would pass over the rest.
      {{"dump", "--store", "100", "--container", "32001", "--criteria", "(LITERAL == chat)"},
       1,
       "end at byte 1, before \"(LITERAL == chat)\""},
      {{"dump", "--store", "100", "--container", "32001", "--criteria",
        "LITERAL == '' OR LITERAL == chat"},
       1,
       "end at byte 12, before \"'' OR LITERAL == chat\""},
      {{"dump", "--store", "100", "--container", "32001", "--criteria",
        "LITERAL == \\x41 OR LITERAL == chat"},
       1,
       "end at byte 12, before \"\\x41 OR LITERAL == chat\""},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.args[0] + " " + r.args.back());
    const CommandRun c = run(r.args);
    EXPECT_EQ(c.status, r.status) << c.err;
    if (r.status == 0) {
      EXPECT_EQ(c.out, r.expected);
      EXPECT_EQ(c.err, "");
    } else {
      EXPECT_EQ(c.out, "");
      EXPECT_EQ(c.err.rfind("corvid: ", 0), 0u) << c.err;
      EXPECT_NE(c.err.find(r.expected), std::string::npos) << c.err;
      EXPECT_EQ(lineCount(c.err), 1) << c.err;
    }
  }
}

TEST_F(SmallDatabase, LanguagesWithTheirNamesAndCounts) {
  const Json doc = json({"langs"});
  ASSERT_EQ(doc["languages"].items.size(), 2u);
  const Json& fr = doc["languages"][1];
  EXPECT_EQ(fr["code"].text, "fr");
  EXPECT_EQ(fr["store"].number, 101);
  EXPECT_EQ(fr["name"].text, "fran\xC3\xA7" "ais");
  EXPECT_EQ(fr["english_name"].text, "French");
  EXPECT_EQ(fr["meanings"].number, 4);
  // Index and top-concept variants are not the language's.
  EXPECT_EQ(doc["languages"][0]["variants"].number, 10);
  const CommandRun text = run({"langs"});
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

  const Json french = json({"lookup", "chat", "--lang", "fr"});
  ASSERT_EQ(french["languages"].items.size(), 1u);
  EXPECT_EQ(french["languages"][0]["code"].text, "fr");
  EXPECT_EQ(french["languages"][0]["meanings"][0]["definition"].kind, Json::kNull);

  // What the user typed comes back escaped.
  const std::string odd = "tab\there \"quoted\" back\\slash \xC3\xA9t\xC3\xA9";
  EXPECT_EQ(json({"lookup", odd})["word"].text, odd);
}

// What is not UTF-8 comes back as U+FFFD, one for each ill-formed start,
// and the document stays UTF-8; well-formed characters pass unchanged.
TEST_F(SmallDatabase, WordsThatAreNotUtf8ComeBackReplaced) {
  const std::string r = "\xEF\xBF\xBD";
  const struct {
    std::string word, echoed;
  } words[] = {
      {"\xFF", r},
      {"chat\xC3", "chat" + r},                   // cut short at the end
      {"\xE2\x82" "a\xE2\x82\xAC", r + "a\xE2\x82\xAC"},  // cut short before a character
      {"\xC0\xAF", r + r},                        // an overlong slash
      {"\xED\xA0\x80", r + r + r},                // a surrogate
      {"\xF4\x90\x80\x80", r + r + r + r},        // past U+10FFFF
      {"\x80\xBF", r + r},                        // continuations alone
      {"\xF0\x9F\x90\x95 \xC3\xA9", "\xF0\x9F\x90\x95 \xC3\xA9"},
  };
  for (const auto& w : words)
    for (std::vector<std::string> args : {std::vector<std::string>{"lookup", w.word},
                                          {"translate", w.word, "--from", "en"},
                                          {"related", w.word, "--lang", "fr"}}) {
      SCOPED_TRACE(args[0] + " " + w.echoed);
      EXPECT_EQ(json(args)["word"].text, w.echoed);
    }
}

TEST_F(SmallDatabase, TranslationAndRelatedMeanings) {
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

  const Json related = json({"related", "dog", "--lang", "en"});
  const Json& relations = related["meanings"][0]["relations"];
  ASSERT_EQ(relations.items.size(), 1u);
  EXPECT_EQ(relations[0]["name"].text, "hyperonym");
  EXPECT_EQ(relations[0]["id"].number, 8);
  EXPECT_EQ(relations[0]["meanings"][0]["offset"].number, 2083346);
}

TEST_F(SmallDatabase, ExportWritesEachMeaningWithEitherWriter) {
  const CommandRun composed = run({"export", "dog", "--lang", "en"});
  EXPECT_EQ(composed.out.rfind("0 @1@ WORD_MEANING\n  1 PART_OF_SPEECH \"n\"\n  1 VARIANTS\n", 0),
            0u)
      << composed.out;
  EXPECT_EQ(composed.out.find('\r'), std::string::npos);
  EXPECT_NE(composed.out.find("2 RELATION \"has_hyperonym\""), std::string::npos);
  EXPECT_NE(composed.out.find("4 WORDNET_OFFSET 2084071"), std::string::npos) << composed.out;

  const CommandRun records = run({"export", "--concept", "3", "--lang", "fr", "--record-driven"});
  EXPECT_EQ(records.out.rfind("0 @3@ WORD_MEANING\n  1 PART_OF_SPEECH \"n\"\n", 0), 0u);
  EXPECT_NE(records.out.find("2 LITERAL \"chat\""), std::string::npos) << records.out;
  EXPECT_NE(records.out.find("2 RELATION \"hyperonym\""), std::string::npos) << records.out;

  // The document keeps the writer's own line ends.
  const Json doc = json({"export", "chat", "--lang", "en"});
  EXPECT_EQ(doc["meanings"][0]["record"].number, 4);
  EXPECT_EQ(doc["meanings"][0]["text"].text.rfind("0 @4@ WORD_MEANING\r\n", 0), 0u);
}

TEST_F(SmallDatabase, DictionaryWalksRangesPatternsAndLimits) {
  using Words = std::vector<std::string>;
  const struct {
    std::vector<std::string> args;
    Words words;
  } rows[] = {
      {{}, {"canin", "canine", "canis familiaris", "chat", "chien", "f\xC3\xA9lid\xC3\xA9",
            "f\xC3\xA9lin"}},
      {{"--from", "cat", "--to", "chien"}, {"chat"}},
      {{"--pattern", "can*"}, {"canin", "canine", "canis familiaris"}},
      {{"--pattern", "CH*"}, {}},
      {{"--pattern", "CH*", "--ignore-case"}, {"chat", "chien"}},
      {{"--limit", "2"}, {"canin", "canine"}},
  };
  for (const auto& r : rows) {
    std::vector<std::string> args{"dict", "--lang", "fr"};
    args.insert(args.end(), r.args.begin(), r.args.end());
    EXPECT_EQ(texts(json(args)["words"]), r.words) << args.size();
  }
}

TEST_F(SmallDatabase, DumpByCriteriaRelationsAndTheOntology) {
  const Json chats =
      json({"dump", "--store", "100", "--container", "32001", "--criteria", "LITERAL == chat"});
  ASSERT_EQ(chats["records"].items.size(), 2u) << "the variant and the index variant";
  EXPECT_EQ(chats["records"][0]["record"].number, 8);
  EXPECT_EQ(chats["records"][1]["record"].number, 13);
  EXPECT_EQ(json({"dump", "--store", "100", "--container", "32001", "--criteria",
                  " LITERAL == 'chat' OR LITERAL == '(x)' \n"})["records"]
                .items.size(),
            2u);
  EXPECT_EQ(json({"dump", "--store", "100", "--container", "200", "--criteria", "TYPE == 1",
                  "--limit", "3"})["records"]
                .items.size(),
            3u);

  std::map<int, std::string> names;
  const Json relations = json({"relations"});
  for (const Json& r : relations["relations"].items)
    names[static_cast<int>(r["id"].number)] = r["name"].text;
  EXPECT_EQ(names, (std::map<int, std::string>{
                       {1, "antonym"}, {8, "hyperonym"}, {10, "hyponym"}, {12, "near synonym"}}));

  const Json french = json({"ontology", "--lang", "fr"});
  ASSERT_EQ(french["concepts"].items.size(), 1u);
  EXPECT_TRUE(french["concepts"][0]["names"].items.empty());
  ASSERT_EQ(french["concepts"][0]["subs"].items.size(), 2u);
  EXPECT_EQ(french["concepts"][0]["subs"][1]["id"].number, 3);
  EXPECT_EQ(french["concepts"][0]["subs"][1]["gloss"].text,
            "nouns denoting communicative processes and contents");
}

// ------------------------------------------------ hostile input ----

// A top ontology that is one chain: each concept the one sub of the concept
// before it.
std::string chainDump(uint32_t depth) {
  using namespace dumptext;
  std::string d = fixedRecords() + languages() + systemTables() + group(98, 310);
  for (uint32_t id = 1; id <= depth; ++id) {
    d += "0 @" + std::to_string(id) + "@ TOP_CONCEPT\n  1 GLOSS level " + std::to_string(id) +
         "\n  1 ONTOLOGY_LINKS\n";
    if (id > 1) d += "    2 SUPER_CONCEPT @" + std::to_string(id - 1) + "@\n";
    if (id < depth) d += "    2 SUB_CONCEPT @" + std::to_string(id + 1) + "@\n";
  }
  return d;
}

// The text and the document the ontology command prints for chainDump(depth).
std::string chainText(uint32_t depth) {
  std::string text;
  for (uint32_t level = 0; level < depth; ++level) {
    const std::string id = std::to_string(level + 1);
    text += std::string(2 * level, ' ') + "@" + id + "@ -- level " + id + "\n";
  }
  return text;
}

std::string chainJson(uint32_t depth) {
  std::string json = "{\"concepts\":";
  for (uint32_t id = 1; id <= depth; ++id)
    json += "[{\"id\":" + std::to_string(id) + ",\"names\":[],\"gloss\":\"level " +
            std::to_string(id) + "\",\"subs\":";
  json += "[]";
  for (uint32_t id = 1; id <= depth; ++id) json += "}]";
  return json + "}\n";
}

// The tree is laid out and printed without a stack frame per level. A chain
// of 100,000 overflowed the 8 MiB stack of a process (one of 20,000 did under
// the address sanitizer), but its text is ten gigabytes of indentation and
// the sanitized run takes minutes; on a stack of 256 KiB, 2,000 levels
// overflowed both builds.
TEST(CorvidHostileInput, OntologyOfAnyDepthIsPrintedWhole) {
  testfiles::ScratchDir dir;
  const uint32_t depth = 3000;
  const size_t stack = 256 * 1024;
  const std::string path = makeDatabase(dir, chainDump(depth));
  for (bool json : {false, true}) {
    SCOPED_TRACE(json ? "--json" : "text");
    std::vector<std::string> args{"--db", path, "ontology"};
    if (json) args.push_back("--json");
    const CommandRun printed = corvid(args, "", "", stack);
    EXPECT_EQ(printed.status, 0) << printed.err;
    EXPECT_EQ(printed.err, "");
    const std::string expected = json ? chainJson(depth) : chainText(depth);
    // Not compared with EXPECT_EQ: a mismatch would print megabytes.
    EXPECT_TRUE(printed.out == expected) << printed.out.size() << " bytes, not " << expected.size();
  }
}

// A record whose dump outgrows the largest buffer the record formatter
// takes is printed whole, by number and by criteria.
TEST(CorvidHostileInput, DumpPrintsRecordsOfAnyLengthWhole) {
  testfiles::ScratchDir dir;
  std::string definition;
  while (definition.size() < 70000)
    definition += "part " + std::to_string(definition.size()) + " of a long definition; ";
  const std::string path =
      makeDatabase(dir, dumptext::fixedRecords() + dumptext::group(100, 32001) +
                            dumptext::variant(1, 1, "long", 1, definition));
  const std::string record =
      "0 @1@ VARIANT\n  1 CONCEPT @1@\n    2 PART_OF_SPEECH 1\n  1 LITERAL long\n    2 SENSE 1\n"
      "  1 DEFINITION " +
      definition + "\n";
  for (const std::vector<std::string>& how :
       {std::vector<std::string>{"--record", "1"}, {"--criteria", "LITERAL == long"}}) {
    std::vector<std::string> args{"--db", path, "dump", "--store", "100", "--container", "32001"};
    args.insert(args.end(), how.begin(), how.end());
    SCOPED_TRACE(how[0]);
    const CommandRun text = corvid(args);
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_TRUE(text.out == record) << text.out.size() << " bytes, not " << record.size();
    args.push_back("--json");
    const Json doc = document(corvid(args));
    EXPECT_TRUE(doc["records"][0]["text"].text == record);
  }
}

// ------------------------------------------- usage and databases ----

TEST(CorvidUsage, WrongUsageGivesTheUsageLineAndStatusTwo) {
  const struct {
    std::vector<std::string> args;
    const char* usage;
  } rows[] = {
      {{}, ""},
      {{"frobnicate"}, ""},
      {{"--db"}, ""},
      {{"lookup", "a", "b"}, "lookup WORD"},
      // An empty word names no word form.
      {{"lookup", ""}, "lookup WORD"},
      {{"lookup", "--", ""}, "lookup WORD"},
      {{"translate", "", "--from", "en"}, "translate WORD --from"},
      {{"related", "", "--lang", "en"}, "related WORD --lang"},
      {{"export", "", "--lang", "en"}, "export (WORD | --concept N)"},
      {{"lookup", "dog", "--lang"}, "lookup WORD"},
      {{"lookup", "dog", "--colour"}, "lookup WORD"},
      {{"translate", "dog", "--to", "fr"}, "translate WORD --from"},
      {{"export", "dog", "--concept", "1", "--lang", "en"}, "export (WORD | --concept N)"},
      {{"export", "--concept", "one", "--lang", "en"}, "export (WORD | --concept N)"},
      {{"dict", "--lang", "en", "--from", "a", "--pattern", "b*"}, "dict --lang CODE"},
      {{"dict", "--lang", "en", "--limit", "-1"}, "dict --lang CODE"},
      {{"dump", "--store", "1", "--container", "70000", "--record", "1"}, "dump --store N"},
      {{"dump", "--store", "1", "--container", "2", "--record", "1", "--criteria", "x"},
       "dump --store N"},
      {{"relations", "--lang", "en"}, "relations"},
      {{"build", "a.db", "--omw"}, "build OUT.db"},
  };
  for (const auto& r : rows) {
    const CommandRun c = corvid(r.args);
    SCOPED_TRACE((r.args.empty() ? "(none)" : r.args[0]) + " " + c.err);
    EXPECT_EQ(c.status, 2);
    EXPECT_EQ(c.out, "");
    EXPECT_EQ(c.err.rfind(std::string("usage: corvid ") + r.usage, 0), 0u);
    // The whole list of commands, or the one line of the command's own.
    EXPECT_EQ(lineCount(c.err), *r.usage ? 1 : 12);
  }

  for (const char* command : {"build", "info", "langs", "lookup", "translate", "related", "export",
                              "dict", "dump", "relations", "ontology"}) {
    const CommandRun help = corvid({command, "--help"});
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_EQ(help.out.rfind(std::string("usage: corvid ") + command, 0), 0u) << help.out;
    EXPECT_GT(lineCount(help.out), 2) << command;
  }
  EXPECT_EQ(corvid({"--db", "any.db", "--version"}).out.rfind("corvid ", 0), 0u);
  const CommandRun help = corvid({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("corvid ontology"), std::string::npos);
  EXPECT_NE(help.out.find("CORVID_DB"), std::string::npos);
}

TEST(CorvidDatabase, FoundByOptionEnvironmentOrWorkingFolder) {
  testfiles::ScratchDir dir;
  const std::string path = makeDatabase(dir, smallDump());
  const std::string elsewhere = dir.file("elsewhere");
  ASSERT_EQ(std::system(("mkdir " + elsewhere).c_str()), 0);

  // ./polylex.db, then CORVID_DB over it, then --db over both, before or
  // after the command.
  EXPECT_EQ(corvid({"relations"}, "", dir.path()).status, 0);
  EXPECT_EQ(corvid({"relations"}, path, elsewhere).status, 0);
  const CommandRun missing = corvid({"relations"}, "", elsewhere);
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "corvid: no database at polylex.db (give one with --db or CORVID_DB)\n");
  EXPECT_EQ(corvid({"relations"}, dir.file("none.db"), dir.path()).status, 1);
  EXPECT_EQ(corvid({"--db", path, "relations"}, dir.file("none.db")).status, 0);
  EXPECT_EQ(corvid({"relations", "--db", path}, dir.file("none.db")).status, 0);
  EXPECT_EQ(corvid({"info", "--db", path}).status, 0);
  EXPECT_EQ(document(corvid({"info", "--json"}, path))["stores"][0]["store"].number, 0);

  // A database of an older layout, and a file that is no database.
  const std::string older = makeDatabase(dir, smallDump("1.2"), "older.db");
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
      const CommandRun r = corvid(args);
      EXPECT_EQ(r.status, 1) << command << " " << c.db;
      EXPECT_EQ(r.out, "");
      EXPECT_EQ(r.err.rfind("corvid: " + c.message, 0), 0u) << r.err;
      EXPECT_EQ(lineCount(r.err), 1) << r.err;
    }
  const CommandRun info = corvid({"info", "--db", "/nonexistent/x.db"});
  EXPECT_EQ(info.status, 1);
  EXPECT_EQ(info.err.rfind("corvid: /nonexistent/x.db: ", 0), 0u) << info.err;
  EXPECT_EQ(lineCount(info.err), 1) << info.err;
}

// A FIFO or a device is no database: read, it is refused without waiting for
// a writer; as a build's output, it is left as it is even when forced. So is
// a path too long for a database handle, before any building.
TEST(CorvidDatabase, FifosDevicesAndOverlongPathsAreRefusedOnOneLine) {
  namespace fs = std::filesystem;
  testfiles::ScratchDir dir;
  const std::string fifo = dir.file("fifo.db"), device = dir.file("null.db");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  fs::create_symlink("/dev/null", device);
  for (const std::string& db : {fifo, device}) {
    CommandRun r;
    EXPECT_TRUE(testfiles::returnsWithoutAWriter(fifo, [&] { r = corvid({"info", "--db", db}); }));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "corvid: " + db + ": cannot open: IO_OPEN_ERR\n");
  }

  const std::string wordnet = dir.file("wordnet");
  slices::writeWordNet(wordnet, slices::wordnetSlice(testfiles::wordnetDir()));
  const std::string deep = dir.file(std::string(100, 'd') + "/" + std::string(100, 'e'));
  fs::create_directories(deep);
  const std::string overlong = deep + "/polylex.db";
  ASSERT_GT(overlong.size(), 239u);
  const std::string refusal = ": not a regular file; the build replaces nothing else\n";
  const struct {
    std::string output, error;
  } cases[] = {
      {fifo, fifo + refusal},
      {device, device + refusal},
      {overlong, overlong + ": path too long for a database (" + std::to_string(overlong.size()) +
                     " bytes; at most 239)\n"},
  };
  for (const auto& c : cases) {
    const CommandRun r = corvid({"build", c.output, "--wordnet", wordnet, "--force"});
    EXPECT_EQ(r.status, 1) << c.output;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "corvid: " + c.error);
  }
  EXPECT_TRUE(fs::is_fifo(fifo));
  EXPECT_EQ(fs::read_symlink(device), "/dev/null");
  EXPECT_TRUE(fs::is_empty(deep));
}

}  // namespace
