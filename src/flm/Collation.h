// Unicode text keys: the collation order (an ICU sort key, comparable byte by
// byte) and the case-folded form that case-insensitive equality uses.
#ifndef CORVID5_FLM_COLLATION_H
#define CORVID5_FLM_COLLATION_H

#include <cstdint>
#include <string>

struct UCollator;

namespace flm {

class Collation {
 public:
  Collation();
  ~Collation();
  Collation(const Collation&) = delete;
  Collation& operator=(const Collation&) = delete;

  bool ok() const { return collator_ != nullptr; }
  // Appends nothing and returns false on a conversion failure.
  bool sortKey(const uint16_t* text, size_t units, std::string* key) const;
  static bool foldCase(const uint16_t* text, size_t units, std::string* utf8);

 private:
  UCollator* collator_;
};

}  // namespace flm

#endif
