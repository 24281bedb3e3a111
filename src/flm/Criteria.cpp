#include "flm/Criteria.h"

#include "flm/Evaluator.h"
#include "flm/SmallVector.h"

namespace flm {
namespace {

int binaryPrecedence(uint16_t op) {
  switch (op) {
    case FLM_MULT_OP: case FLM_DIV_OP: case FLM_MOD_OP: return 10;
    case FLM_PLUS_OP: case FLM_MINUS_OP: return 9;
    case FLM_BITAND_OP: return 8;
    case FLM_BITXOR_OP: return 7;
    case FLM_BITOR_OP: return 6;
    case FLM_LT_OP: case FLM_LE_OP: case FLM_GT_OP: case FLM_GE_OP: return 5;
    case FLM_EQ_OP: case FLM_NE_OP: case FLM_MATCH_OP: case FLM_MATCH_BEGIN_OP:
    case FLM_CONTAINS_OP: return 4;
    case FLM_AND_OP: return 2;
    case FLM_OR_OP: return 1;
    default: return 0;
  }
}

constexpr int kUnaryPrecedence = 11;

bool isLogical(uint16_t op) { return op == FLM_AND_OP || op == FLM_OR_OP || op == FLM_NOT_OP; }

// Yields a value (as opposed to a truth): what comparisons and arithmetic take.
bool yieldsValue(const Expr& e) {
  if (e.kind == Expr::Field || e.kind == Expr::Value) return true;
  if (e.kind == Expr::All || e.kind == Expr::Any) return false;
  return !isComparisonOp(e.op) && !isLogical(e.op);
}

bool digitsOnly(const std::u16string& t) {
  size_t i = !t.empty() && t[0] == u'-' ? 1 : 0;
  if (i == t.size()) return false;
  for (; i < t.size(); ++i)
    if (t[i] < u'0' || t[i] > u'9') return false;
  return true;
}

// Criteria may nest brackets and prefix operators, or chain operators, as
// deep as they were written: what waits for an operand is kept on a stack of
// the parser's own, so that depth costs memory in proportion and never the
// call stack.
class Parser {
 public:
  Parser(const std::vector<Piece>& pieces, const Dictionary* dictionary, ParsedCriteria* out)
      : pieces_(pieces), dictionary_(dictionary), out_(out) {}

  RCODE run() {
    if (pieces_.empty()) return FERR_OK;
    out_->nodes.reserve(pieces_.size());
    int root = expression();
    if (rc_ == FERR_OK && pos_ != pieces_.size()) rc_ = FERR_CURSOR_SYNTAX;
    if (rc_ == FERR_OK) out_->root = root;
    return rc_;
  }

 private:
  // What waits for an operand: an expression taking binary operators of at
  // least `precedence` (with `op`, once read, waiting for its right operand),
  // an open bracket, or a prefix operator.
  struct Pending {
    enum Kind : uint8_t { Expression, Bracket, Prefix } kind;
    uint16_t op = 0;
    int precedence = 0;
    int left = -1;
  };
  using Stack = SmallVector<Pending, 16>;

  static Pending startExpression(int precedence) {
    return {Pending::Expression, 0, precedence, -1};
  }

  const Piece* peek() const { return pos_ < pieces_.size() ? &pieces_[pos_] : nullptr; }
  bool peekOp(uint16_t op) const { return peek() && peek()->kind == Piece::Op && peek()->op == op; }

  int fail(RCODE rc) {
    if (rc_ == FERR_OK) rc_ = rc;
    return -1;
  }

  int add(Expr e) {
    out_->nodes.push_back(std::move(e));
    return static_cast<int>(out_->nodes.size() - 1);
  }

  // Operators bind by precedence, left to right: `a op1 b op2 c` takes b as
  // op1's right operand unless op2 binds tighter. Prefix operators take one
  // field, value or bracket.
  int expression() {
    Stack stack{startExpression(1)};
    for (;;) {
      int operand = openOperand(&stack);
      for (;;) {
        if (operand < 0) return -1;
        Pending& top = stack.back();
        top.left = top.op ? combine(top.op, top.left, operand) : operand;
        top.op = 0;
        if (top.left < 0) return -1;
        if (continues(&stack)) break;
        operand = stack.back().left;
        stack.pop_back();
        if (stack.empty()) return operand;
        operand = closeOperand(&stack, operand);
      }
    }
  }

  // Reads prefix operators and open brackets onto the stack up to the field
  // or value they lead to, and answers that.
  int openOperand(Stack* stack) {
    for (;;) {
      const Piece* p = peek();
      if (!p) return fail(FERR_CURSOR_SYNTAX);
      ++pos_;
      if (p->kind == Piece::Field) return add({Expr::Field, 0, p->set, p, {}});
      if (p->kind == Piece::Value) return add({Expr::Value, 0, 0, p, {}});
      if (p->op == FLM_LPAREN_OP) {
        stack->push_back({Pending::Bracket});
        stack->push_back(startExpression(1));
      } else if (p->op == FLM_NOT_OP || p->op == FLM_MINUS_OP) {
        stack->push_back({Pending::Prefix, p->op});
        stack->push_back(startExpression(kUnaryPrecedence));
      } else {
        return fail(FERR_CURSOR_SYNTAX);
      }
    }
  }

  // Whether the expression on top takes the next piece as its binary
  // operator; if so, it waits for the right operand.
  bool continues(Stack* stack) {
    const Piece* p = peek();
    Pending& top = stack->back();
    if (!p || p->kind != Piece::Op) return false;
    int precedence = binaryPrecedence(p->op);
    if (precedence == 0 || precedence < top.precedence) return false;
    ++pos_;
    top.op = p->op;
    stack->push_back(startExpression(precedence + 1));
    return true;
  }

  // A finished expression closes the bracket or prefix that waited for it;
  // what that makes is the operand of the expression below.
  int closeOperand(Stack* stack, int inner) {
    Pending waiting = stack->back();
    if (waiting.kind == Pending::Expression) return inner;
    stack->pop_back();
    if (waiting.kind == Pending::Bracket) {
      if (!peekOp(FLM_RPAREN_OP)) return fail(FERR_CURSOR_SYNTAX);
      ++pos_;
      return inner;
    }
    if (waiting.op == FLM_MINUS_OP && !yieldsValue(out_->nodes[inner]))
      return fail(FERR_CURSOR_SYNTAX);
    return add({Expr::Unary, waiting.op, 0, nullptr, {inner}});
  }

  int combine(uint16_t op, int left, int right) {
    if (op == FLM_AND_OP || op == FLM_OR_OP) return chain(op, left, right);
    const Expr& l = out_->nodes[left];
    const Expr& r = out_->nodes[right];
    if (!yieldsValue(l) || !yieldsValue(r)) return fail(FERR_CURSOR_SYNTAX);
    if (isComparisonOp(op)) {
      RCODE rc = checkKinds(l, r);
      if (rc == FERR_OK) rc = checkKinds(r, l);
      if (rc) return fail(rc);
    }
    return add({Expr::Binary, op, 0, nullptr, {left, right}});
  }

  // And/or chains become one node with many terms, so that long unions of
  // terms neither nest deeply nor recurse deeply when evaluated.
  int chain(uint16_t op, int left, int right) {
    Expr::Kind kind = op == FLM_AND_OP ? Expr::All : Expr::Any;
    if (out_->nodes[left].kind == kind) {
      out_->nodes[left].kids.push_back(right);
      return left;
    }
    return add({kind, op, 0, nullptr, {left, right}});
  }

  // A text literal compared with a numeric field must read as a number.
  RCODE checkKinds(const Expr& field, const Expr& literal) const {
    if (field.kind != Expr::Field || literal.kind != Expr::Value || !dictionary_) return FERR_OK;
    if (literal.value().kind != Operand::Text) return FERR_OK;
    const FieldDef* def =
        field.path().back() == FLM_RECID_FIELD ? nullptr : dictionary_->field(field.path().back());
    bool numeric = field.path().back() == FLM_RECID_FIELD ||
                   (def && (def->type == FLM_NUMBER_TYPE || def->type == FLM_CONTEXT_TYPE));
    if (!numeric) return FERR_OK;
    if (!digitsOnly(literal.value().text)) return FERR_CONV_BAD_DIGIT;
    int64_t ignored;
    return textAsNumber(literal.value().text, &ignored) ? FERR_OK : FERR_CONV_NUM_OVERFLOW;
  }

  const std::vector<Piece>& pieces_;
  const Dictionary* dictionary_;
  ParsedCriteria* out_;
  size_t pos_ = 0;
  RCODE rc_ = FERR_OK;
};

}  // namespace

bool isComparisonOp(uint16_t op) {
  return binaryPrecedence(op) == 4 || binaryPrecedence(op) == 5;
}

RCODE parseCriteria(const std::vector<Piece>& pieces, const Dictionary* dictionary,
                    ParsedCriteria* out) {
  out->nodes.clear();
  out->root = -1;
  return Parser(pieces, dictionary, out).run();
}

}  // namespace flm
