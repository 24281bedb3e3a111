#include "flm/Evaluator.h"

#include <string>

#include "flm/IndexKeys.h"
#include "flm/SmallVector.h"
#include "flm/Value.h"

namespace flm {
namespace {

Truth negate(Truth t) {
  return t == Truth::True ? Truth::False : t == Truth::False ? Truth::True : Truth::Unknown;
}

bool numeric(const Operand& o, int64_t* n) {
  if (o.kind == Operand::Number) {
    *n = o.number;
    return true;
  }
  return o.kind == Operand::Text && textAsNumber(o.text, n);
}

std::u16string asText(const Operand& o) {
  if (o.kind == Operand::Text) return o.text;
  std::string digits = o.kind == Operand::Real ? std::to_string(o.real) : std::to_string(o.number);
  return std::u16string(digits.begin(), digits.end());
}

template <class T>
bool ordered(uint16_t op, const T& a, const T& b) {
  switch (op) {
    case FLM_EQ_OP: case FLM_MATCH_OP: return a == b;
    case FLM_NE_OP: return !(a == b);
    case FLM_LT_OP: return a < b;
    case FLM_LE_OP: return !(b < a);
    case FLM_GT_OP: return b < a;
    case FLM_GE_OP: return !(a < b);
    default: return false;
  }
}

bool arithmetic(uint16_t op, const Operand& a, const Operand& b, Operand* out) {
  int64_t x, y;
  if (!numeric(a, &x) || !numeric(b, &y)) return false;
  auto ux = static_cast<uint64_t>(x), uy = static_cast<uint64_t>(y);
  int64_t r;
  switch (op) {
    case FLM_PLUS_OP: r = static_cast<int64_t>(ux + uy); break;
    case FLM_MINUS_OP: r = static_cast<int64_t>(ux - uy); break;
    case FLM_MULT_OP: r = static_cast<int64_t>(ux * uy); break;
    case FLM_DIV_OP: if (y == 0 || (y == -1 && x == INT64_MIN)) return false; r = x / y; break;
    case FLM_MOD_OP: if (y == 0 || (y == -1 && x == INT64_MIN)) return false; r = x % y; break;
    case FLM_BITAND_OP: r = x & y; break;
    case FLM_BITOR_OP: r = x | y; break;
    case FLM_BITXOR_OP: r = x ^ y; break;
    default: return false;
  }
  *out = Operand{Operand::Number, r, 0, {}};
  return true;
}

bool nonZero(const Operand& o) {
  return o.kind == Operand::Number ? o.number != 0
         : o.kind == Operand::Real ? o.real != 0
                                   : !o.text.empty();
}

}  // namespace

bool textAsNumber(const std::u16string& text, int64_t* out) {
  bool negative = !text.empty() && text[0] == u'-';
  size_t i = negative ? 1 : 0;
  if (i == text.size()) return false;
  // Accumulated unsigned so that the lowest number, whose magnitude is one
  // past the highest, still reads; anything wider is not a number here.
  const uint64_t limit = negative ? uint64_t{1} << 63 : (uint64_t{1} << 63) - 1;
  uint64_t v = 0;
  for (; i < text.size(); ++i) {
    if (text[i] < u'0' || text[i] > u'9') return false;
    auto digit = static_cast<uint64_t>(text[i] - u'0');
    if (v > (limit - digit) / 10) return false;
    v = v * 10 + digit;
  }
  *out = static_cast<int64_t>(negative ? 0 - v : v);
  return true;
}

bool operandOf(const Node* field, Operand* out) {
  if (nodeType(field) == FLM_TEXT_TYPE) {
    out->kind = Operand::Text;
    out->text.assign(static_cast<const char16_t*>(field->value), field->length / 2);
    return true;
  }
  if (nodeType(field) == FLM_REAL_TYPE) {
    out->kind = Operand::Real;
    return getReal(field, &out->real) == FERR_OK;
  }
  if (nodeType(field) == FLM_BINARY_TYPE) {
    out->kind = Operand::Bytes;
    out->text.assign(static_cast<const char16_t*>(field->value), field->length / 2);
    return true;
  }
  // Numbers, record pointers, dates and times compare as the numbers the key
  // table keeps for them.
  out->kind = Operand::Number;
  return numericValue(field, &out->number);
}

void Evaluator::leafValues(const Expr& e, const Binding* bindings,
                           std::vector<Operand>* out) const {
  if (e.kind == Expr::Value) {
    out->push_back(e.value());
    return;
  }
  const Binding& b = bindings[e.set];
  if (!b.root) return;
  if (e.path().size() == 1 && e.path()[0] == FLM_RECID_FIELD) {
    out->push_back(Operand{Operand::Number, b.drn, 0, {}});
    return;
  }
  forEachOnPath(b.root, e.path(), [&](const Node* field) {
    Operand o;
    if (operandOf(field, &o)) out->push_back(std::move(o));
  });
}

void Evaluator::values(int node, const Binding* bindings, std::vector<Operand>* out) const {
  out->clear();
  const Expr& e = criteria_.nodes[node];
  if (e.kind == Expr::Field || e.kind == Expr::Value)
    leafValues(e, bindings, out);
  else
    computedValues(node, bindings, out);
}

// Arithmetic nests as deep as it was written, so its operands are worked out
// from a stack of our own: each operator's operands before the operator.
void Evaluator::computedValues(int root, const Binding* bindings,
                               std::vector<Operand>* out) const {
  struct Step {
    int node;
    bool operandsDone;
  };
  std::vector<Step> todo{{root, false}};
  std::vector<std::vector<Operand>> done;
  while (!todo.empty()) {
    Step step = todo.back();
    todo.pop_back();
    const Expr& e = criteria_.nodes[step.node];
    if (e.kind == Expr::Field || e.kind == Expr::Value) {
      done.emplace_back();
      leafValues(e, bindings, &done.back());
    } else if (!step.operandsDone) {
      todo.push_back({step.node, true});
      for (size_t k = e.kids.size(); k-- > 0;) todo.push_back({e.kids[k], false});
    } else if (e.kind == Expr::Unary) {
      negateAll(&done.back());
    } else {
      std::vector<Operand> right = std::move(done.back());
      done.pop_back();
      combineAll(e.op, &done.back(), right);
    }
  }
  *out = std::move(done.back());
}

void Evaluator::negateAll(std::vector<Operand>* operands) {
  for (Operand& o : *operands) {
    int64_t n;
    if (numeric(o, &n))
      o = Operand{Operand::Number, static_cast<int64_t>(0 - static_cast<uint64_t>(n)), 0, {}};
    else if (o.kind == Operand::Real)
      o.real = -o.real;
  }
}

// Every value of the left side with every value of the right, in place of the
// left side's values.
void Evaluator::combineAll(uint16_t op, std::vector<Operand>* left,
                           const std::vector<Operand>& right) const {
  std::vector<Operand> combined;
  if (left->size() * right.size() > kMaxCombinations) {
    cutShort_ = true;
  } else {
    Operand r;
    for (const Operand& a : *left)
      for (const Operand& b : right)
        if (arithmetic(op, a, b, &r)) combined.push_back(r);
  }
  *left = std::move(combined);
}

namespace {

// And, or and not: what combines truths rather than values.
bool isConnective(const Expr& e) {
  return e.kind == Expr::All || e.kind == Expr::Any ||
         (e.kind == Expr::Unary && e.op == FLM_NOT_OP);
}

}  // namespace

Truth Evaluator::truth(int node, const Binding* bindings) const {
  return isConnective(criteria_.nodes[node]) ? connectiveTruth(node, bindings)
                                             : simpleTruth(node, bindings);
}

// Connectives nest as deep as they were written, so they are walked with a
// stack of our own. An and stops at its first false term, an or at its first
// true one.
Truth Evaluator::connectiveTruth(int root, const Binding* bindings) const {
  struct Open {
    int node;
    uint32_t next;  // the next term to evaluate
    Truth sofar;
  };
  auto open = [&](int n) {
    return Open{n, 0, criteria_.nodes[n].kind == Expr::Any ? Truth::False : Truth::True};
  };
  SmallVector<Open, 16> stack{open(root)};
  Truth answer = Truth::Unknown;
  bool answered = false;  // `answer` is the truth of the top's last term
  for (;;) {
    Open& top = stack.back();
    const Expr& e = criteria_.nodes[top.node];
    if (answered && fold(e, answer, &top.sofar)) top.next = static_cast<uint32_t>(e.kids.size());
    answered = false;
    if (top.next < e.kids.size()) {
      int term = e.kids[top.next++];
      if (isConnective(criteria_.nodes[term])) {
        stack.push_back(open(term));
      } else {
        answer = simpleTruth(term, bindings);
        answered = true;
      }
      continue;
    }
    answer = top.sofar;
    stack.pop_back();
    if (stack.empty()) return answer;
    answered = true;
  }
}

// Folds one term's truth into a connective's; true when that decides it.
bool Evaluator::fold(const Expr& connective, Truth term, Truth* sofar) {
  if (connective.kind == Expr::Unary) {
    *sofar = negate(term);
    return true;
  }
  Truth deciding = connective.kind == Expr::All ? Truth::False : Truth::True;
  if (term == deciding) {
    *sofar = deciding;
    return true;
  }
  if (term == Truth::Unknown) *sofar = Truth::Unknown;
  return false;
}

Truth Evaluator::simpleTruth(int node, const Binding* bindings) const {
  const Expr& e = criteria_.nodes[node];
  if (e.kind == Expr::Binary && isComparisonOp(e.op)) {
    std::vector<Operand> left, right;
    values(e.kids[0], bindings, &left);
    values(e.kids[1], bindings, &right);
    return compare(e.op, left, right);
  }
  // A value where a truth is wanted: true when any of its values is set.
  std::vector<Operand> vals;
  values(node, bindings, &vals);
  for (const Operand& o : vals)
    if (e.kind == Expr::Field || nonZero(o)) return Truth::True;
  return Truth::False;
}

Truth Evaluator::compare(uint16_t op, const std::vector<Operand>& left,
                         const std::vector<Operand>& right) const {
  if (left.empty() || right.empty()) return Truth::Unknown;
  for (const Operand& a : left)
    for (const Operand& b : right)
      if (compareOne(op, a, b)) return Truth::True;
  return Truth::False;
}

bool Evaluator::compareOne(uint16_t op, const Operand& a, const Operand& b) const {
  int64_t x, y;
  if (a.kind == Operand::Text && b.kind == Operand::Text) return compareText(op, a.text, b.text);
  if (a.kind == Operand::Bytes || b.kind == Operand::Bytes)
    return a.kind == b.kind && ordered(op, a.text, b.text);
  if (a.kind == Operand::Real || b.kind == Operand::Real) {
    double p = a.kind == Operand::Real ? a.real : static_cast<double>(a.number);
    double q = b.kind == Operand::Real ? b.real : static_cast<double>(b.number);
    return (a.kind != Operand::Text && b.kind != Operand::Text) && ordered(op, p, q);
  }
  if (numeric(a, &x) && numeric(b, &y) && op != FLM_MATCH_BEGIN_OP && op != FLM_CONTAINS_OP)
    return ordered(op, x, y);
  return compareText(op, asText(a), asText(b));
}

bool Evaluator::compareText(uint16_t op, const std::u16string& a, const std::u16string& b) const {
  switch (op) {
    case FLM_EQ_OP:
      return wildcards_ ? collation_.wildcardMatch(a, b, caseSensitive_)
                        : collation_.equal(a, b, caseSensitive_);
    case FLM_NE_OP: return !collation_.equal(a, b, caseSensitive_);
    case FLM_MATCH_OP: return collation_.wildcardMatch(a, b, caseSensitive_);
    case FLM_MATCH_BEGIN_OP: return collation_.beginsWith(a, b, caseSensitive_);
    case FLM_CONTAINS_OP: return collation_.contains(a, b, caseSensitive_);
    default: return ordered(op, collation_.order(a, b, caseSensitive_), 0);
  }
}

}  // namespace flm
