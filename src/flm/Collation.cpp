#include "flm/Collation.h"

#include <unicode/ucol.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <vector>

#include "flm/Unicode.h"

namespace flm {
namespace {

const UChar* uchars(const uint16_t* text) { return reinterpret_cast<const UChar*>(text); }

// Most words are ASCII, whose case folding is lower-casing A to Z.
bool isAscii(const std::u16string& text) {
  for (char16_t c : text)
    if (c >= 0x80) return false;
  return true;
}

char16_t lowerAscii(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }
int32_t length(const std::u16string& s) { return static_cast<int32_t>(s.size()); }

// The root collation: one order for every language's words, so that a
// database sorts the same wherever it is opened.
UCollator* openCollator(UColAttributeValue strength) {
  UErrorCode status = U_ZERO_ERROR;
  UCollator* c = ucol_open("", &status);
  if (U_FAILURE(status)) {
    ucol_close(c);
    return nullptr;
  }
  ucol_setStrength(c, strength);
  return c;
}

bool keyOf(const UCollator* c, const UChar* text, int32_t units, std::string* key) {
  if (!c) return false;
  uint8_t local[256];
  int32_t needed = ucol_getSortKey(c, text, units, local, sizeof local);
  if (needed <= 0) return false;
  // The terminating zero byte is left out: it adds nothing to the order.
  if (needed <= static_cast<int32_t>(sizeof local)) {
    key->assign(reinterpret_cast<char*>(local), static_cast<size_t>(needed - 1));
    return true;
  }
  std::vector<uint8_t> big(static_cast<size_t>(needed));
  ucol_getSortKey(c, text, units, big.data(), needed);
  key->assign(reinterpret_cast<char*>(big.data()), static_cast<size_t>(needed - 1));
  return true;
}

// Two-pointer glob match that backtracks to the last star.
bool glob(const std::u16string& t, const std::u16string& p) {
  size_t ti = 0, pi = 0, star = std::u16string::npos, mark = 0;
  while (ti < t.size()) {
    if (pi < p.size() && p[pi] == u'*') {
      star = pi++;
      mark = ti;
    } else if (pi < p.size() && p[pi] == t[ti]) {
      ++pi;
      ++ti;
    } else if (star != std::u16string::npos) {
      pi = star + 1;
      ti = ++mark;
    } else {
      return false;
    }
  }
  while (pi < p.size() && p[pi] == u'*') ++pi;
  return pi == p.size();
}

}  // namespace

Collation::Collation()
    : tertiary_(openCollator(UCOL_TERTIARY)), secondary_(openCollator(UCOL_SECONDARY)) {}

Collation::~Collation() {
  ucol_close(tertiary_);
  ucol_close(secondary_);
}

bool Collation::sortKey(const uint16_t* text, size_t units, std::string* key) const {
  return keyOf(tertiary_, uchars(text), static_cast<int32_t>(units), key);
}

bool Collation::secondarySortKey(const std::u16string& text, std::string* key) const {
  return keyOf(secondary_, text.data(), length(text), key);
}

std::u16string Collation::fold(const std::u16string& text) {
  if (isAscii(text)) {
    std::u16string lower(text);
    for (char16_t& c : lower) c = lowerAscii(c);
    return lower;
  }
  std::u16string out(text.size() * 3 + 1, u'\0');
  UErrorCode status = U_ZERO_ERROR;
  int32_t n = u_strFoldCase(out.data(), length(out), text.data(), length(text),
                            U_FOLD_CASE_DEFAULT, &status);
  if (U_FAILURE(status)) return text;
  out.resize(static_cast<size_t>(n));
  return out;
}

bool Collation::foldCase(const uint16_t* text, size_t units, std::string* utf8) {
  std::u16string folded = fold(std::u16string(reinterpret_cast<const char16_t*>(text), units));
  return utf16ToUtf8(reinterpret_cast<const uint16_t*>(folded.data()), folded.size(), utf8);
}

int Collation::order(const std::u16string& a, const std::u16string& b, bool caseSensitive) const {
  return ucol_strcoll(caseSensitive ? tertiary_ : secondary_, a.data(), length(a), b.data(),
                      length(b));
}

bool Collation::equal(const std::u16string& a, const std::u16string& b, bool caseSensitive) const {
  if (caseSensitive) return a == b;
  if (isAscii(a) && isAscii(b))
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char16_t x, char16_t y) { return lowerAscii(x) == lowerAscii(y); });
  return fold(a) == fold(b);
}

bool Collation::wildcardMatch(const std::u16string& text, const std::u16string& pattern,
                              bool caseSensitive) const {
  return caseSensitive ? glob(text, pattern) : glob(fold(text), fold(pattern));
}

bool Collation::beginsWith(const std::u16string& text, const std::u16string& prefix,
                           bool caseSensitive) const {
  if (caseSensitive) return text.compare(0, prefix.size(), prefix) == 0;
  std::u16string t = fold(text), p = fold(prefix);
  return t.compare(0, p.size(), p) == 0;
}

bool Collation::contains(const std::u16string& text, const std::u16string& part,
                         bool caseSensitive) const {
  if (caseSensitive) return text.find(part) != std::u16string::npos;
  return fold(text).find(fold(part)) != std::u16string::npos;
}

}  // namespace flm
