// How the command holds what the library hands out: every object ends with
// Destroy(), every wide string with SysFreeString, collections are walked
// with GetFirst/GetNext and failures become one line for the user.
#ifndef CORVID_TOOL_LIBRARY_H
#define CORVID_TOOL_LIBRARY_H

#include <corvid5/LanguageWordNet.h>
#include <corvid5/Polylex.h>

#include <memory>
#include <string>
#include <vector>

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

// Calls `visit` with each element, which it owns. A walk that answers 0
// leaves a released element behind, so only the answer is trusted.
template <class Collection, class Visit>
void forEach(Collection& collection, Visit&& visit) {
  ElementOf<Collection>* element = nullptr;
  for (int more = collection.GetFirst(&element); more; more = collection.GetNext(&element))
    visit(Owned<ElementOf<Collection>>(element));
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
