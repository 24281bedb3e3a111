#include <corvid5/FlmRecord.h>

#include "flm/Node.h"

FlmTreeWalker::FlmTreeWalker() : m_pNode(nullptr), m_nBaseLevel(0) {}

void FlmTreeWalker::Reset(node* start) {
  m_pNode = start;
  m_nBaseLevel = start ? start->level : 0;
}

// Depth first: the first child, else the next sibling, else the next sibling
// of the nearest ancestor that has one. The level test keeps the walk inside
// the start's subtree, away from the start's own siblings.
int FlmTreeWalker::GoNext() {
  if (!m_pNode) return 0;
  node* next = flm::nodeChild(m_pNode);
  if (!next) next = flm::nodeNextSibling(m_pNode);
  if (!next) {
    node* up = flm::nodeParent(m_pNode);
    while (up && !flm::nodeNextSibling(up)) up = flm::nodeParent(up);
    next = up ? flm::nodeNextSibling(up) : nullptr;
  }
  if (!next || next->level <= m_nBaseLevel) return 0;
  m_pNode = next;
  return 1;
}
