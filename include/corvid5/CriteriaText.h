// How much of a criteria string FlmCursor::SetCriteria reads. Its language
// ends the criteria at the first empty token (a bracket where a token would
// begin, an empty quoted string, an escape that yields nothing) and passes
// over the rest without a word, so a caller that means all of its text asks
// here first.
#ifndef CORVID5_CRITERIATEXT_H
#define CORVID5_CRITERIATEXT_H

#include <corvid5/Export.h>
#include <stddef.h>

// The bytes of `criteria` read before the token that ends them: the whole
// length when nothing but white space follows the last token read; 0 for
// null.
CORVID5_API size_t CriteriaReadLength(const char* criteria);

#endif
