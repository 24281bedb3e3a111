// Evaluates parsed criteria against records, one record per context set.
// Truth has three values: a comparison with a field the record lacks is
// unknown, and only a true criteria selects a record.
#ifndef CORVID5_FLM_EVALUATOR_H
#define CORVID5_FLM_EVALUATOR_H

#include <vector>

#include "flm/Collation.h"
#include "flm/Criteria.h"
#include "flm/Node.h"

namespace flm {

enum class Truth : uint8_t { False, True, Unknown };

constexpr int kMaxSets = 9;  // the cursor's own source and eight context sets

struct Binding {
  const Node* root = nullptr;
  uint32_t drn = 0;
};

class Evaluator {
 public:
  Evaluator(const ParsedCriteria& criteria, const Collation& collation, bool caseSensitive,
            bool wildcards)
      : criteria_(criteria), collation_(collation), caseSensitive_(caseSensitive),
        wildcards_(wildcards) {}

  Truth truth(int node, const Binding* bindings) const;
  // Every value the expression takes for these records (one per occurrence of
  // each field it reads).
  void values(int node, const Binding* bindings, std::vector<Operand>* out) const;
  // Arithmetic combines every value of one side with every value of the
  // other, which a few fields of many occurrences multiply past any memory:
  // past this many combinations the expression takes no value, and the
  // evaluation is marked as cut short.
  static constexpr size_t kMaxCombinations = size_t{1} << 16;
  bool cutShort() const { return cutShort_; }

 private:
  void leafValues(const Expr& e, const Binding* bindings, std::vector<Operand>* out) const;
  void computedValues(int root, const Binding* bindings, std::vector<Operand>* out) const;
  static void negateAll(std::vector<Operand>* operands);
  void combineAll(uint16_t op, std::vector<Operand>* left, const std::vector<Operand>& right) const;
  Truth connectiveTruth(int root, const Binding* bindings) const;
  static bool fold(const Expr& connective, Truth term, Truth* sofar);
  // A comparison, or a value standing for a truth.
  Truth simpleTruth(int node, const Binding* bindings) const;
  Truth compare(uint16_t op, const std::vector<Operand>& left,
                const std::vector<Operand>& right) const;
  bool compareOne(uint16_t op, const Operand& a, const Operand& b) const;
  bool compareText(uint16_t op, const std::u16string& a, const std::u16string& b) const;

  const ParsedCriteria& criteria_;
  const Collation& collation_;
  bool caseSensitive_;
  bool wildcards_;
  mutable bool cutShort_ = false;
};

// A field's value as an operand; false for a field whose value can't take part.
bool operandOf(const Node* field, Operand* out);
// Reads digit-only text (a leading minus allowed) as a number.
bool textAsNumber(const std::u16string& text, int64_t* out);

}  // namespace flm

#endif
