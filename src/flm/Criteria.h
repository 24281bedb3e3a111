// Query criteria: the pieces a cursor is given (fields, operators, values, in
// infix order) and the expression tree they parse into.
#ifndef CORVID5_FLM_CRITERIA_H
#define CORVID5_FLM_CRITERIA_H

#include <cstdint>
#include <string>
#include <vector>

#include "flm/Dictionary.h"

namespace flm {

// Operator codes.
enum QueryOp : uint16_t {
  FLM_AND_OP = 18,
  FLM_OR_OP = 19,
  FLM_NOT_OP = 20,
  FLM_EQ_OP = 21,
  FLM_MATCH_OP = 22,
  FLM_MATCH_BEGIN_OP = 23,
  FLM_CONTAINS_OP = 24,
  FLM_NE_OP = 25,
  FLM_LT_OP = 26,
  FLM_LE_OP = 27,
  FLM_GT_OP = 28,
  FLM_GE_OP = 29,
  FLM_BITAND_OP = 30,
  FLM_BITOR_OP = 31,
  FLM_BITXOR_OP = 32,
  FLM_MULT_OP = 33,
  FLM_DIV_OP = 34,
  FLM_MOD_OP = 35,
  FLM_PLUS_OP = 36,
  FLM_MINUS_OP = 37,
  FLM_LPAREN_OP = 39,
  FLM_RPAREN_OP = 40,
};

// Value-type codes of added values.
enum QueryValueType : uint32_t {
  FLM_INT16_VAL = 1,
  FLM_INT32_VAL = 2,
  FLM_UINT16_VAL = 3,
  FLM_UINT32_VAL = 4,
  FLM_STRING_VAL = 12,
  FLM_UNICODE_VAL = 14,
};

// The pseudo-field that stands for a record's own number.
constexpr uint16_t FLM_RECID_FIELD = 32171;

// A literal or a field's value while criteria are evaluated.
struct Operand {
  enum Kind : uint8_t { Number, Real, Text, Bytes } kind = Number;
  int64_t number = 0;
  double real = 0;
  std::u16string text;  // Text; Bytes keeps its bytes here, two to a unit
};

// One piece as the cursor was given it.
struct Piece {
  enum Kind : uint8_t { Field, Op, Value } kind;
  uint16_t op = 0;
  uint8_t set = 0;
  FieldPath path;
  Operand value;
};

// A node of parsed criteria. Fields and values read their path and value
// from the piece they came from, which outlives the parse: adding a piece
// makes the criteria parse again.
struct Expr {
  enum Kind : uint8_t { Field, Value, Unary, Binary, All, Any } kind;
  uint16_t op = 0;                // Unary, Binary
  uint8_t set = 0;                // Field: the context set it reads, resolved
  const Piece* piece = nullptr;   // Field, Value
  SmallVector<int, 2> kids;       // operands; All/Any: the terms of an and/or chain

  const FieldPath& path() const { return piece->path; }
  const Operand& value() const { return piece->value; }
};

struct ParsedCriteria {
  std::vector<Expr> nodes;
  int root = -1;  // -1: no criteria, every record matches
};

bool isComparisonOp(uint16_t op);

// Parses infix pieces by the engine's precedence: not and unary minus; then
// * / %; + -; &; ^; |; < <= > >=; == != and the text matches; and; or.
// Malformed criteria give FERR_CURSOR_SYNTAX; a literal that cannot meet the
// field it is compared with gives the conversion error.
RCODE parseCriteria(const std::vector<Piece>& pieces, const Dictionary* dictionary,
                    ParsedCriteria* out);

}  // namespace flm

#endif
