#include "support/Walk.h"

#include <corvid5/corvid5.h>

#include "corvid/Library.h"

namespace clientwalk {
namespace {

constexpr int kMost = 4;

// Language stores of a database built with a few languages, and a store no
// language uses.
constexpr uint32_t kStores[] = {100, 101, 102, 199};

using corvid::Owned;

// Elements read in order since the walk began.
size_t visited = 0;

// One step of the walk: the library's own exceptions end only this step.
template <class Step>
void guarded(Step step) {
  try {
    step();
  } catch (const PLXException&) {
  } catch (const FlmError&) {
  }
}

void read(unsigned short* text) { SysFreeString(text); }

void dump(FlmRecord& record) {
  char buffer[1024];
  record.Format(buffer, sizeof buffer);
}

// The first elements in order, then the last, the one before it and the
// current one; `visit` sees the elements read in order.
template <class E, class C, class Visit>
void walk(C* collection, Visit visit) {
  if (!collection) return;
  Owned<C> owned(collection);
  guarded([&] { collection->GetCount(); });
  E* element = nullptr;
  int n = 0;
  for (int more = collection->GetFirst(&element); more;
       more = ++n < kMost ? collection->GetNext(&element) : 0) {
    Owned<E> taken(element);
    ++visited;
    guarded([&] { visit(*taken); });
  }
  if (collection->GetLast(&element)) Owned<E>{element};
  if (collection->GetPrevious(&element)) Owned<E>{element};
  if (collection->GetCurrent(&element)) Owned<E>{element};
}

template <class E>
void dumpOnly(E& element) {
  dump(element);
}

void visitExamples(Examples& examples) {
  guarded([&] { examples.GetCount(); });
  unsigned short* text = nullptr;
  int n = 0;
  for (int more = examples.GetFirst(&text); more; more = ++n < kMost ? examples.GetNext(&text) : 0)
    read(text);
  if (examples.GetLast(&text)) read(text);
  if (examples.GetPrevious(&text)) read(text);
  VARIANT second;
  VariantInit(&second);
  second.vt = VT_I4;
  second.lVal = 2;
  guarded([&] { read(examples.GetItem(second)); });
}

void visitVariant(ConceptVariant& v) {
  dump(v);
  guarded([&] { read(v.GetLiteral()); });
  guarded([&] { v.GetSense(); });
  guarded([&] { read(v.GetDefinition()); });
  guarded([&] { read(v.GetStatus()); });
  guarded([&] { v.GetPartOfSpeechCode(); });
  guarded([&] { read(v.GetPartOfSpeech()); });
  guarded([&] { v.GetBaseConceptID(); });
  guarded([&] { Owned<Concept>{v.GetBaseConcept()}; });
  guarded([&] {
    Owned<Examples> examples(v.GetExamples());
    if (examples) visitExamples(*examples);
  });
  guarded([&] { read(v.GetUsageLabels()); });
  guarded([&] { read(v.GetFeatures()); });
}

void visitLink(ConceptLink& link) {
  dump(link);
  guarded([&] { link.GetRelation(); });
  guarded([&] { link.GetSourceConceptID(); });
  guarded([&] { link.GetTargetConceptID(); });
  guarded([&] { Owned<Concept>{link.GetSourceConcept()}; });
  guarded([&] { Owned<Concept>{link.GetTargetConcept()}; });
  guarded([&] { Owned<ConceptVariant>{link.GetSourceVariant()}; });
  guarded([&] { Owned<ConceptVariant>{link.GetTargetVariant()}; });
  guarded([&] { link.GetConjunctive(); });
  guarded([&] { link.GetDisjunctive(); });
  guarded([&] { link.GetFactivity(); });
  guarded([&] { link.GetNegative(); });
  guarded([&] { link.GetReversed(); });
}

void visitTopConceptVariant(TopConceptVariant& v) {
  dump(v);
  guarded([&] { read(v.GetLiteral()); });
  guarded([&] { v.GetSense(); });
  guarded([&] { read(v.GetStatus()); });
}

void visitTopConcept(TopConcept& top) {
  dump(top);
  guarded([&] { read(top.GetGloss()); });
  guarded([&] {
    TopConcept* super = nullptr;
    if (top.GetSuper(&super)) Owned<TopConcept>{super};
  });
  for (int (TopConcept::*linked)(LinkedTopConcepts**) :
       {&TopConcept::GetSubs, &TopConcept::GetSimilars, &TopConcept::GetOpposites}) {
    guarded([&] {
      LinkedTopConcepts* list = nullptr;
      if ((top.*linked)(&list)) walk<TopConcept>(list, dumpOnly<TopConcept>);
    });
  }
  for (uint32_t store : kStores) {
    guarded([&] {
      walk<TopConceptVariant>(top.GetTopConceptVariants(store), visitTopConceptVariant);
    });
    guarded([&] { top.GetTopConceptVariantCount(store); });
    guarded([&] { Owned<TopConceptVariant>{top.GetTopConceptVariant(store, 1)}; });
  }
}

void visitIli(ILIRecord& ili) {
  dump(ili);
  guarded([&] { read(ili.GetGloss()); });
  guarded([&] { read(ili.GetPartOfSpeech()); });
  guarded([&] { ili.GetWordNetOffset(); });
  guarded([&] {
    // The record handed in names the index record whose top concept is
    // wanted, as a client passes it.
    auto* top = reinterpret_cast<TopConcept*>(static_cast<FlmRecord*>(&ili));
    if (ili.GetTopConcept(&top)) Owned<TopConcept>{top};
  });
}

void visitConcept(Concept& meaning, LanguageWordNet* wordnet) {
  dump(meaning);
  guarded([&] { meaning.GetType(); });
  guarded([&] { meaning.GetPartOfSpeechCode(); });
  guarded([&] { read(meaning.GetPartOfSpeech()); });
  guarded([&] {
    char pos[4];
    meaning.GetPartOfSpeech(pos, sizeof pos);
  });
  guarded([&] { walk<ConceptVariant>(meaning.GetConceptVariants(), visitVariant); });
  guarded([&] { meaning.GetConceptVariantCount(); });
  guarded([&] { Owned<ConceptVariant>{meaning.GetConceptVariant(1)}; });
  for (short relation : {0, 8, 10}) {
    guarded([&] { walk<ConceptLink>(meaning.GetConceptLinks(relation), visitLink); });
    guarded([&] { walk<Concept>(meaning.GetLinkedConcepts(relation), dumpOnly<Concept>); });
  }
  guarded([&] { walk<Concept>(meaning.GetHyperonyms(), dumpOnly<Concept>); });
  guarded([&] { walk<Concept>(meaning.GetHyponyms(), dumpOnly<Concept>); });
  guarded([&] {
    ILIRecord* ili = nullptr;
    if (!meaning.GetEqSynonym(&ili)) return;
    Owned<ILIRecord> owned(ili);
    visitIli(*ili);
    meaning.GetEqRelation(static_cast<uint32_t>(ili->GetRecordID()));
  });
  guarded([&] {
    ILIRecords* records = nullptr;
    if (meaning.GetILIRecords(1, &records)) walk<ILIRecord>(records, dumpOnly<ILIRecord>);
  });
  guarded([&] {
    char text[2048];
    meaning.Export(text, sizeof text, 0);
  });
  if (wordnet) {
    guarded([&] {
      unsigned short* text = nullptr;
      if (wordnet->ExportConcept(&meaning, &text)) read(text);
    });
  }
}

void visitEntry(DictionaryEntry& entry) {
  dump(entry);
  guarded([&] { read(entry.GetLiteral()); });
  guarded([&] { entry.HasConcepts(); });
  guarded([&] { entry.HasDomains(); });
  guarded([&] { entry.HasILIRecords(); });
  guarded([&] { entry.HasTopConcepts(); });
}

void visitDictionary(LanguageWordNet& wordnet) {
  guarded([&] { walk<DictionaryEntry>(wordnet.GetDictionary(), visitEntry); });
  guarded([&] {
    Owned<Dictionary> dictionary(wordnet.GetDictionary());
    if (!dictionary) return;
    guarded([&] { Owned<DictionaryEntry>{dictionary->GetEntry("dog")}; });
    dictionary->SetFilter("d*", 0);
    DictionaryEntry* entry = nullptr;
    if (dictionary->GetFirst(&entry)) Owned<DictionaryEntry>{entry};
    dictionary->SetFilter("a", "m", 1);
    if (dictionary->GetLast(&entry)) Owned<DictionaryEntry>{entry};
  });
}

void visitWordNet(LanguageWordNet& wordnet) {
  dump(wordnet);
  guarded([&] {
    Owned<Language> language(wordnet.GetLanguage());
    if (!language) return;
    guarded([&] { read(language->GetCode()); });
    guarded([&] { read(language->GetName(nullptr)); });
    guarded([&] { read(language->GetName("en")); });
  });
  guarded([&] {
    walk<Concept>(wordnet.GetConcepts(),
                  [&](Concept& meaning) { visitConcept(meaning, &wordnet); });
  });
  guarded([&] { walk<Concept>(wordnet.GetConcepts("dog"), dumpOnly<Concept>); });
  guarded([&] {
    walk<ConceptVariant>(wordnet.GetConceptVariants("dog"), dumpOnly<ConceptVariant>);
  });
  for (uint32_t id : {1u, 2u, 3u}) {
    guarded([&] { walk<Concept>(wordnet.GetConcepts(id, 0), dumpOnly<Concept>); });
    guarded([&] { walk<ILIVariant>(wordnet.GetILIVariants(id), dumpOnly<ILIVariant>); });
    guarded([&] {
      walk<TopConceptVariant>(wordnet.GetTopConceptVariants(id), visitTopConceptVariant);
    });
  }
  visitDictionary(wordnet);
}

void visitRelations(Relations& relations) {
  guarded([&] { Owned<Relation>{relations.GetItem(8)}; });
  guarded([&] {
    char name[64];
    relations.GetRelationName(8, name, sizeof name);
  });
  guarded([&] {
    char name[] = "hyperonym";
    short id = 0;
    relations.GetRelationID(name, &id);
  });
}

void visitRelation(Relation& relation) {
  dump(relation);
  guarded([&] { read(relation.GetName()); });
}

}  // namespace

size_t walkDatabase(Polylex& polylex) {
  visited = 0;
  guarded([&] {
    Owned<Site> site(polylex.GetSite());
    guarded([&] { read(site->GetName()); });
    guarded([&] { read(site->GetLanguageCode()); });
  });
  guarded([&] { read(polylex.GetPath()); });
  guarded([&] { polylex.GetDataVersion(); });
  guarded([&] { walk<LanguageWordNet>(polylex.GetLanguageWordNets(), visitWordNet); });
  guarded([&] {
    Owned<LanguageWordNets> wordnets(polylex.GetLanguageWordNets());
    guarded([&] { Owned<LanguageWordNet>{wordnets->GetItem("fr")}; });
    guarded([&] { Owned<LanguageWordNet>{wordnets->GetItem(1u)}; });
  });
  guarded([&] {
    Owned<LanguageWordNet> index(polylex.GetILILanguageWordNet());
    visitWordNet(*index);
  });
  guarded([&] { walk<ILIRecord>(polylex.GetILIRecords(), visitIli); });
  guarded([&] {
    Owned<Relations> relations(polylex.GetRelations());
    visitRelations(*relations);
  });
  guarded([&] { walk<Relation>(polylex.GetRelations(), visitRelation); });
  guarded([&] { walk<TopConcept>(polylex.GetTopConcepts(), visitTopConcept); });
  return visited;
}

void walkFile(const char* path) {
  CorvidEngine::GetInstance();
  Polylex polylex;
  try {
    polylex.Open(path, nullptr, 1, 0);
  } catch (const PLXException&) {
    // An older layout leaves the database open; the destructor ends it.
    return;
  }
  walkDatabase(polylex);
  guarded([&] { polylex.Close(); });
}

}  // namespace clientwalk
