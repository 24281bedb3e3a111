// How the command holds what the library hands out: every object ends with
// Destroy(), every wide string with SysFreeString, collections are walked
// with GetFirst/GetNext and failures become one line for the user.
#ifndef CORVID_TOOL_LIBRARY_H
#define CORVID_TOOL_LIBRARY_H

#include <corvid5/FlmCursor.h>
#include <corvid5/LanguageWordNet.h>
#include <corvid5/Polylex.h>
#include <corvid5/TopConcept.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "Arguments.h"

namespace corvid {

struct Destroyer {
  template <class T>
  void operator()(T* object) const {
    object->Destroy();
  }
};
template <class T>
using Owned = std::unique_ptr<T, Destroyer>;

template <class Collection, class Element>
Element elementOf(int (Collection::*)(Element**));
template <class Collection>
using ElementOf = decltype(elementOf(&Collection::GetFirst));

// A walk stops at the end of its collection or at a read that failed, and
// answers 0 either way: a damaged database would otherwise print as one that
// holds less. A cursor collection's error tells which; a list of linked top
// concepts has none but knows its count. Each throws Failure naming the
// failure, and lets a walk that reached the end (or stopped early by
// choice) pass.
inline void expectEnd(FlmCursor& collection) {
  // FLAIM's codes for a walk that ran off either end, and for a record that
  // is not there.
  constexpr uint16_t kBofHit = 0xC001, kEofHit = 0xC002, kNotFound = 0xC006;
  const FlmError& error = collection.GetFlmError();
  const uint16_t code = error.GetError();
  if (code != 0 && code != kBofHit && code != kEofHit && code != kNotFound)
    throw Failure{"reading the database failed: " + error.GetMessage()};
}

inline void expectEnd(TopConcepts& collection, long walked) {
  if (auto* cursor = dynamic_cast<FlmCursor*>(&collection)) return expectEnd(*cursor);
  if (walked != collection.GetCount())
    throw Failure{"reading the database failed: only " + std::to_string(walked) + " of " +
                  std::to_string(collection.GetCount()) + " linked top concepts could be read"};
}

// Calls `visit` with each element, which it owns, then expects the end. A
// walk that answers 0 leaves a released element behind, so only the answer
// is trusted.
template <class Collection, class Visit>
void forEach(Collection& collection, Visit&& visit) {
  ElementOf<Collection>* element = nullptr;
  long walked = 0;
  for (int more = collection.GetFirst(&element); more;
       more = collection.GetNext(&element), ++walked)
    visit(Owned<ElementOf<Collection>>(element));
  if constexpr (std::is_base_of_v<FlmCursor, Collection>)
    expectEnd(static_cast<FlmCursor&>(collection));
  else
    expectEnd(collection, walked);
}

// A wide string of the library as UTF-8, freed on the way; "" for null.
std::string takeText(unsigned short* text);

// The database of one run, opened read-only; the engine ends with it.
class Database {
 public:
  // Throws Failure naming the path when it is missing or not a database
  // this library reads.
  explicit Database(const std::string& path);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  Polylex& polylex() { return polylex_; }
  // The wordnet of a language code; Failure when the database has none.
  Owned<LanguageWordNet> language(const std::string& code);
  // Every language wordnet that has a store of its own, in stored order.
  std::vector<Owned<LanguageWordNet>> languages();
  // The language code of a wordnet.
  static std::string codeOf(LanguageWordNet& wordnet);
  // The handle that records and cursors of the storage layer take.
  void* handle();

 private:
  Polylex polylex_;
};

}  // namespace corvid

#endif
