// Query cursors: criteria over the records of one (database, store,
// container), or a join over up to eight context sets, with the matching
// records in index or record-number order and a position among them.
//
// Fields name the context set they read by their flags: the low four bits
// hold the set number (1 to 8). Set 0 is the cursor's own source; a cursor
// made without a database of its own reads set 0 from context set 1. The
// records a cursor returns are those of its last context set, or of its own
// source when it has no context sets.
#ifndef CORVID5_FLM_CURSOR_H
#define CORVID5_FLM_CURSOR_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "flm/Criteria.h"
#include "flm/Database.h"
#include "flm/Evaluator.h"
#include "flm/QueryRun.h"

namespace flm {

// Mode flags.
constexpr uint32_t FLM_NO_WILD = 0x01;
constexpr uint32_t FLM_WILD = 0x02;
constexpr uint32_t FLM_NOCASE = 0x04;
constexpr uint32_t FLM_CASE = 0x08;

// Configuration options.
constexpr uint32_t FCURSOR_SET_REC_TYPE = 3;   // values: record type, unused
constexpr uint32_t FCURSOR_GET_INDEX = 4;      // value: which (0 = master index)
constexpr uint32_t FCURSOR_SET_INDEX = 8;      // values: index, key component

constexpr uint32_t kFieldSetMask = 0x0F;

class Cursor {
 public:
  // `db` may be null for a cursor that only joins context sets.
  static RCODE init(Database* db, uint32_t store, uint16_t container, Cursor** out);
  static RCODE free(Cursor** cursor);

  RCODE addField(const uint16_t* path, size_t count, uint32_t flags);
  RCODE addOp(uint16_t op);
  RCODE addValue(uint32_t valueType, const void* value, size_t length);
  RCODE addFieldValue(const Node* field);
  // Parses what has been added so far; more may be added and checked again.
  RCODE validate();

  RCODE setMode(uint32_t flags);
  uint32_t mode() const { return mode_; }
  RCODE config(uint32_t option, uint32_t value1, uint32_t value2);
  RCODE getConfig(uint32_t option, uint32_t which, uint32_t* value) const;
  // The master index orders the results unless another is set; component 0
  // means the first key component. A record is placed by its smallest key in
  // that component and left out when it has none there; records of equal
  // keys follow record-number order, as do all results when the criteria
  // hold the component equal to a number.
  RCODE setMasterIndex(uint16_t index, uint16_t component);
  RCODE addContext(uint16_t set, Database* db, uint32_t store, uint16_t container);

  RCODE recordCount(uint32_t* count);
  RCODE moveFirst(uint32_t* drn);
  RCODE moveNext(uint32_t* drn);
  RCODE movePrev(uint32_t* drn);
  RCODE moveLast(uint32_t* drn);
  RCODE current(uint32_t* drn) const;
  // Reads the record at the position into `pool`, bound to where it lives.
  RCODE read(PoolMemoryManager* pool, Node** root);

  const Source& resultSource() const;

 private:
  Cursor(Database* db, uint32_t store, uint16_t container);
  RCODE parse();
  RCODE execute();
  // How a query is asked, as its answers are kept.
  using How = std::array<char, 12>;
  How how() const;
  // Takes the answer kept from an earlier run of the same query asked the
  // same way, if any; true when any answer of these criteria is kept.
  bool lookUpAnswers();
  void keepAnswer();
  void prefetchResults() const;
  AnswerCache* answerCache() const;
  // Made once for criteria and sets as they stand.
  std::string_view question();
  // Criteria changed: they must be parsed and run again.
  void invalidate();
  // Only how they run changed: the parse still holds.
  void forgetResults();
  RCODE step(int delta, uint32_t* drn);
  Database* anyDatabase() const;

  Source own_;
  std::array<std::optional<Source>, 9> sets_;  // [0] unused; 1..8 context sets
  std::vector<Piece> pieces_;
  std::string question_;  // empty until asked for
  ParsedCriteria parsed_;
  bool parsedCurrent_ = false;
  RCODE parseError_ = FERR_OK;
  uint32_t mode_ = 0;
  uint16_t index_ = 0, indexComponent_ = 0;
  uint16_t masterIndex_ = 0, masterComponent_ = 0;

  bool executed_ = false;
  std::vector<uint32_t> results_;
  long position_ = -1;
  bool moved_ = false;
};

}  // namespace flm

#endif
