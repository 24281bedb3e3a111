#include "flm/Evaluator.h"

#include <string>

#include "flm/IndexKeys.h"
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

void Evaluator::values(int node, const Binding* bindings, std::vector<Operand>* out) const {
  out->clear();
  const Expr& e = criteria_.nodes[node];
  if (e.kind == Expr::Value) {
    out->push_back(e.value());
    return;
  }
  if (e.kind == Expr::Field) {
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
    return;
  }
  if (e.kind == Expr::Unary && e.op == FLM_MINUS_OP) {
    values(e.kids[0], bindings, out);
    for (Operand& o : *out) {
      int64_t n;
      if (numeric(o, &n)) o = Operand{Operand::Number, static_cast<int64_t>(0 - static_cast<uint64_t>(n)), 0, {}};
      else if (o.kind == Operand::Real) o.real = -o.real;
    }
    return;
  }
  std::vector<Operand> left, right;
  values(e.kids[0], bindings, &left);
  values(e.kids[1], bindings, &right);
  if (left.size() * right.size() > kMaxCombinations) {
    cutShort_ = true;
    return;
  }
  Operand r;
  for (const Operand& a : left)
    for (const Operand& b : right)
      if (arithmetic(e.op, a, b, &r)) out->push_back(r);
}

Truth Evaluator::truth(int node, const Binding* bindings) const {
  const Expr& e = criteria_.nodes[node];
  switch (e.kind) {
    case Expr::All: {
      Truth result = Truth::True;
      for (int kid : e.kids) {
        Truth t = truth(kid, bindings);
        if (t == Truth::False) return Truth::False;
        if (t == Truth::Unknown) result = Truth::Unknown;
      }
      return result;
    }
    case Expr::Any: {
      Truth result = Truth::False;
      for (int kid : e.kids) {
        Truth t = truth(kid, bindings);
        if (t == Truth::True) return Truth::True;
        if (t == Truth::Unknown) result = Truth::Unknown;
      }
      return result;
    }
    case Expr::Unary:
      if (e.op == FLM_NOT_OP) return negate(truth(e.kids[0], bindings));
      break;
    case Expr::Binary:
      if (isComparisonOp(e.op)) {
        std::vector<Operand> left, right;
        values(e.kids[0], bindings, &left);
        values(e.kids[1], bindings, &right);
        return compare(e.op, left, right);
      }
      break;
    default:
      break;
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
