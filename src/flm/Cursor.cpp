#include "flm/Cursor.h"

#include <cstring>
#include <new>
#include <string>

#include "flm/Evaluator.h"
#include "flm/Unicode.h"

namespace flm {
namespace {

Operand numberOperand(int64_t n) { return Operand{Operand::Number, n, 0, {}}; }

Operand textOperand(std::u16string text) {
  return Operand{Operand::Text, 0, 0, std::move(text)};
}

// Narrow text arrives in code page 0, which is UTF-8.
std::u16string fromUtf8(const char* text, size_t bytes) {
  std::u16string out(bytes, u'\0');
  int64_t units = utf8ToUtf16(text, bytes, out.data(), true);
  out.resize(units < 0 ? 0 : static_cast<size_t>(units));
  return out;
}

// Lays values out one after another, each by its bytes.
struct ByteWriter {
  char* at;
  template <class T>
  void put(const T& value) {
    std::memcpy(at, &value, sizeof value);
    at += sizeof value;
  }
};

// Queries that find more records than this are run again when asked again.
constexpr size_t kLongestKeptAnswer = 1024;
// Past this, a query's entry starts again with its newest answer alone.
constexpr size_t kLongestEntry = 4 * kLongestKeptAnswer * sizeof(uint32_t);

}  // namespace

// Room for a comparison joined to two others without growing.
Cursor::Cursor(Database* db, uint32_t store, uint16_t container) : own_{db, store, container} {
  pieces_.reserve(11);
}

RCODE Cursor::init(Database* db, uint32_t store, uint16_t container, Cursor** out) {
  *out = nullptr;
  if (store > kMaxStore) return FERR_INVALID_PARM;
  if (db && !db->dictionary().hasContainer(container)) return FERR_BAD_CONTAINER;
  *out = new (std::nothrow) Cursor(db, store, container);
  return *out ? FERR_OK : FERR_MEM;
}

RCODE Cursor::free(Cursor** cursor) {
  delete *cursor;
  *cursor = nullptr;
  return FERR_OK;
}

void Cursor::invalidate() {
  parsedCurrent_ = false;
  question_.clear();
  forgetResults();
}

void Cursor::forgetResults() {
  executed_ = false;
  results_.clear();
  position_ = -1;
  moved_ = false;
}

RCODE Cursor::addField(const uint16_t* path, size_t count, uint32_t flags) {
  uint32_t set = flags & kFieldSetMask;
  if (!path || count == 0 || set >= kMaxSets) return FERR_INVALID_PARM;
  for (size_t i = 0; i < count; ++i)
    if (path[i] == 0) return FERR_BAD_FIELD_NUM;
  invalidate();
  pieces_.push_back({Piece::Field, 0, static_cast<uint8_t>(set), FieldPath(path, path + count), {}});
  return FERR_OK;
}

RCODE Cursor::addOp(uint16_t op) {
  bool known = (op >= FLM_AND_OP && op <= FLM_MINUS_OP) || op == FLM_LPAREN_OP ||
               op == FLM_RPAREN_OP;
  if (!known) return FERR_CURSOR_SYNTAX;
  invalidate();
  pieces_.push_back({Piece::Op, op, 0, {}, {}});
  return FERR_OK;
}

RCODE Cursor::addValue(uint32_t valueType, const void* value, size_t length) {
  if (!value) return FERR_INVALID_PARM;
  Operand v;
  switch (valueType) {
    case FLM_INT16_VAL: v = numberOperand(*static_cast<const int16_t*>(value)); break;
    case FLM_INT32_VAL: v = numberOperand(*static_cast<const int32_t*>(value)); break;
    case FLM_UINT16_VAL: v = numberOperand(*static_cast<const uint16_t*>(value)); break;
    case FLM_UINT32_VAL: v = numberOperand(*static_cast<const uint32_t*>(value)); break;
    case FLM_STRING_VAL: {
      auto* text = static_cast<const char*>(value);
      v = textOperand(fromUtf8(text, length ? length : std::strlen(text)));
      break;
    }
    case FLM_UNICODE_VAL: {
      auto* text = static_cast<const char16_t*>(value);
      size_t units = length;
      if (!units)
        while (text[units]) ++units;
      v = textOperand(std::u16string(text, units));
      break;
    }
    default:
      return FERR_CONV_BAD_SRC_TYPE;
  }
  invalidate();
  pieces_.push_back({Piece::Value, 0, 0, {}, std::move(v)});
  return FERR_OK;
}

RCODE Cursor::addFieldValue(const Node* field) {
  Operand v;
  if (!field) return FERR_INVALID_PARM;
  if (!operandOf(field, &v)) return FERR_CONV_NULL_SRC;
  invalidate();
  pieces_.push_back({Piece::Value, 0, 0, {}, std::move(v)});
  return FERR_OK;
}

RCODE Cursor::setMode(uint32_t flags) {
  mode_ = flags;
  forgetResults();
  return FERR_OK;
}

RCODE Cursor::config(uint32_t option, uint32_t value1, uint32_t value2) {
  switch (option) {
    case FCURSOR_SET_REC_TYPE:
      return FERR_OK;
    case FCURSOR_SET_INDEX:
      index_ = static_cast<uint16_t>(value1);
      indexComponent_ = static_cast<uint16_t>(value2);
      forgetResults();
      return FERR_OK;
    default:
      return FERR_NOT_IMPLEMENTED;
  }
}

RCODE Cursor::getConfig(uint32_t option, uint32_t which, uint32_t* value) const {
  *value = 0;
  if (option != FCURSOR_GET_INDEX) return FERR_NOT_IMPLEMENTED;
  *value = which == 0 ? masterIndex_ : index_ ? index_ : masterIndex_;
  return FERR_OK;
}

RCODE Cursor::setMasterIndex(uint16_t index, uint16_t component) {
  Database* db = anyDatabase();
  if (index && db && !db->dictionary().index(index)) return FERR_BAD_IX;
  masterIndex_ = index;
  masterComponent_ = component;
  forgetResults();
  return FERR_OK;
}

RCODE Cursor::addContext(uint16_t set, Database* db, uint32_t store, uint16_t container) {
  if (set < 1 || set >= kMaxSets || !db || store > kMaxStore) return FERR_INVALID_PARM;
  if (!db->dictionary().hasContainer(container)) return FERR_BAD_CONTAINER;
  sets_[set] = Source{db, store, container};
  invalidate();
  return FERR_OK;
}

Database* Cursor::anyDatabase() const {
  if (own_.db) return own_.db;
  for (const auto& s : sets_)
    if (s) return s->db;
  return nullptr;
}

const Source& Cursor::resultSource() const {
  for (int s = kMaxSets - 1; s >= 1; --s)
    if (sets_[s]) return *sets_[s];
  return own_;
}

RCODE Cursor::validate() {
  if (parsedCurrent_) return parseError_;
  // Criteria answered before parsed then, however they were asked.
  if (executed_ || lookUpAnswers()) return FERR_OK;
  return parse();
}

RCODE Cursor::parse() {
  Database* db = anyDatabase();
  parseError_ = parseCriteria(pieces_, db ? &db->dictionary() : nullptr, &parsed_);
  // Set 0 is the cursor's own source, or the first context set of a cursor
  // that has none.
  int implicit = own_.db ? 0 : 1;
  for (Expr& e : parsed_.nodes) {
    if (e.kind != Expr::Field) continue;
    if (e.set == 0) e.set = static_cast<uint8_t>(implicit);
    if (!parseError_ && !(e.set == 0 ? own_.db != nullptr : sets_[e.set].has_value()))
      parseError_ = FERR_INVALID_PARM;
  }
  parsedCurrent_ = true;
  return parseError_;
}

// Answers are kept where every set reads one database that keeps them, so
// that a write to it, which empties its cache, is all that can change them.
AnswerCache* Cursor::answerCache() const {
  Database* db = own_.db;
  for (const auto& s : sets_) {
    if (!s) continue;
    if (db && s->db != db) return nullptr;
    db = s->db;
  }
  return db ? db->answerCache() : nullptr;
}

// What a query asks besides how it is asked: the sets and the pieces. Its
// entry keeps an answer for each way it was asked (mode and order), and
// that there is an entry at all tells that the criteria parse. Members are
// laid out one by one, never as whole structs, whose padding would make
// equal questions differ.
std::string_view Cursor::question() {
  if (!question_.empty()) return question_;
  std::string& text = question_;
  size_t longest = 64 + kMaxSets * 8;
  for (const Piece& p : pieces_) longest += 32 + 2 * (p.path.size() + p.value.text.size());
  text.resize(longest);
  ByteWriter out{text.data()};
  auto put = [&out](const auto& v) { out.put(v); };
  auto putSource = [&](const Source* src) {
    put(static_cast<uint8_t>(src != nullptr));
    if (src) {
      put(src->store);
      put(src->container);
    }
  };
  put(kQueryQuestion);
  putSource(own_.db ? &own_ : nullptr);
  for (int set = 1; set < kMaxSets; ++set) putSource(sets_[set] ? &*sets_[set] : nullptr);
  for (const Piece& p : pieces_) {
    put(p.kind);
    if (p.kind == Piece::Op) {
      put(p.op);
    } else if (p.kind == Piece::Field) {
      put(p.set);
      put(static_cast<uint16_t>(p.path.size()));
      for (uint16_t tag : p.path) put(tag);
    } else if (p.value.kind == Operand::Number) {
      put(p.value.kind);
      put(p.value.number);
    } else if (p.value.kind == Operand::Real) {
      put(p.value.kind);
      put(p.value.real);
    } else {
      put(p.value.kind);
      put(static_cast<uint32_t>(p.value.text.size()));
      for (char16_t unit : p.value.text) put(unit);
    }
  }
  text.resize(static_cast<size_t>(out.at - text.data()));
  return text;
}

Cursor::How Cursor::how() const {
  How asked{};
  ByteWriter out{asked.data()};
  out.put(mode_ & (FLM_NOCASE | FLM_WILD));
  out.put(index_);
  out.put(indexComponent_);
  out.put(masterIndex_);
  out.put(masterComponent_);
  return asked;
}

// An entry's answers follow one another, each its `How`, a count and the
// record numbers.
bool Cursor::lookUpAnswers() {
  AnswerCache* answers = answerCache();
  std::string_view kept;
  if (!answers || !answers->findBytes(question(), &kept)) return false;
  const How asked = how();
  const std::string_view wanted(asked.data(), asked.size());
  constexpr size_t kHead = sizeof(How) + sizeof(uint32_t);
  while (kept.size() >= kHead) {
    uint32_t count;
    std::memcpy(&count, kept.data() + sizeof(How), sizeof count);
    bool same = kept.substr(0, sizeof(How)) == wanted;
    kept.remove_prefix(kHead);
    size_t bytes = size_t{count} * sizeof(uint32_t);
    if (kept.size() < bytes) break;
    if (same) {
      results_.resize(count);
      if (count) std::memcpy(results_.data(), kept.data(), bytes);
      executed_ = true;
      prefetchResults();
      break;
    }
    kept.remove_prefix(bytes);
  }
  return true;
}

void Cursor::keepAnswer() {
  AnswerCache* answers = answerCache();
  // A long list would push many short ones out for one question.
  if (!answers || results_.size() > kLongestKeptAnswer) return;
  thread_local std::string entryText;
  std::string& entry = entryText;
  const std::string_view asked = question();
  std::string_view kept;
  entry.clear();
  if (answers->findBytes(asked, &kept) && kept.size() < kLongestEntry) entry.assign(kept);
  const How way = how();
  auto count = static_cast<uint32_t>(results_.size());
  entry.append(way.data(), way.size());
  entry.append(reinterpret_cast<const char*>(&count), sizeof count);
  entry.append(reinterpret_cast<const char*>(results_.data()), count * sizeof(uint32_t));
  answers->putBytes(asked, entry);
}

void Cursor::prefetchResults() const {
  const Source& src = resultSource();
  if (src.db) src.db->prefetch(src.store, src.container, results_);
}

RCODE Cursor::execute() {
  if (executed_) return FERR_OK;
  lookUpAnswers();
  if (executed_) return FERR_OK;
  RCODE rc = parsedCurrent_ ? parseError_ : parse();
  if (rc) return rc;
  const Source& result = resultSource();
  if (!result.db) return FERR_BAD_HDL;
  QueryRequest query;
  query.sets[0] = own_.db ? &own_ : nullptr;
  for (int s = 1; s < kMaxSets; ++s) query.sets[s] = sets_[s] ? &*sets_[s] : nullptr;
  for (int s = kMaxSets - 1; s >= 0; --s)
    if (query.sets[s] == &result) {
      query.resultSet = s;
      break;
    }
  query.criteria = &parsed_;
  query.caseSensitive = !(mode_ & FLM_NOCASE);
  query.wildcards = (mode_ & FLM_WILD) != 0;
  query.orderIndex = index_ ? index_ : masterIndex_;
  uint16_t component = index_ ? indexComponent_ : masterComponent_;
  query.orderComponent = component ? component : 1;
  query.cacheProbes = answerCache() == nullptr;
  rc = runQuery(query, &results_);
  executed_ = rc == FERR_OK;
  if (!executed_) return rc;
  prefetchResults();
  keepAnswer();
  return FERR_OK;
}

RCODE Cursor::recordCount(uint32_t* count) {
  *count = 0;
  RCODE rc = validate();
  const Source& result = resultSource();
  // Counting a whole container needs no list of its records.
  if (!rc && !executed_ && parsedCurrent_ && parsed_.root < 0 && !index_ && !masterIndex_ &&
      result.db && &result == &own_)
    return result.db->recordCount(result.store, result.container, count);
  if (!rc) rc = execute();
  if (!rc) *count = static_cast<uint32_t>(results_.size());
  return rc;
}

RCODE Cursor::step(int delta, uint32_t* drn) {
  RCODE rc = execute();
  if (rc) return rc;
  long n = static_cast<long>(results_.size());
  long next = position_ + delta;
  moved_ = true;
  // Running off either end leaves the cursor on the record it was on, so the
  // current record is still the one last read.
  if (next < 0 || next >= n) return next < 0 ? FERR_BOF_HIT : FERR_EOF_HIT;
  position_ = next;
  if (drn) *drn = results_[static_cast<size_t>(position_)];
  return FERR_OK;
}

RCODE Cursor::moveFirst(uint32_t* drn) {
  position_ = -1;
  return step(1, drn);
}

RCODE Cursor::moveLast(uint32_t* drn) {
  RCODE rc = execute();
  if (rc) return rc;
  position_ = static_cast<long>(results_.size());
  return step(-1, drn);
}

// A cursor that has not moved yet starts from the first record going forward
// and from the last going back.
RCODE Cursor::moveNext(uint32_t* drn) { return moved_ ? step(1, drn) : moveFirst(drn); }

RCODE Cursor::movePrev(uint32_t* drn) { return moved_ ? step(-1, drn) : moveLast(drn); }

RCODE Cursor::current(uint32_t* drn) const {
  if (position_ < 0) return FERR_BOF_HIT;
  if (position_ >= static_cast<long>(results_.size())) return FERR_EOF_HIT;
  *drn = results_[static_cast<size_t>(position_)];
  return FERR_OK;
}

RCODE Cursor::read(PoolMemoryManager* pool, Node** root) {
  *root = nullptr;
  uint32_t drn = 0;
  RCODE rc = current(&drn);
  if (rc) return rc;
  const Source& src = resultSource();
  // Results are mostly read in order: the next one's bytes are fetched while
  // this one decodes.
  auto next = static_cast<size_t>(position_ + 1);
  if (next < results_.size()) src.db->prefetchNext(src.store, src.container, results_[next]);
  return src.db->retrieve(src.store, src.container, drn, pool, root);
}

}  // namespace flm
