#include "flm/Node.h"

#include <cstring>
#include <new>

namespace flm {
namespace {

template <class T>
T* makeNode(PoolMemoryManager* pool, uint16_t tag, RCODE* rc) {
  void* place = poolAlloc(pool, sizeof(T));
  *rc = place ? FERR_OK : FERR_MEM;
  if (!place) return nullptr;
  auto* n = new (place) T{};
  n->tag = tag;
  return n;
}

void splice(Node* after, Node* first, Node* last) {
  last->next = after->next;
  if (after->next) after->next->prev = last;
  after->next = first;
  first->prev = after;
}

void spliceBefore(Node* before, Node* first, Node* last) {
  first->prev = before->prev;
  if (before->prev) before->prev->next = first;
  last->next = before;
  before->prev = last;
}

// Moves a detached tree to `level`, keeping its shape.
void relevel(Node* first, const Node* last, int level) {
  int delta = level - first->level;
  for (Node* p = first;; p = p->next) {
    p->level = static_cast<uint8_t>(p->level + delta);
    if (p == last) break;
  }
}

}  // namespace

Node* nodeMake(PoolMemoryManager* pool, uint16_t tag, RCODE* rc) {
  return makeNode<Node>(pool, tag, rc);
}

Node* nodeMakeWithSource(PoolMemoryManager* pool, uint16_t tag, void* database, uint32_t store,
                         uint16_t container, uint32_t drn, RCODE* rc) {
  auto* n = makeNode<SourceNode>(pool, tag, rc);
  if (!n) return nullptr;
  n->type = kHasSource;
  n->database = database;
  n->store = store;
  n->container = container;
  n->drn = drn;
  return n;
}

Node* nodeParent(const Node* n) {
  Node* p = n->prev;
  while (p && p->level >= n->level) p = p->prev;
  return p;
}

Node* nodeChild(const Node* n) {
  Node* c = n->next;
  return c && c->level == n->level + 1 ? c : nullptr;
}

Node* nodeNextSibling(const Node* n) {
  Node* p = n->next;
  while (p && p->level > n->level) p = p->next;
  return p && p->level == n->level ? p : nullptr;
}

Node* nodePrevSibling(const Node* n) {
  Node* p = n->prev;
  while (p && p->level > n->level) p = p->prev;
  return p && p->level == n->level ? p : nullptr;
}

Node* nodeLastInTree(const Node* n) {
  const Node* p = n;
  while (p->next && p->next->level > n->level) p = p->next;
  return const_cast<Node*>(p);
}

void nodeChildGraft(Node* parent, Node* child, int position) {
  Node* last = nodeLastInTree(child);
  relevel(child, last, parent->level + 1);
  Node* after = parent;
  Node* c = nodeChild(parent);
  for (int i = 0; c && i < position; ++i) {
    after = nodeLastInTree(c);
    c = nodeNextSibling(c);
  }
  splice(after, child, last);
}

void nodeSiblingGraft(Node* self, Node* sibling, int position) {
  Node* last = nodeLastInTree(sibling);
  relevel(sibling, last, self->level);
  if (position < 0) {
    Node* before = self;
    for (int i = -1; i > position; --i) {
      Node* p = nodePrevSibling(before);
      if (!p) break;
      before = p;
    }
    spliceBefore(before, sibling, last);
    return;
  }
  Node* s = self;
  for (int i = 0; i < position; ++i) {
    Node* n = nodeNextSibling(s);
    if (!n) break;
    s = n;
  }
  splice(nodeLastInTree(s), sibling, last);
}

Node* nodeClip(Node* n) {
  Node* last = nodeLastInTree(n);
  if (n->prev) n->prev->next = last->next;
  if (last->next) last->next->prev = n->prev;
  n->prev = nullptr;
  last->next = nullptr;
  relevel(n, last, 0);
  return n;
}

Node* nodeWalkNext(TreeMode mode, const Node* start, const Node* n) {
  Node* p = n->next;
  if (!p) return nullptr;
  if (mode == GED_TREE) return p->level > start->level ? p : nullptr;
  return p->level >= start->level ? p : nullptr;
}

Node* nodeFind(TreeMode mode, Node* start, uint16_t tag, int nth) {
  if (nth < 1) nth = 1;
  for (Node* p = start; p; p = nodeWalkNext(mode, start, p))
    if ((tag == 0 || p->tag == tag) && --nth == 0) return p;
  return nullptr;
}

Node* treeCopy(PoolMemoryManager* pool, TreeMode mode, const Node* start, RCODE* rc) {
  Node* first = nullptr;
  Node* tail = nullptr;
  for (const Node* p = start; p; p = nodeWalkNext(mode, start, p)) {
    const SourceNode* src = p == start ? nodeSource(p) : nullptr;
    Node* n = src ? nodeMakeWithSource(pool, p->tag, src->database, src->store, src->container,
                                       src->drn, rc)
                  : nodeMake(pool, p->tag, rc);
    if (!n) return nullptr;
    n->level = static_cast<uint8_t>(p->level - start->level);
    n->type = static_cast<uint8_t>((n->type & kHasSource) | nodeType(p));
    if (p->length) {
      n->value = poolAlloc(pool, p->length);
      if (!n->value) {
        *rc = FERR_MEM;
        return nullptr;
      }
      std::memcpy(n->value, p->value, p->length);
      n->length = p->length;
    }
    if (tail) {
      tail->next = n;
      n->prev = tail;
    } else {
      first = n;
    }
    tail = n;
  }
  *rc = FERR_OK;
  return first;
}

}  // namespace flm
