// How the engine compares texts: equality by code units or by case folding,
// order by the root collation (tertiary when case counts, secondary when it
// does not), the wildcard, prefix and substring matches, and the keys that let
// the key table keep texts in that order.
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

  bool ok() const { return tertiary_ && secondary_; }

  // Sort keys compare byte by byte as their texts collate. The secondary key
  // (case ignored) is a prefix of the tertiary one: every text that collates at
  // or after `text` with case ignored has a tertiary key at or after it.
  bool sortKey(const uint16_t* text, size_t units, std::string* key) const;
  bool secondarySortKey(const std::u16string& text, std::string* key) const;
  static bool foldCase(const uint16_t* text, size_t units, std::string* utf8);
  static std::u16string fold(const std::u16string& text);

  // <0, 0, >0 in collation order.
  int order(const std::u16string& a, const std::u16string& b, bool caseSensitive) const;
  bool equal(const std::u16string& a, const std::u16string& b, bool caseSensitive) const;
  // `*` in the pattern matches any run of characters, the empty one included.
  bool wildcardMatch(const std::u16string& text, const std::u16string& pattern,
                     bool caseSensitive) const;
  bool beginsWith(const std::u16string& text, const std::u16string& prefix,
                  bool caseSensitive) const;
  bool contains(const std::u16string& text, const std::u16string& part, bool caseSensitive) const;

 private:
  UCollator* tertiary_;
  UCollator* secondary_;
};

}  // namespace flm

#endif
