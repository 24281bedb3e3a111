#include "storage/CriteriaTokenizer.h"

#include <cstdint>

#include "flm/Criteria.h"
#include "flm/Dictionary.h"

namespace storage {
namespace {

// The classic C white space, without asking the locale.
bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool isBracket(char c) {
  return c == '(' || c == ')' || c == '[' || c == ']' || c == '{' || c == '}';
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isHexDigit(char c) {
  return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool equalIgnoringCase(const char* a, const char* b) {
  for (; *a && *b; ++a, ++b)
    if (upper(*a) != upper(*b)) return false;
  return *a == *b;
}

struct OperatorName {
  const char* name;
  uint16_t op;
};

// Tried in this order; the first equal name wins. "(" and ")" are reached
// only by an escaped bracket, since a bare one ends the criteria.
constexpr OperatorName kOperators[] = {
    {"+", flm::FLM_PLUS_OP},
    {"-", flm::FLM_MINUS_OP},
    {"*", flm::FLM_MULT_OP},
    {"/", flm::FLM_DIV_OP},
    {"DIV", flm::FLM_DIV_OP},
    {"%", flm::FLM_MOD_OP},
    {"MOD", flm::FLM_MOD_OP},
    {"NOT", flm::FLM_NOT_OP},
    {"!", flm::FLM_NOT_OP},
    {"!=", flm::FLM_NE_OP},
    {".NE.", flm::FLM_NE_OP},
    {"==", flm::FLM_EQ_OP},
    {".EQ.", flm::FLM_EQ_OP},
    {"<", flm::FLM_LT_OP},
    {".LT.", flm::FLM_LT_OP},
    {"<=", flm::FLM_LE_OP},
    {".LE.", flm::FLM_LE_OP},
    {">", flm::FLM_GT_OP},
    {".GT.", flm::FLM_GT_OP},
    {">=", flm::FLM_GE_OP},
    {".GE.", flm::FLM_GE_OP},
    {"&&", flm::FLM_AND_OP},
    {"AND", flm::FLM_AND_OP},
    {"||", flm::FLM_OR_OP},
    {"OR", flm::FLM_OR_OP},
    {"&", flm::FLM_BITAND_OP},
    {"^", flm::FLM_BITXOR_OP},
    {"|", flm::FLM_BITOR_OP},
    {"MATCH", flm::FLM_MATCH_OP},
    {"MATCHES", flm::FLM_MATCH_OP},
    {"&=", flm::FLM_MATCH_OP},
    {"MATCH_BEGIN", flm::FLM_MATCH_BEGIN_OP},
    {"MATCHES_BEGIN", flm::FLM_MATCH_BEGIN_OP},
    {"BEGIN", flm::FLM_MATCH_BEGIN_OP},
    {"BEGINS", flm::FLM_MATCH_BEGIN_OP},
    {"^=", flm::FLM_MATCH_BEGIN_OP},
    {"CONTAIN", flm::FLM_CONTAINS_OP},
    {"CONTAINS", flm::FLM_CONTAINS_OP},
    {"*=", flm::FLM_CONTAINS_OP},
    {"(", flm::FLM_LPAREN_OP},
    {")", flm::FLM_RPAREN_OP},
};

}  // namespace

uint16_t criteriaBufferSize(size_t criteriaLength) {
  return static_cast<uint16_t>(criteriaLength + 1);
}

CriteriaTokenizer::CriteriaTokenizer(const char* criteria, char* buffer, uint16_t bufferSize)
    : next_(criteria ? criteria : ""), start_(next_), buffer_(buffer), size_(bufferSize) {
  if (size_) buffer_[0] = '\0';
}

bool CriteriaTokenizer::take(char c) {
  buffer_[length_++] = c;
  return true;
}

bool CriteriaTokenizer::takeOne() {
  char c = *next_++;
  if (c != '\\') return take(c);
  char escaped = *next_;
  if (!escaped) return false;
  ++next_;
  switch (escaped) {
    case 'a': return take('\a');
    case 'b': return take('\b');
    case 'f': return take('\f');
    case 'n': return take('\n');
    case 'r': return take('\r');
    case 't': return take('\t');
    case 'v': return take('\v');
    case 'x':
    case 'X':
      // The digits are read past and nothing is produced; the character
      // after them belongs to the token again.
      while (isHexDigit(*next_)) ++next_;
      return true;
    default:  // quotes, the backslash itself, anything else: the character
      return take(escaped);
  }
}

uint16_t CriteriaTokenizer::read() {
  length_ = 0;
  quoted_ = false;
  if (!size_) return 0;
  while (isSpace(*next_)) ++next_;
  start_ = next_;
  char quote = '\0';
  if (*next_ == '"' || *next_ == '\'') {
    quote = *next_++;
    quoted_ = true;
  }
  while (*next_ && length_ + 1 < size_) {
    if (quote ? *next_ == quote : isSpace(*next_) || isBracket(*next_)) break;
    if (!takeOne()) break;
  }
  if (quote && *next_ == quote) ++next_;
  buffer_[length_] = '\0';
  return length_;
}

CriteriaToken CriteriaTokenizer::next(const flm::NameTable* names) {
  uint16_t length = read();
  return classifyCriteriaToken(buffer_, length, quoted_, names);
}

uint16_t criteriaOperator(const char* token) {
  if (!token) return 0;
  for (const OperatorName& entry : kOperators)
    if (equalIgnoringCase(token, entry.name)) return entry.op;
  return 0;
}

CriteriaToken classifyCriteriaToken(const char* token, uint16_t length, bool quoted,
                                    const flm::NameTable* names) {
  CriteriaToken t;
  if (!token || length == 0) return t;
  auto asText = [&] {
    t.kind = CriteriaToken::Text;
    t.text = token;
    t.length = length;
    return t;
  };
  if (quoted) return asText();

  if (uint16_t op = criteriaOperator(token)) {
    t.kind = CriteriaToken::Operator;
    t.op = op;
    return t;
  }

  uint16_t named = 0;
  if (names && names->getFromTagName(token, &named, flm::FLM_FIELD_TAG)) {
    t.kind = CriteriaToken::Field;
    t.field = named;
    return t;
  }

  if (token[0] == '#') {
    uint32_t number = 0;
    for (const char* p = token + 1; isDigit(*p); ++p) {
      number = number * 10 + static_cast<uint32_t>(*p - '0');
      if (number > UINT16_MAX) {
        number = 0;
        break;
      }
    }
    t.kind = CriteriaToken::Field;
    t.field = static_cast<uint16_t>(number);
    return t;
  }

  uint32_t number = 0;
  for (uint16_t i = 0; i < length; ++i) {
    if (!isDigit(token[i])) return asText();
    uint32_t digit = static_cast<uint32_t>(token[i] - '0');
    number = number > (UINT32_MAX - digit) / 10 ? UINT32_MAX : number * 10 + digit;
  }
  t.kind = CriteriaToken::Number;
  t.number = number;
  return t;
}

}  // namespace storage
