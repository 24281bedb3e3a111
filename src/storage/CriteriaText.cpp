// Where the criteria language stops reading a criteria string, found by
// reading it as FlmCursor::SetCriteria does.
#include <corvid5/CriteriaText.h>

#include <cstring>
#include <vector>

#include "storage/CriteriaTokenizer.h"

size_t CriteriaReadLength(const char* criteria) {
  if (!criteria) return 0;
  const uint16_t size = storage::criteriaBufferSize(std::strlen(criteria));
  std::vector<char> buffer(size);
  storage::CriteriaTokenizer tokens(criteria, buffer.data(), size);
  while (tokens.read() != 0) continue;
  return static_cast<size_t>(tokens.tokenStart() - criteria);
}
