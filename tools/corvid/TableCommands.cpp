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

// The wordnet's own query finds a concept's names through the index of
// top-concept variants; the concept's query names their field alone, which
// no index covers, and so reads every record of the language.
std::vector<std::string> namesOf(TopConcept& top, LanguageWordNet* naming) {
  std::vector<std::string> out;
  if (!naming) return out;
  Owned<TopConceptVariants> variants(
      naming->GetTopConceptVariants(static_cast<uint32_t>(top.GetRecordID())));
  forEach(*variants, [&](Owned<TopConceptVariant> variant) {
    out.push_back(takeText(variant->GetLiteral()));
  });
  return out;
}

std::map<int32_t, OntologyNode> readOntology(Polylex& polylex, LanguageWordNet* naming) {
  std::map<int32_t, OntologyNode> nodes;
  Owned<TopConcepts> all(polylex.GetTopConcepts());
  forEach(*all, [&](Owned<TopConcept> top) {
    OntologyNode& n = nodes[top->GetRecordID()];
    n.id = top->GetRecordID();
    n.gloss = takeText(top->GetGloss());
    n.names = namesOf(*top, naming);
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

// One concept of the tree as printed: how many concepts stand above it.
struct TreeLine {
  const OntologyNode* node;
  int depth;
};

// The tree in the order it is printed: each concept once, under the first
// concept found to list it, depth first from the roots; what a cycle keeps
// out of reach of the roots starts a tree of its own. The walk keeps its own
// stack, so an ontology of any depth is laid out.
class TreeLayout {
 public:
  explicit TreeLayout(const std::map<int32_t, OntologyNode>& nodes) : nodes_(nodes) {}

  std::vector<TreeLine> lines() {
    for (int32_t id : roots(nodes_)) walkFrom(id);
    for (const auto& [id, n] : nodes_) walkFrom(id);
    return std::move(lines_);
  }

 private:
  struct Step {
    const OntologyNode* node;
    size_t nextSub;
  };

  void walkFrom(int32_t id) {
    enter(id);
    while (!path_.empty()) {
      Step& step = path_.back();
      if (step.nextSub == step.node->subs.size())
        path_.pop_back();
      else
        enter(step.node->subs[step.nextSub++]);
    }
  }

  void enter(int32_t id) {
    auto found = nodes_.find(id);
    if (found == nodes_.end() || !placed_.insert(id).second) return;
    lines_.push_back({&found->second, static_cast<int>(path_.size())});
    path_.push_back({&found->second, 0});
  }

  const std::map<int32_t, OntologyNode>& nodes_;
  std::set<int32_t> placed_;
  std::vector<Step> path_;  // from the root to the concept being walked
  std::vector<TreeLine> lines_;
};

void printTree(const std::vector<TreeLine>& lines) {
  for (const TreeLine& line : lines) {
    const OntologyNode& n = *line.node;
    std::printf("%*s@%d@", line.depth * 2, "", n.id);
    for (size_t i = 0; i < n.names.size(); ++i)
      std::printf("%s%s", i ? ", " : " ", n.names[i].c_str());
    if (!n.gloss.empty()) std::printf(" -- %s", n.gloss.c_str());
    std::printf("\n");
  }
}

// Each concept an object whose "subs" array holds the concepts beneath it:
// an object stays open until a line at its depth or above comes.
void writeTree(JsonWriter& json, const std::vector<TreeLine>& lines) {
  json.beginArray();
  int open = 0;
  auto closeTo = [&](int depth) {
    for (; open > depth; --open) {
      json.endArray();
      json.endObject();
    }
  };
  for (const TreeLine& line : lines) {
    closeTo(line.depth);
    json.beginObject();
    json.key("id").value(line.node->id);
    json.key("names").values(line.node->names);
    json.key("gloss").value(line.node->gloss);
    json.key("subs").beginArray();
    ++open;
  }
  closeTo(0);
  json.endArray();
}

// The names come in the language asked for, else in the site's language
// when the database has a wordnet of it; null when they come in none.
Owned<LanguageWordNet> namingWordNet(Database& db, const Arguments& args) {
  if (args.has("--lang")) return db.language(args.value("--lang"));
  Owned<Site> site(db.polylex().GetSite());
  const std::string code = takeText(site->GetLanguageCode());
  for (Owned<LanguageWordNet>& wordnet : db.languages())
    if (Database::codeOf(*wordnet) == code) return std::move(wordnet);
  return nullptr;
}

int runOntology(const Invocation& run) {
  const Arguments args(run.args, {kDbOption, kJsonOption, {"--lang", Option::kValue}}, 0);
  Database db(run.databasePath(args));
  Owned<LanguageWordNet> naming = namingWordNet(db, args);
  const std::map<int32_t, OntologyNode> nodes = readOntology(db.polylex(), naming.get());
  const std::vector<TreeLine> lines = TreeLayout(nodes).lines();
  if (!args.has("--json")) {
    printTree(lines);
    return 0;
  }
  JsonWriter json(stdout);
  json.beginObject();
  json.key("concepts");
  writeTree(json, lines);
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
