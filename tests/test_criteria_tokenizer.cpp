// The criteria language on its own: how tokens are read (white space, quotes,
// escapes, brackets, the buffer limit) and what each token becomes.
#include <gtest/gtest.h>

#include <corvid5/CriteriaText.h>

#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "flm/Dictionary.h"
#include "storage/CriteriaTokenizer.h"

using storage::criteriaBufferSize;
using storage::CriteriaToken;
using storage::CriteriaTokenizer;

namespace {

using Tokens = std::vector<std::string>;

// The raw tokens up to the end of the criteria, quoted ones marked "q:". The
// buffer is sized exactly, on the heap, so that ASan sees any overrun.
Tokens read(const std::string& criteria, int bufferSize = -1) {
  uint16_t size = bufferSize < 0 ? criteriaBufferSize(criteria.size())
                                 : static_cast<uint16_t>(bufferSize);
  std::vector<char> buffer(size);
  CriteriaTokenizer tokens(criteria.c_str(), buffer.data(), size);
  Tokens out;
  while (uint16_t length = tokens.read()) {
    EXPECT_EQ(std::strlen(tokens.token()), length) << "terminated after its bytes";
    out.push_back((tokens.quoted() ? "q:" : "") + std::string(tokens.token(), length));
    if (out.size() > 100) break;
  }
  return out;
}

std::string describe(const CriteriaToken& t) {
  switch (t.kind) {
    case CriteriaToken::Operator: return "op:" + std::to_string(t.op);
    case CriteriaToken::Field: return "field:" + std::to_string(t.field);
    case CriteriaToken::Number: return "num:" + std::to_string(t.number);
    case CriteriaToken::Text: return "text:" + std::string(t.text, t.length);
    default: return "end";
  }
}

// The classified tokens through the closing "end".
Tokens classified(const std::string& criteria, const flm::NameTable* names) {
  uint16_t size = criteriaBufferSize(criteria.size());
  std::vector<char> buffer(size);
  CriteriaTokenizer tokens(criteria.c_str(), buffer.data(), size);
  Tokens out;
  do out.push_back(describe(tokens.next(names)));
  while (out.back() != "end" && out.size() < 100);
  return out;
}

class Names : public ::testing::Test {
 protected:
  Names() {
    dictionary.fields = {{10, "A", flm::FLM_TEXT_TYPE},       {120, "LITERAL", flm::FLM_TEXT_TYPE},
                         {40, "12", flm::FLM_NUMBER_TYPE},    {41, "#5", flm::FLM_TEXT_TYPE},
                         {42, "Match", flm::FLM_TEXT_TYPE}};
  }
  flm::Dictionary dictionary;
  flm::NameTable names{dictionary};
};

}  // namespace

TEST(CriteriaReading, WhiteSpaceQuotesAndEscapes) {
  const struct {
    const char* criteria;
    Tokens tokens;
  } cases[] = {
      {"  a \t\nb\v\fc\r d \r\n", {"a", "b", "c", "d"}},
      {"a\x01" "b", {"a\x01" "b"}},  // other control characters are no space
      {"'a b' \"c (d) [e]\"", {"q:a b", "q:c (d) [e]"}},
      {"'say \"hi\"' \"it's\"", {"q:say \"hi\"", "q:it's"}},
      // The closing quote is skipped; inside an unquoted token a quote is plain.
      {"'ab'cd x'y'", {"q:ab", "cd", "x'y'"}},
      {"'open to the end", {"q:open to the end"}},
      {"\\a\\b\\f\\n\\r\\t\\v '\\a\\t'", {"\a\b\f\n\r\t\v", "q:\a\t"}},
      {"\\'\\\" 'it\\'s' \"a\\\"b\"", {"'\"", "q:it's", "q:a\"b"}},
      // Any other escaped character stands for itself, blanks and brackets too.
      {"\\q\\\\\\0 big\\ apple a\\(b\\]", {"q\\0", "big apple", "a(b]"}},
      {"ab\\", {"ab"}},  // a backslash at the very end yields nothing
      {"'ab\\", {"q:ab"}},
      // The hexadecimal escape reads past all its digits and yields nothing.
      {"a\\x41g a\\X4fF0z p\\x 'a\\x41 b'", {"ag", "az", "p", "q:a b"}},
      {"\\x41 rest", {}},
      {"'\\x41' rest", {}},
      {"a '' b", {"a"}},  // an empty quoted string ends the criteria
      {"\"\" b", {}},
  };
  for (const auto& c : cases) EXPECT_EQ(read(c.criteria), c.tokens) << c.criteria;
}

TEST(CriteriaReading, BracketsEndTheCriteriaUnconsumed) {
  for (char bracket : std::string("()[]{}")) {
    std::string criteria = std::string("abc") + bracket + "def";
    char buffer[8];
    CriteriaTokenizer tokens(criteria.c_str(), buffer, sizeof buffer);
    EXPECT_EQ(tokens.read(), 3u);
    EXPECT_EQ(tokens.read(), 0u) << bracket;
    EXPECT_EQ(tokens.rest()[0], bracket);
    EXPECT_EQ(read(std::string(1, bracket) + "abc"), Tokens{}) << bracket;
    EXPECT_EQ(read(std::string("'") + bracket + "'"), Tokens{"q:" + std::string(1, bracket)});
  }
}

// How far SetCriteria reads: up to the token that ends the criteria, past
// the white space before it.
TEST(CriteriaReading, HowMuchOfTheCriteriaIsRead) {
  const struct {
    const char* criteria;
    size_t read;
  } cases[] = {
      {"LITERAL == dog", 14},
      {" LITERAL == dog \t\n", 18},  // white space at the end is read past
      {"", 0},
      {"(LITERAL == dog)", 0},
      {"LITERAL == (dog)", 11},
      {"LITERAL == dog)", 14},
      {"LITERAL ==  '' dog", 12},
      {"LITERAL == \\x41 dog", 11},
      {"a \\x41g", 7},  // a hexadecimal escape within a token ends nothing
      {"a\\( '[' \\}", 10},  // nor do escaped and quoted brackets
      {"'a b' \"\" c", 6},
  };
  for (const auto& c : cases) EXPECT_EQ(CriteriaReadLength(c.criteria), c.read) << c.criteria;
  EXPECT_EQ(CriteriaReadLength(nullptr), 0u);
  const std::string longToken = "'" + std::string(70000, 'a') + "' b";
  EXPECT_EQ(CriteriaReadLength(longToken.c_str()), longToken.size());
}

TEST(CriteriaReading, BufferLimit) {
  // Four bytes hold three characters and the terminator; what does not fit
  // is read as the next token, a cut quoted one leaving its closing quote to
  // open another.
  EXPECT_EQ(read("abcdefg hi", 4), (Tokens{"abc", "def", "g", "hi"}));
  EXPECT_EQ(read("'abcdef' x", 4), (Tokens{"q:abc", "def", "q: x"}));
  EXPECT_EQ(read("ab\\nc", 3), (Tokens{"ab", "\nc"}));
  EXPECT_EQ(read("abc", 1), Tokens{});

  // The buffer's size is kept in 16 bits and wraps round.
  const struct {
    size_t length;
    uint16_t size;
  } sizes[] = {{0, 1}, {17, 18}, {65534, 65535}, {65535, 0}, {65539, 4}, {65536 + 10, 11},
               {SIZE_MAX, 0}};
  for (const auto& s : sizes) EXPECT_EQ(criteriaBufferSize(s.length), s.size) << s.length;
  auto padded = [](std::string criteria, size_t length) {
    criteria.resize(length, ' ');
    return criteria;
  };
  EXPECT_EQ(read(padded("abcdefg hi", 65539)), (Tokens{"abc", "def", "g", "hi"}));
  EXPECT_EQ(read(padded("abcdefg hi", 65535)), Tokens{}) << "no room for any token";
  EXPECT_EQ(read(padded("abcdefg hi", 65534)), (Tokens{"abcdefg", "hi"}));
  EXPECT_EQ(read("x" + std::string(70000, ' ') + "y"), (Tokens{"x", "y"}));
}

TEST(CriteriaClassifying, OperatorsInAnyLetterCase) {
  const struct {
    const char* name;
    uint16_t op;
  } table[] = {{"+", 36},      {"-", 37},       {"*", 33},       {"/", 34},      {"DIV", 34},
               {"%", 35},      {"MOD", 35},     {"NOT", 20},     {"!", 20},      {"!=", 25},
               {".NE.", 25},   {"==", 21},      {".EQ.", 21},    {"<", 26},      {".LT.", 26},
               {"<=", 27},     {".LE.", 27},    {">", 28},       {".GT.", 28},   {">=", 29},
               {".GE.", 29},   {"&&", 18},      {"AND", 18},     {"||", 19},     {"OR", 19},
               {"&", 30},      {"^", 32},       {"|", 31},       {"MATCH", 22},  {"MATCHES", 22},
               {"&=", 22},     {"MATCH_BEGIN", 23}, {"MATCHES_BEGIN", 23},       {"BEGIN", 23},
               {"BEGINS", 23}, {"^=", 23},      {"CONTAIN", 24}, {"CONTAINS", 24}, {"*=", 24},
               {"(", 39},      {")", 40}};
  for (const auto& e : table) {
    std::string lower = e.name, mixed = e.name;
    for (size_t i = 0; i < lower.size(); ++i) {
      lower[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(lower[i])));
      if (i % 2) mixed[i] = lower[i];
    }
    for (const std::string& spelling : {std::string(e.name), lower, mixed})
      EXPECT_EQ(storage::criteriaOperator(spelling.c_str()), e.op) << spelling;
  }
  for (const char* other : {"=", "<>", "ANDx", "AN", ".EQ", "MATCH BEGIN"})
    EXPECT_EQ(storage::criteriaOperator(other), 0u) << other;
}

TEST_F(Names, ReadingsAreTriedInOrder) {
  const struct {
    const char* token;
    bool quoted, named;
    const char* reading;
  } cases[] = {
      {"and", true, true, "text:and"},  // quoted: text, whatever it holds
      {"12", true, true, "text:12"},
      {"match", false, true, "op:22"},  // operators before the field "Match"
      {"literal", false, true, "field:120"},
      {"12", false, true, "field:40"},  // a name wins over digits and "#"
      {"12", false, false, "num:12"},
      {"#5", false, true, "field:41"},
      {"#5", false, false, "field:5"},
      {"#0120", false, false, "field:120"},
      {"#12abc", false, false, "field:12"},  // its leading digits
      {"#", false, false, "field:0"},
      {"#65535", false, false, "field:65535"},
      {"#65657", false, false, "field:0"},  // too large: no field, not field 121
      {"0042", false, false, "num:42"},
      {"4294967295", false, false, "num:4294967295"},
      {"99999999999999999999", false, false, "num:4294967295"},  // held at the largest
      {"-5", false, true, "text:-5"},
      {"1.5", false, true, "text:1.5"},
      {"LITERALS", false, true, "text:LITERALS"},
  };
  for (const auto& c : cases) {
    CriteriaToken t = storage::classifyCriteriaToken(
        c.token, static_cast<uint16_t>(std::strlen(c.token)), c.quoted, c.named ? &names : nullptr);
    EXPECT_EQ(describe(t), c.reading) << c.token << (c.quoted ? " quoted" : "");
  }
}

TEST_F(Names, CriteriaReadAsDocumented) {
  EXPECT_EQ(classified("A == 'x'", &names), (Tokens{"field:10", "op:21", "text:x", "end"}));
  EXPECT_EQ(classified("#120 CONTAINS abc", &names),
            (Tokens{"field:120", "op:24", "text:abc", "end"}));
  EXPECT_EQ(classified("12", nullptr), (Tokens{"num:12", "end"}));
  EXPECT_EQ(classified("'12'", &names), (Tokens{"text:12", "end"}));
  EXPECT_EQ(classified("-5", &names), (Tokens{"text:-5", "end"}));
  EXPECT_EQ(classified("(A == 1)", &names), (Tokens{"end"}));
  EXPECT_EQ(classified("A == ''", &names), (Tokens{"field:10", "op:21", "end"}));
  EXPECT_EQ(classified("A == \\x41", &names), (Tokens{"field:10", "op:21", "end"}));
  // A bare bracket ends the criteria; an escaped one is a token like any other
  // and so reaches the parenthesis operators.
  EXPECT_EQ(classified("\\( A == 1 \\) ] junk", &names),
            (Tokens{"op:39", "field:10", "op:21", "num:1", "op:40", "end"}));
}
