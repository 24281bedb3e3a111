// The tables beside the wordnets: relation names and the top ontology.
#include <corvid5/Relations.h>
#include <corvid5/Site.h>
#include <corvid5/TopConcept.h>
#include <corvid5/TopConceptVariant.h>

#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Commands.h"
#include "Json.h"
#include "Library.h"

namespace corvid {

namespace {

struct RelationEntry {
  int id = 0;
  std::string name;
};

int runRelations(const Invocation& run) {
  const Arguments args(run.args, {kDbOption, kJsonOption}, 0);
  Database db(run.databasePath(args));
  Owned<Relations> relations(db.polylex().GetRelations());
  std::vector<RelationEntry> entries;
  forEach(*relations, [&](Owned<Relation> r) {
    entries.push_back({r->GetRelationID(), takeText(r->GetName())});
  });
  if (!args.has("--json")) {
    for (const RelationEntry& e : entries) std::printf("%5d  %s\n", e.id, e.name.c_str());
    return 0;
  }
  JsonWriter json(stdout);
  json.beginObject();
  json.key("relations").beginArray();
  for (const RelationEntry& e : entries) {
    json.beginObject();
    json.key("id").value(e.id);
    json.key("name").value(e.name);
    json.endObject();
  }
  json.endArray();
  json.endObject();
  return 0;
}

struct OntologyNode {
  int32_t id = 0;
  std::string gloss;
  std::vector<std::string> names;  // in the language asked for
  std::vector<int32_t> subs;
  bool hasSuper = false;
};

std::vector<int32_t> subsOf(TopConcept& top) {
  std::vector<int32_t> out;
  LinkedTopConcepts* found = nullptr;
  if (!top.GetSubs(&found)) return out;
  Owned<LinkedTopConcepts> subs(found);
  forEach(*subs, [&](Owned<TopConcept> sub) { out.push_back(sub->GetRecordID()); });
  return out;
}

std::vector<std::string> namesOf(TopConcept& top, uint32_t store) {
  std::vector<std::string> out;
  if (!store) return out;
  Owned<TopConceptVariants> variants(top.GetTopConceptVariants(store));
  forEach(*variants, [&](Owned<TopConceptVariant> variant) {
    out.push_back(takeText(variant->GetLiteral()));
  });
  return out;
}

std::map<int32_t, OntologyNode> readOntology(Polylex& polylex, uint32_t store) {
  std::map<int32_t, OntologyNode> nodes;
  Owned<TopConcepts> all(polylex.GetTopConcepts());
  forEach(*all, [&](Owned<TopConcept> top) {
    OntologyNode& n = nodes[top->GetRecordID()];
    n.id = top->GetRecordID();
    n.gloss = takeText(top->GetGloss());
    n.names = namesOf(*top, store);
    n.subs = subsOf(*top);
    TopConcept* above = nullptr;
    n.hasSuper = top->GetSuper(&above) == 1;
    if (n.hasSuper) above->Destroy();
  });
  return nodes;
}

// The tops of the tree: concepts with no super that no other concept lists
// as a sub.
std::vector<int32_t> roots(const std::map<int32_t, OntologyNode>& nodes) {
  std::set<int32_t> listed;
  for (const auto& [id, n] : nodes) listed.insert(n.subs.begin(), n.subs.end());
  std::vector<int32_t> out;
  for (const auto& [id, n] : nodes)
    if (!n.hasSuper && !listed.count(id)) out.push_back(id);
  return out;
}

struct TreeNode {
  const OntologyNode* node;
  std::vector<TreeNode> subs;
};

class TreeBuilder {
 public:
  explicit TreeBuilder(const std::map<int32_t, OntologyNode>& nodes) : nodes_(nodes) {}

  std::vector<TreeNode> build() {
    std::vector<TreeNode> top;
    for (int32_t id : roots(nodes_)) place(id, top);
    for (const auto& [id, n] : nodes_) place(id, top);
    return top;
  }

 private:
  // Each concept once, under the first concept found to list it. What a
  // cycle keeps out of reach of the roots is placed at the top as well.
  void place(int32_t id, std::vector<TreeNode>& into) {
    auto found = nodes_.find(id);
    if (found == nodes_.end() || !placed_.insert(id).second) return;
    into.push_back({&found->second, {}});
    // `into` may grow while the subs are placed; keep to the index.
    const size_t at = into.size() - 1;
    std::vector<TreeNode> subs;
    for (int32_t sub : found->second.subs) place(sub, subs);
    into[at].subs = std::move(subs);
  }

  const std::map<int32_t, OntologyNode>& nodes_;
  std::set<int32_t> placed_;
};

void printTree(const std::vector<TreeNode>& tree, int depth) {
  for (const TreeNode& t : tree) {
    const OntologyNode& n = *t.node;
    std::printf("%*s@%d@", depth * 2, "", n.id);
    for (size_t i = 0; i < n.names.size(); ++i)
      std::printf("%s%s", i ? ", " : " ", n.names[i].c_str());
    if (!n.gloss.empty()) std::printf(" -- %s", n.gloss.c_str());
    std::printf("\n");
    printTree(t.subs, depth + 1);
  }
}

void writeTree(JsonWriter& json, const std::vector<TreeNode>& tree) {
  json.beginArray();
  for (const TreeNode& t : tree) {
    json.beginObject();
    json.key("id").value(t.node->id);
    json.key("names").values(t.node->names);
    json.key("gloss").value(t.node->gloss);
    json.key("subs");
    writeTree(json, t.subs);
    json.endObject();
  }
  json.endArray();
}

// The names come in the language asked for, else in the site's language
// when the database has a wordnet of it.
uint32_t namingStore(Database& db, const Arguments& args) {
  if (args.has("--lang")) return db.language(args.value("--lang"))->GetStoreID();
  Owned<Site> site(db.polylex().GetSite());
  const std::string code = takeText(site->GetLanguageCode());
  for (Owned<LanguageWordNet>& wordnet : db.languages())
    if (Database::codeOf(*wordnet) == code) return wordnet->GetStoreID();
  return 0;
}

int runOntology(const Invocation& run) {
  const Arguments args(run.args, {kDbOption, kJsonOption, {"--lang", Option::kValue}}, 0);
  Database db(run.databasePath(args));
  const std::map<int32_t, OntologyNode> nodes = readOntology(db.polylex(), namingStore(db, args));
  const std::vector<TreeNode> tree = TreeBuilder(nodes).build();
  if (!args.has("--json")) {
    printTree(tree, 0);
    return 0;
  }
  JsonWriter json(stdout);
  json.beginObject();
  json.key("concepts");
  writeTree(json, tree);
  json.endObject();
  return 0;
}

}  // namespace

const Command kRelationsCommand = {
    "relations", "relations [--json]",
    "The relations that link meanings within a language: id and name.\n", runRelations};

const Command kOntologyCommand = {
    "ontology", "ontology [--lang CODE] [--json]",
    "The top ontology as a tree: each concept's id, its names in the language given\n"
    "(else the site's language) and its gloss, its sub concepts beneath it.\n",
    runOntology};

}  // namespace corvid
