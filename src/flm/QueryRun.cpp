#include "flm/QueryRun.h"

#include <algorithm>

#include "flm/Cursor.h"
#include "flm/IndexKeys.h"
#include "flm/KeyProbe.h"
#include "flm/Unicode.h"

namespace flm {
namespace {

// How much a narrowing helps, best last.
enum Rank { kScan = 0, kRange = 2, kPrefix = 3, kEqual = 4, kRecords = 5 };

struct Narrowing {
  int rank = kScan;
  std::vector<uint32_t> drns;
  std::vector<KeyProbe> probes;
  // The records found meet the term exactly, once the listed numbers are
  // known to be records; the term then needs no evaluating.
  bool exact = false;
  int term = -1;  // which of the conjuncts
};

// A key as the key table orders it: numbers (integers and reals by value),
// then texts by sort key, then bytes.
struct OrderKey {
  enum Rank : uint8_t { Number, Text, Bytes } rank = Number;
  bool real = false;
  int64_t integer = 0;
  double value = 0;
  std::string bytes;  // Text: the sort key
  std::string exact;  // Text: the text itself, for texts the collation cannot tell apart
  bool operator<(const OrderKey& o) const {
    if (rank != o.rank) return rank < o.rank;
    if (rank != Number) return bytes != o.bytes ? bytes < o.bytes : exact < o.exact;
    if (!real && !o.real) return integer < o.integer;
    return (real ? value : static_cast<double>(integer)) <
           (o.real ? o.value : static_cast<double>(o.integer));
  }
};

struct Match {
  OrderKey key;
  uint32_t drn;
};

uint16_t flipped(uint16_t op) {
  switch (op) {
    case FLM_LT_OP: return FLM_GT_OP;
    case FLM_LE_OP: return FLM_GE_OP;
    case FLM_GT_OP: return FLM_LT_OP;
    case FLM_GE_OP: return FLM_LE_OP;
    case FLM_EQ_OP: return FLM_EQ_OP;
    default: return 0;
  }
}

bool isRecId(const FieldPath& path) { return path.size() == 1 && path[0] == FLM_RECID_FIELD; }

bool literalNumber(const Operand& v, int64_t* n) {
  if (v.kind == Operand::Number) {
    *n = v.number;
    return true;
  }
  return v.kind == Operand::Text && textAsNumber(v.text, n);
}

SqlParam textParam(const std::u16string& text) {
  SqlParam p{SqlParam::Text, 0, {}};
  utf16ToUtf8(reinterpret_cast<const uint16_t*>(text.data()), text.size(), &p.bytes);
  return p;
}

SqlParam blobParam(std::string bytes) { return {SqlParam::Blob, 0, std::move(bytes)}; }

// Whether an empty text meets `text op v` as the evaluator compares texts.
bool emptyTextMeets(const Collation& c, uint16_t op, const std::u16string& v, bool cs, bool wild) {
  const std::u16string empty;
  switch (op) {
    case FLM_EQ_OP: return wild ? c.wildcardMatch(empty, v, cs) : c.equal(empty, v, cs);
    case FLM_MATCH_OP: return c.wildcardMatch(empty, v, cs);
    case FLM_MATCH_BEGIN_OP: return c.beginsWith(empty, v, cs);
    case FLM_CONTAINS_OP: return c.contains(empty, v, cs);
    case FLM_NE_OP: return !c.equal(empty, v, cs);
    case FLM_LT_OP: return c.order(empty, v, cs) < 0;
    case FLM_LE_OP: return c.order(empty, v, cs) <= 0;
    case FLM_GT_OP: return c.order(empty, v, cs) > 0;
    case FLM_GE_OP: return c.order(empty, v, cs) >= 0;
    default: return true;
  }
}

class QueryRun {
 public:
  explicit QueryRun(const QueryRequest& query)
      : request_(query), criteria_(*query.criteria),
        evaluator_(criteria_, resultDb()->collation(), query.caseSensitive, query.wildcards) {
    for (auto& pool : pools_) poolInit(&pool, 512);
  }
  ~QueryRun() {
    for (auto& pool : pools_) poolFree(&pool);
  }
  QueryRun(const QueryRun&) = delete;
  QueryRun& operator=(const QueryRun&) = delete;

  RCODE run(std::vector<uint32_t>* out);

 private:
  Database* resultDb() const { return request_.sets[request_.resultSet]->db; }
  const Source& source(int set) const { return *request_.sets[set]; }
  const Expr& node(int n) const { return criteria_.nodes[n]; }

  void splitConjuncts();
  uint16_t setMask(int n) const;
  const FieldDef* fieldDef(int set, const FieldPath& path) const;
  bool indexFor(int set, const FieldPath& path, uint16_t* index, uint16_t* component) const;
  Narrowing narrow(int set) const;
  bool narrowTerm(int set, int n, Narrowing* out) const;
  bool narrowSimple(int set, int n, Narrowing* out) const;
  bool narrowComparison(int set, uint16_t op, const FieldPath& path, const Operand& v,
                        Narrowing* out) const;
  bool narrowText(int set, uint16_t op, uint16_t ix, uint16_t comp, const std::u16string& v,
                  Narrowing* out) const;
  KeyProbe prefixProbe(int set, uint16_t ix, uint16_t comp, const std::u16string& prefix) const;
  void chooseOrder();
  int joinTerm(int set, uint16_t bound) const;
  RCODE candidates(int set, uint16_t bound, std::vector<uint32_t>* drns, int* decided);
  RCODE joinCandidates(int set, int term, std::vector<uint32_t>* drns, bool* narrowed,
                       bool* exact) const;
  RCODE existing(int set, std::vector<uint32_t>* drns) const;
  static RCODE existingOneByOne(const Source& src, const std::vector<uint32_t>& drns,
                                std::vector<uint32_t>* found);
  static RCODE existingTogether(const Source& src, bool cached, std::vector<uint32_t>* drns,
                                std::vector<uint32_t>* found);
  RCODE bindFrom(size_t depth, uint16_t bound);
  bool termsHold(int set, uint16_t bound, int decided) const;
  RCODE keep(const Binding& result);
  bool orderApplies() const;
  bool orderSettled() const;
  void findValuesRead();
  RCODE unconditional(std::vector<uint32_t>* out);

  const QueryRequest& request_;
  const ParsedCriteria& criteria_;
  Evaluator evaluator_;
  SmallVector<int, 8> terms_;
  SmallVector<uint16_t, 8> masks_;
  std::array<Narrowing, kMaxSets> narrowings_;
  SmallVector<int, kMaxSets> order_;
  std::array<Binding, kMaxSets> bindings_{};
  std::array<PoolMemoryManager, kMaxSets> pools_{};
  std::vector<Match> matches_;  // with keys to order them by
  std::vector<uint32_t>* found_ = nullptr;  // without
  // Results come in the order of an index's keys, which are not all one.
  bool keyed_ = false;
  // By set: the fields whose values the criteria and the order read.
  std::array<ValueTags, kMaxSets> valuesRead_;
};

void QueryRun::splitConjuncts() {
  if (criteria_.root < 0) return;
  const Expr& root = node(criteria_.root);
  if (root.kind == Expr::All)
    terms_.assign(root.kids.begin(), root.kids.end());
  else
    terms_ = {criteria_.root};
  masks_.reserve(terms_.size());
  for (int t : terms_) masks_.push_back(setMask(t));
}

// The sets whose fields the term reads, found without recursing: terms nest
// as deep as they were written.
uint16_t QueryRun::setMask(int n) const {
  uint16_t mask = 0;
  SmallVector<int, 16> todo{n};
  while (!todo.empty()) {
    const Expr& e = node(todo.back());
    todo.pop_back();
    if (e.kind == Expr::Field) mask |= static_cast<uint16_t>(1u << e.set);
    for (int kid : e.kids) todo.push_back(kid);
  }
  return mask;
}

const FieldDef* QueryRun::fieldDef(int set, const FieldPath& path) const {
  return source(set).db->dictionary().field(path.back());
}

bool QueryRun::indexFor(int set, const FieldPath& path, uint16_t* index,
                        uint16_t* component) const {
  const Source& src = source(set);
  const IndexDef* ix = src.db->dictionary().indexWithComponent(src.container, path, component);
  if (ix) *index = ix->number;
  return ix != nullptr;
}

Narrowing QueryRun::narrow(int set) const {
  Narrowing best;
  for (size_t i = 0; i < terms_.size(); ++i) {
    Narrowing n;
    if (masks_[i] == (1u << set) && narrowTerm(set, terms_[i], &n) && n.rank > best.rank) {
      best = std::move(n);
      best.term = static_cast<int>(i);
    }
  }
  return best;
}

// A union of narrowable comparisons narrows as well as its weakest term. The
// terms of unions within it, however deep, join its own, each once.
bool QueryRun::narrowTerm(int set, int n, Narrowing* out) const {
  if (node(n).kind != Expr::Any) return narrowSimple(set, n, out);
  out->rank = kRecords;
  out->exact = true;
  SmallVector<int, 16> todo{n};
  while (!todo.empty()) {
    int at = todo.back();
    todo.pop_back();
    const Expr& e = node(at);
    if (e.kind == Expr::Any) {
      for (size_t k = e.kids.size(); k-- > 0;) todo.push_back(e.kids[k]);
      continue;
    }
    Narrowing k;
    if (!narrowSimple(set, at, &k)) return false;
    out->rank = std::min(out->rank, k.rank);
    out->exact = out->exact && k.exact;
    out->drns.insert(out->drns.end(), k.drns.begin(), k.drns.end());
    for (KeyProbe& p : k.probes) out->probes.push_back(std::move(p));
  }
  return true;
}

bool QueryRun::narrowSimple(int set, int n, Narrowing* out) const {
  const Expr& e = node(n);
  if (e.kind != Expr::Binary || !isComparisonOp(e.op)) return false;
  const Expr& l = node(e.kids[0]);
  const Expr& r = node(e.kids[1]);
  if (l.kind == Expr::Field && r.kind == Expr::Value)
    return narrowComparison(set, e.op, l.path(), r.value(), out);
  // With wildcards on, a text given before the field is matched against the
  // field's text as a pattern, which no key lookup can answer.
  bool fieldIsPattern = e.op == FLM_EQ_OP && request_.wildcards && l.kind == Expr::Value &&
                        l.value().kind == Operand::Text;
  if (l.kind == Expr::Value && r.kind == Expr::Field && flipped(e.op) && !fieldIsPattern)
    return narrowComparison(set, flipped(e.op), r.path(), l.value(), out);
  return false;
}

bool QueryRun::narrowComparison(int set, uint16_t op, const FieldPath& path, const Operand& v,
                                Narrowing* out) const {
  int64_t number;
  if (isRecId(path)) {
    if (op != FLM_EQ_OP || !literalNumber(v, &number)) return false;
    out->rank = kRecords;
    out->exact = true;
    if (number > 0 && number < 0xFFFFFFFF) out->drns.push_back(static_cast<uint32_t>(number));
    return true;
  }
  uint16_t ix, comp;
  const FieldDef* def = fieldDef(set, path);
  if (!def || !indexFor(set, path, &ix, &comp)) return false;
  if (def->type == FLM_TEXT_TYPE)
    return v.kind == Operand::Text && narrowText(set, op, ix, comp, v.text, out);
  if (def->type == FLM_BINARY_TYPE || def->type == FLM_REAL_TYPE || !literalNumber(v, &number))
    return false;
  SqlParam p{SqlParam::Integer, number, {}};
  uint32_t store = source(set).store;
  if (op == FLM_EQ_OP) {
    out->rank = kEqual;
    out->exact = true;
    out->probes.push_back(probeEqual(ix, store, comp, KeyColumn::Exact, p));
    return true;
  }
  if (op < FLM_LT_OP || op > FLM_GE_OP) return false;
  bool below = op == FLM_LT_OP || op == FLM_LE_OP;
  bool inclusive = op == FLM_LE_OP || op == FLM_GE_OP;
  out->rank = kRange;
  out->probes.push_back(probeRange(ix, store, comp, KeyColumn::Exact, below ? nullptr : &p,
                                   inclusive, below ? &p : nullptr, inclusive));
  return true;
}

KeyProbe QueryRun::prefixProbe(int set, uint16_t ix, uint16_t comp,
                               const std::u16string& prefix) const {
  bool cs = request_.caseSensitive;
  SqlParam low = textParam(cs ? prefix : Collation::fold(prefix));
  SqlParam high{SqlParam::Text, 0, prefixSuccessor(low.bytes)};
  return probeRange(ix, source(set).store, comp, cs ? KeyColumn::Exact : KeyColumn::Folded, &low,
                    true, high.bytes.empty() ? nullptr : &high, false);
}

bool QueryRun::narrowText(int set, uint16_t op, uint16_t ix, uint16_t comp,
                          const std::u16string& v, Narrowing* out) const {
  bool cs = request_.caseSensitive;
  uint32_t store = source(set).store;
  // An empty text has no key, so no probe can find what the empty text meets.
  if (emptyTextMeets(source(set).db->collation(), op, v, cs, request_.wildcards)) return false;
  size_t star = v.find(u'*');
  bool wild = op == FLM_MATCH_OP || (op == FLM_EQ_OP && request_.wildcards);
  if ((op == FLM_EQ_OP || op == FLM_MATCH_OP) && !(wild && star != std::u16string::npos)) {
    out->rank = kEqual;
    out->exact = true;
    out->probes.push_back(probeEqual(ix, store, comp, cs ? KeyColumn::Exact : KeyColumn::Folded,
                                     textParam(cs ? v : Collation::fold(v))));
    return true;
  }
  if (op == FLM_EQ_OP || op == FLM_MATCH_OP || op == FLM_MATCH_BEGIN_OP) {
    std::u16string prefix = op == FLM_MATCH_BEGIN_OP ? v : v.substr(0, star);
    if (prefix.empty()) return false;
    out->rank = kPrefix;
    out->probes.push_back(prefixProbe(set, ix, comp, prefix));
    return true;
  }
  if (op < FLM_LT_OP || op > FLM_GE_OP) return false;
  const Collation& coll = source(set).db->collation();
  std::string key;
  bool made = cs ? coll.sortKey(reinterpret_cast<const uint16_t*>(v.data()), v.size(), &key)
                 : coll.secondarySortKey(v, &key);
  if (!made) return false;
  // Without case, the secondary key bounds every tertiary key of the texts
  // that collate equal to `v` from below, and its successor from above.
  bool below = op == FLM_LT_OP || op == FLM_LE_OP;
  bool inclusive = cs ? (op == FLM_LE_OP || op == FLM_GE_OP) : !below;
  if (!cs && op == FLM_LE_OP) {
    key = prefixSuccessor(key);
    if (key.empty()) return false;
  }
  SqlParam bound = blobParam(key);
  out->rank = kRange;
  out->probes.push_back(probeRange(ix, store, comp, KeyColumn::SortKey,
                                   below ? nullptr : &bound, inclusive,
                                   below ? &bound : nullptr, inclusive));
  return true;
}

// An equality between a field of `set` and a field of a bound set, where
// `set`'s side is its record number or an indexed field.
int QueryRun::joinTerm(int set, uint16_t bound) const {
  for (size_t i = 0; i < terms_.size(); ++i) {
    const Expr& e = node(terms_[i]);
    if (e.kind != Expr::Binary || e.op != FLM_EQ_OP || !(masks_[i] & (1u << set)) ||
        !(masks_[i] & bound) || (masks_[i] & ~(bound | (1u << set))))
      continue;
    for (int side = 0; side < 2; ++side) {
      const Expr& mine = node(e.kids[side]);
      const Expr& other = node(e.kids[1 - side]);
      uint16_t ix, comp;
      if (mine.kind == Expr::Field && other.kind == Expr::Field && mine.set == set &&
          other.set != set && (isRecId(mine.path()) || indexFor(set, mine.path(), &ix, &comp)))
        return static_cast<int>(i);
    }
  }
  return -1;
}

// `*narrowed` is false when some value of the bound side cannot be looked up,
// and the set's candidates must then be found without the join.
RCODE QueryRun::joinCandidates(int set, int term, std::vector<uint32_t>* drns, bool* narrowed,
                               bool* exact) const {
  *narrowed = true;
  *exact = true;
  const Expr& e = node(terms_[term]);
  int mine = node(e.kids[0]).set == set ? e.kids[0] : e.kids[1];
  int other = mine == e.kids[0] ? e.kids[1] : e.kids[0];
  std::vector<Operand> values;
  evaluator_.values(other, bindings_.data(), &values);
  const FieldPath& path = node(mine).path();
  if (isRecId(path)) {
    int64_t n;
    for (const Operand& v : values) {
      // A real may equal a record number without reading as one.
      if (v.kind == Operand::Real) {
        *narrowed = false;
        return FERR_OK;
      }
      if (literalNumber(v, &n) && n > 0 && n < 0xFFFFFFFF) drns->push_back(static_cast<uint32_t>(n));
    }
    return existing(set, drns);
  }
  for (const Operand& v : values) {
    Narrowing n;
    // As with a literal, a text on the left is matched against this set's
    // text as a pattern when wildcards are on.
    bool patternIsMine = request_.wildcards && mine == e.kids[1] && v.kind == Operand::Text;
    if (patternIsMine || !narrowComparison(set, FLM_EQ_OP, path, v, &n)) {
      *narrowed = false;
      return FERR_OK;
    }
    *exact = *exact && n.exact;
    for (const KeyProbe& p : n.probes) {
      RCODE rc = runProbe(source(set).db, p, request_.cacheProbes, drns);
      if (rc) return rc;
    }
  }
  return FERR_OK;
}

// Keeps the numbers that name records of the set, so that what the key table
// did not find is known to exist without reading it. Records kept from
// earlier reads need no asking.
RCODE QueryRun::existing(int set, std::vector<uint32_t>* drns) const {
  const Source& src = source(set);
  auto kept = [&](uint32_t drn) { return src.db->kept(src.store, src.container, drn); };
  if (std::all_of(drns->begin(), drns->end(), kept)) return FERR_OK;
  std::vector<uint32_t> found, unknown;
  found.reserve(drns->size());
  for (uint32_t drn : *drns) (kept(drn) ? found : unknown).push_back(drn);
  RCODE rc = unknown.size() < 4 ? existingOneByOne(src, unknown, &found)
                                : existingTogether(src, request_.cacheProbes, &unknown, &found);
  if (!rc) *drns = std::move(found);
  return rc;
}

RCODE QueryRun::existingOneByOne(const Source& src, const std::vector<uint32_t>& drns,
                                 std::vector<uint32_t>* found) {
  for (uint32_t drn : drns) {
    bool stored = false;
    RCODE rc = src.db->exists(src.store, src.container, drn, &stored);
    if (rc) return rc;
    if (stored) found->push_back(drn);
  }
  return FERR_OK;
}

RCODE QueryRun::existingTogether(const Source& src, bool cached, std::vector<uint32_t>* drns,
                                 std::vector<uint32_t>* found) {
  // In order, so that each lookup starts near where the last one ended.
  std::sort(drns->begin(), drns->end());
  std::string list = "[";
  for (uint32_t drn : *drns) list += std::to_string(drn) + ",";
  list.back() = ']';
  int64_t base = Database::recordId(src.store, src.container, 0);
  KeyProbe p{"SELECT r.id - ?2 FROM json_each(?1) AS j, flm_record AS r INDEXED BY "
             "flm_record_ids WHERE r.id = j.value + ?2",
             {{SqlParam::Text, 0, std::move(list)}, {SqlParam::Integer, base, {}}}};
  return runProbe(src.db, p, cached, found);
}

// `*decided` names the conjunct that every candidate meets (-1 for none);
// candidates are then known to be records.
RCODE QueryRun::candidates(int set, uint16_t bound, std::vector<uint32_t>* drns, int* decided) {
  drns->clear();
  *decided = -1;
  RCODE rc = FERR_OK;
  int term = bound ? joinTerm(set, bound) : -1;
  const Narrowing& n = narrowings_[set];
  bool joined = false, exact = false;
  if (term >= 0) rc = joinCandidates(set, term, drns, &joined, &exact);
  if (!rc && joined && exact) *decided = term;
  if (!rc && !joined) {
    if (n.rank == kScan) {
      drns->clear();
      rc = containerRecords(source(set).db, source(set).store, source(set).container, drns);
    } else {
      *drns = n.drns;
      if (n.exact) {
        rc = existing(set, drns);
        *decided = n.term;
      }
      for (size_t i = 0; i < n.probes.size() && !rc; ++i)
        rc = runProbe(source(set).db, n.probes[i], request_.cacheProbes, drns);
    }
  }
  std::sort(drns->begin(), drns->end());
  drns->erase(std::unique(drns->begin(), drns->end()), drns->end());
  return rc;
}

// The best narrowed set drives; then sets reachable by a join follow, so that
// each is found through the records already bound.
void QueryRun::chooseOrder() {
  auto left = static_cast<uint16_t>(1u << request_.resultSet);
  for (uint16_t m : masks_) left |= m;
  for (int s = 0; s < kMaxSets; ++s)
    if (!request_.sets[s]) left &= static_cast<uint16_t>(~(1u << s));
  uint16_t bound = 0;
  while (left) {
    int next = -1;
    bool nextJoins = false;
    for (int s = 0; s < kMaxSets; ++s) {
      if (!(left & (1u << s))) continue;
      bool joins = bound && joinTerm(s, bound) >= 0;
      if (next < 0 || (joins && !nextJoins) ||
          (joins == nextJoins && narrowings_[s].rank > narrowings_[next].rank)) {
        next = s;
        nextJoins = joins;
      }
    }
    order_.push_back(next);
    bound |= static_cast<uint16_t>(1u << next);
    left &= static_cast<uint16_t>(~(1u << next));
  }
}

// `decided` names the conjunct the set's candidates are known to meet.
bool QueryRun::termsHold(int set, uint16_t bound, int decided) const {
  for (size_t i = 0; i < terms_.size(); ++i)
    if (static_cast<int>(i) != decided && (masks_[i] & (1u << set)) && !(masks_[i] & ~bound) &&
        evaluator_.truth(terms_[i], bindings_.data()) != Truth::True)
      return false;
  return true;
}

RCODE QueryRun::bindFrom(size_t depth, uint16_t bound) {
  if (depth == order_.size()) return keep(bindings_[request_.resultSet]);
  int set = order_[depth];
  std::vector<uint32_t> drns;
  int decided = -1;
  RCODE rc = candidates(set, bound, &drns, &decided);
  uint16_t now = static_cast<uint16_t>(bound | (1u << set));
  // A record that no other term reads, nor the order, need not be read at all.
  bool read = decided < 0 || (set == request_.resultSet && keyed_);
  for (size_t i = 0; i < terms_.size() && !read; ++i)
    read = (masks_[i] & (1u << set)) && static_cast<int>(i) != decided;
  for (size_t i = 0; i < drns.size() && !rc && !read; ++i) {
    bindings_[set] = {nullptr, drns[i]};
    rc = bindFrom(depth + 1, now);
  }
  for (size_t i = 0; i < drns.size() && !rc && read; ++i) {
    poolReset(&pools_[set], nullptr);
    Node* root = nullptr;
    const Source& src = source(set);
    rc = src.db->retrieve(src.store, src.container, drns[i], &pools_[set], &root,
                          &valuesRead_[set]);
    if (rc == FERR_NOT_FOUND) {
      rc = FERR_OK;
      continue;
    }
    bindings_[set] = {root, drns[i]};
    if (!rc && termsHold(set, now, decided)) rc = bindFrom(depth + 1, now);
  }
  bindings_[set] = {};
  return rc;
}

// An equality of the order's component with a number puts every result at
// that one key, where the index lists them by record number.
bool QueryRun::orderSettled() const {
  const IndexDef* ix = resultDb()->dictionary().index(request_.orderIndex);
  const FieldPath& path = ix->components[request_.orderComponent - 1];
  const FieldDef* def = resultDb()->dictionary().field(path.back());
  if (!def || def->type == FLM_TEXT_TYPE) return false;
  for (int t : terms_) {
    const Expr& e = node(t);
    if (e.kind != Expr::Binary || e.op != FLM_EQ_OP) continue;
    const Expr& l = node(e.kids[0]);
    const Expr& r = node(e.kids[1]);
    const Expr& field = l.kind == Expr::Field ? l : r;
    const Expr& value = l.kind == Expr::Field ? r : l;
    if (field.kind == Expr::Field && field.set == request_.resultSet && field.path() == path &&
        value.kind == Expr::Value && value.value().kind == Operand::Number)
      return true;
  }
  return false;
}

void QueryRun::findValuesRead() {
  auto add = [](ValueTags& tags, uint16_t tag) {
    if (std::find(tags.begin(), tags.end(), tag) == tags.end()) tags.push_back(tag);
  };
  for (const Expr& e : criteria_.nodes)
    if (e.kind == Expr::Field) add(valuesRead_[e.set], e.path().back());
  if (keyed_) {
    const IndexDef* ix = resultDb()->dictionary().index(request_.orderIndex);
    add(valuesRead_[request_.resultSet], ix->components[request_.orderComponent - 1].back());
  }
}

bool QueryRun::orderApplies() const {
  const IndexDef* ix = resultDb()->dictionary().index(request_.orderIndex);
  return ix && ix->container == source(request_.resultSet).container &&
         request_.orderComponent >= 1 && request_.orderComponent <= ix->components.size();
}

// A record met through several bindings is kept each time; the copies sort
// together (one record has one key) and the result lists it once.
RCODE QueryRun::keep(const Binding& result) {
  if (!keyed_) {
    found_->push_back(result.drn);
    return FERR_OK;
  }
  Match m{{}, result.drn};
  const IndexDef* ix = resultDb()->dictionary().index(request_.orderIndex);
  bool any = false;
  forEachOnPath(result.root, ix->components[request_.orderComponent - 1], [&](const Node* f) {
    KeyValue v;
    if (!makeKeyValue(f, resultDb()->collation(), &v)) return;
    OrderKey k;
    k.rank = v.kind == KeyValue::Text    ? OrderKey::Text
             : v.kind == KeyValue::Bytes ? OrderKey::Bytes
                                         : OrderKey::Number;
    k.real = v.kind == KeyValue::Real;
    k.integer = v.integer;
    k.value = v.real;
    k.bytes = v.kind == KeyValue::Text ? v.sortKey : v.exact;
    if (v.kind == KeyValue::Text) k.exact = v.exact;
    if (!any || k < m.key) m.key = k;
    any = true;
  });
  // Through an index, a record without a key in it is not found.
  if (any) matches_.push_back(std::move(m));
  return FERR_OK;
}

RCODE QueryRun::unconditional(std::vector<uint32_t>* out) {
  const Source& src = source(request_.resultSet);
  if (!orderApplies()) return containerRecords(src.db, src.store, src.container, out);
  const IndexDef* ix = src.db->dictionary().index(request_.orderIndex);
  const FieldPath& path = ix->components[request_.orderComponent - 1];
  const FieldDef* def = src.db->dictionary().field(path.back());
  return indexRecords(src.db, ix->number, src.store, request_.orderComponent,
                      !def || def->type == FLM_TEXT_TYPE, out);
}

RCODE QueryRun::run(std::vector<uint32_t>* out) {
  out->clear();
  splitConjuncts();
  bool joined = false;
  for (uint16_t m : masks_) joined |= (m & ~(1u << request_.resultSet)) != 0;
  if (terms_.empty() && !joined) return unconditional(out);
  for (size_t i = 0; i < terms_.size(); ++i)
    if (masks_[i] == 0 && evaluator_.truth(terms_[i], bindings_.data()) != Truth::True)
      return FERR_OK;
  for (int s = 0; s < kMaxSets; ++s)
    if (request_.sets[s]) narrowings_[s] = narrow(s);
  keyed_ = orderApplies() && !orderSettled();
  findValuesRead();
  chooseOrder();
  found_ = out;
  out->reserve(16);  // most queries find a few records: one allocation, not several
  RCODE rc = bindFrom(0, 0);
  if (!rc && evaluator_.cutShort()) rc = FERR_MEM;
  if (rc) return rc;
  if (!keyed_) {
    std::sort(out->begin(), out->end());
    out->erase(std::unique(out->begin(), out->end()), out->end());
    return FERR_OK;
  }
  std::stable_sort(matches_.begin(), matches_.end(), [](const Match& a, const Match& b) {
    return a.key < b.key || (!(b.key < a.key) && a.drn < b.drn);
  });
  out->reserve(matches_.size());
  for (const Match& m : matches_)
    if (out->empty() || out->back() != m.drn) out->push_back(m.drn);
  return FERR_OK;
}

}  // namespace

RCODE runQuery(const QueryRequest& query, std::vector<uint32_t>* drns) {
  return QueryRun(query).run(drns);
}

}  // namespace flm
