// The five moves of a cursor collection, checked against the collection's
// own forward walk: each move reads the record its name says, and a move
// that reads nothing answers 0 with its released element still in the
// out-argument (set before the read, never reset).
#ifndef CORVID5_TESTS_COLLECTIONMOVES_H
#define CORVID5_TESTS_COLLECTIONMOVES_H

#include <gtest/gtest.h>
#include <stdint.h>

#include <cstddef>
#include <iterator>
#include <typeinfo>
#include <utility>
#include <vector>

namespace collectionmoves {

// The record number a move reads, 0 when it reads none.
template <class E, class C>
uint32_t moved(C& collection, int (C::*move)(E**)) {
  E* out = nullptr;
  const int found = (collection.*move)(&out);
  EXPECT_NE(out, nullptr) << "the element goes into the out-argument before the read";
  if (!found) return 0;
  const uint32_t id = out->GetID();
  out->Destroy();
  return id;
}

// Walks `collection` with GetNext from where it stands (a fresh cursor reads
// its first record), then moves from its last record back and forth. A walk
// of two records already tells every move apart.
template <class E, class C>
void expectMovesFollowTheWalk(C& collection) {
  SCOPED_TRACE(typeid(C).name());
  std::vector<uint32_t> walked;
  for (uint32_t id = moved<E, C>(collection, &C::GetNext); id != 0;
       id = moved<E, C>(collection, &C::GetNext))
    walked.push_back(id);
  ASSERT_GE(walked.size(), 2u);
  EXPECT_EQ(static_cast<size_t>(collection.GetCount()), walked.size());
  const size_t last = walked.size() - 1;
  const std::pair<int (C::*)(E**), uint32_t> steps[] = {{&C::GetLast, walked[last]},
                                                        {&C::GetPrevious, walked[last - 1]},
                                                        {&C::GetCurrent, walked[last - 1]},
                                                        {&C::GetNext, walked[last]},
                                                        {&C::GetNext, 0},
                                                        {&C::GetFirst, walked[0]},
                                                        {&C::GetPrevious, 0}};
  for (size_t i = 0; i < std::size(steps); ++i)
    EXPECT_EQ((moved<E, C>(collection, steps[i].first)), steps[i].second) << "step " << i;
}

// On a set with nothing in it every move misses.
template <class E, class C>
void expectEveryMoveMisses(C& collection) {
  SCOPED_TRACE(typeid(C).name());
  EXPECT_EQ(static_cast<size_t>(collection.GetCount()), 0u);
  for (auto move : {&C::GetFirst, &C::GetNext, &C::GetPrevious, &C::GetLast, &C::GetCurrent})
    EXPECT_EQ((moved<E, C>(collection, move)), 0u);
}

}  // namespace collectionmoves

#endif
