// Builds records field by field and stores them. One record is built at a
// time, in one pool that each new record empties, so a build of millions of
// records keeps one record's memory.
#ifndef CORVID5_ENGINE_BUILD_POLYLEXWRITER_H
#define CORVID5_ENGINE_BUILD_POLYLEXWRITER_H

#include <cstdint>
#include <string_view>

#include "flm/Database.h"
#include "flm/Node.h"
#include "flm/Pool.h"

namespace build {

// Every failure throws BuildError.
class PolylexWriter {
 public:
  explicit PolylexWriter(flm::Database* db);
  ~PolylexWriter();
  PolylexWriter(const PolylexWriter&) = delete;
  PolylexWriter& operator=(const PolylexWriter&) = delete;

  // Starts a new record with this root; the previous record is gone.
  flm::Node* record(uint16_t rootTag);
  // Fields appended as the last child of `parent`.
  flm::Node* group(flm::Node* parent, uint16_t tag);
  flm::Node* text(flm::Node* parent, uint16_t tag, std::string_view value);
  flm::Node* number(flm::Node* parent, uint16_t tag, int64_t value);
  flm::Node* pointer(flm::Node* parent, uint16_t tag, uint32_t drn);

  // Stores the record under construction as `drn`, or, for 0, as the
  // container's next number; returns the number it took.
  uint32_t add(uint32_t store, uint16_t container, uint32_t drn = 0);

  // A build writes in a few large transactions: one per commit is far
  // cheaper than one per record.
  void begin();
  void commit();

 private:
  void check(flm::RCODE rc, const char* doing) const;

  flm::Database* db_;
  flm::PoolMemoryManager pool_;
  flm::Node* root_ = nullptr;
  // The field added last and its parent: while fields go to the same parent,
  // that field is its last child.
  flm::Node* lastParent_ = nullptr;
  flm::Node* lastChild_ = nullptr;
};

}  // namespace build

#endif
