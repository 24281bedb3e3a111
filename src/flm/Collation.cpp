#include "flm/Collation.h"

#include "flm/Unicode.h"

#include <unicode/ucol.h>
#include <unicode/ustring.h>

#include <vector>

namespace flm {
namespace {

const UChar* uchars(const uint16_t* text) { return reinterpret_cast<const UChar*>(text); }

}  // namespace

Collation::Collation() {
  UErrorCode status = U_ZERO_ERROR;
  // The root collation: one order for every language's words, so that a
  // database sorts the same wherever it is opened.
  collator_ = ucol_open("", &status);
  if (U_FAILURE(status)) {
    ucol_close(collator_);
    collator_ = nullptr;
  }
}

Collation::~Collation() { ucol_close(collator_); }

bool Collation::sortKey(const uint16_t* text, size_t units, std::string* key) const {
  if (!collator_) return false;
  int32_t length = static_cast<int32_t>(units);
  uint8_t local[256];
  int32_t needed = ucol_getSortKey(collator_, uchars(text), length, local, sizeof local);
  if (needed <= 0) return false;
  if (needed <= static_cast<int32_t>(sizeof local)) {
    key->assign(reinterpret_cast<char*>(local), static_cast<size_t>(needed - 1));
    return true;
  }
  std::vector<uint8_t> big(static_cast<size_t>(needed));
  ucol_getSortKey(collator_, uchars(text), length, big.data(), needed);
  // The terminating zero byte is left out: it adds nothing to the order.
  key->assign(reinterpret_cast<char*>(big.data()), static_cast<size_t>(needed - 1));
  return true;
}

bool Collation::foldCase(const uint16_t* text, size_t units, std::string* utf8) {
  int32_t length = static_cast<int32_t>(units);
  std::vector<UChar> folded(units * 3 + 1);
  UErrorCode status = U_ZERO_ERROR;
  int32_t n = u_strFoldCase(folded.data(), static_cast<int32_t>(folded.size()), uchars(text),
                            length, U_FOLD_CASE_DEFAULT, &status);
  if (U_FAILURE(status)) return false;
  return utf16ToUtf8(reinterpret_cast<const uint16_t*>(folded.data()), static_cast<size_t>(n), utf8);
}

}  // namespace flm
