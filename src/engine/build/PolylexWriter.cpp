#include "engine/build/PolylexWriter.h"

#include <string>

#include "engine/build/BuildError.h"
#include "flm/Value.h"

namespace build {

PolylexWriter::PolylexWriter(flm::Database* db) : db_(db) { flm::poolInit(&pool_, 4096); }

PolylexWriter::~PolylexWriter() { flm::poolFree(&pool_); }

void PolylexWriter::check(flm::RCODE rc, const char* doing) const {
  if (rc) throw BuildError(std::string("storage error ") + doing + ": " + flm::errorName(rc));
}

flm::Node* PolylexWriter::record(uint16_t rootTag) {
  flm::poolReset(&pool_, nullptr);
  flm::RCODE rc = flm::FERR_OK;
  root_ = flm::nodeMake(&pool_, rootTag, &rc);
  check(rc, "making a record");
  lastParent_ = lastChild_ = nullptr;
  return root_;
}

flm::Node* PolylexWriter::group(flm::Node* parent, uint16_t tag) {
  flm::RCODE rc = flm::FERR_OK;
  flm::Node* field = flm::nodeMake(&pool_, tag, &rc);
  check(rc, "making a field");
  // Grafting as the last child walks all the children before it; a record
  // with thousands of them is built far faster beside the child added last.
  if (parent == lastParent_)
    flm::nodeSiblingGraft(lastChild_, field, 0);
  else
    flm::nodeChildGraft(parent, field, flm::GED_LAST);
  lastParent_ = parent;
  lastChild_ = field;
  return field;
}

flm::Node* PolylexWriter::text(flm::Node* parent, uint16_t tag, std::string_view value) {
  flm::Node* field = group(parent, tag);
  check(flm::putUtf8(&pool_, field, value.data(), value.size()), "putting a text");
  return field;
}

flm::Node* PolylexWriter::number(flm::Node* parent, uint16_t tag, int64_t value) {
  flm::Node* field = group(parent, tag);
  check(flm::putInt(&pool_, field, value), "putting a number");
  return field;
}

flm::Node* PolylexWriter::pointer(flm::Node* parent, uint16_t tag, uint32_t drn) {
  flm::Node* field = group(parent, tag);
  check(flm::putRecPtr(&pool_, field, drn), "putting a record pointer");
  return field;
}

uint32_t PolylexWriter::add(uint32_t store, uint16_t container, uint32_t drn) {
  flm::RCODE rc = db_->add(store, container, &drn, root_);
  if (rc)
    throw BuildError("storage error adding a record to store " + std::to_string(store) +
                     " container " + std::to_string(container) + ": " + flm::errorName(rc));
  return drn;
}

void PolylexWriter::begin() { check(db_->transBegin(), "starting a transaction"); }

void PolylexWriter::commit() { check(db_->transCommit(), "committing"); }

}  // namespace build
