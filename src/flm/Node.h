// Field trees: a record in memory is a list of fields in document order, each
// with a tag, a level (the root is 0) and a typed value. Parents, children and
// siblings follow from the levels.
#ifndef CORVID5_FLM_NODE_H
#define CORVID5_FLM_NODE_H

#include <cstdint>

#include "flm/ErrorCodes.h"
#include "flm/Pool.h"

namespace flm {

enum ValueType : uint8_t {
  FLM_TEXT_TYPE = 0,
  FLM_NUMBER_TYPE = 1,
  FLM_BINARY_TYPE = 2,
  FLM_CONTEXT_TYPE = 3,
  FLM_REAL_TYPE = 4,
  FLM_DATE_TYPE = 5,
  FLM_TIME_TYPE = 6,
  FLM_TMSTAMP_TYPE = 7,
};

constexpr uint8_t kTypeMask = 0x3F;
constexpr uint8_t kHasSource = 0x80;

// Positions for grafting: a position past the existing children or siblings
// means "last".
constexpr int GED_FIRST = 0;
constexpr int GED_LAST = 32767;

// Search modes: a tree is one field and its descendants; a forest is one field,
// its following siblings, and all their descendants.
enum TreeMode { GED_TREE = 0, GED_FOREST = 1 };

struct Node {
  Node* prev;
  Node* next;
  void* value;
  uint32_t length;
  uint16_t tag;
  uint8_t level;
  uint8_t type;  // low six bits: ValueType; kHasSource on a bound root
};

// A root bound to where its record lives.
struct SourceNode : Node {
  void* database;
  uint32_t store;
  uint16_t container;
  uint32_t drn;
};

Node* nodeMake(PoolMemoryManager* pool, uint16_t tag, RCODE* rc);
Node* nodeMakeWithSource(PoolMemoryManager* pool, uint16_t tag, void* database, uint32_t store,
                         uint16_t container, uint32_t drn, RCODE* rc);

inline ValueType nodeType(const Node* n) { return static_cast<ValueType>(n->type & kTypeMask); }
inline bool nodeHasSource(const Node* n) { return (n->type & kHasSource) != 0; }
inline const SourceNode* nodeSource(const Node* n) {
  return nodeHasSource(n) ? static_cast<const SourceNode*>(n) : nullptr;
}

Node* nodeParent(const Node* n);
Node* nodeChild(const Node* n);
Node* nodeNextSibling(const Node* n);
Node* nodePrevSibling(const Node* n);
// The last field of `n`'s subtree (`n` itself when it has no descendants).
Node* nodeLastInTree(const Node* n);

// Grafts the detached tree `child` (with its descendants) under `parent`:
// position 0 makes it the first child, n puts it after the n-th child.
void nodeChildGraft(Node* parent, Node* child, int position);
// Grafts the detached tree `sibling` beside `self`: position 0 right after
// `self`, n after the n-th following sibling, a negative -n before the
// (n-1)-th preceding sibling (-1 right before `self`).
void nodeSiblingGraft(Node* self, Node* sibling, int position);
// Cuts `n` with its descendants out of its tree and returns it detached, its
// levels rebased so that `n` is at level 0.
Node* nodeClip(Node* n);

// The nth (from 1) field with `tag` in the tree or forest that starts at
// `start`, in document order; null when there is none. A tag of 0 matches
// every field.
Node* nodeFind(TreeMode mode, Node* start, uint16_t tag, int nth);
// The field after `n` in document order that is still inside the tree or
// forest starting at `start`; null at its end.
Node* nodeWalkNext(TreeMode mode, const Node* start, const Node* n);

// Copies the tree (or forest) at `start` into `pool`; the copy's first field
// keeps the source of a bound root.
Node* treeCopy(PoolMemoryManager* pool, TreeMode mode, const Node* start, RCODE* rc);

}  // namespace flm

#endif
