#pragma once
// Whether two hierarchies hold the same, to the bit.

#include <cstddef>

#include "support/qzBits.h"

namespace qzTest {

template <class Tree>
bool sameNodes(const Tree& a, const Tree& b) {
  if (a.getNodes().size() != b.getNodes().size()) return false;
  for (std::size_t i = 0; i < a.getNodes().size(); ++i) {
    if (!sameBits(a.getNodes()[i], b.getNodes()[i])) return false;
  }
  return true;
}

template <class Tree>
bool sameTree(const Tree& a, const Tree& b) {
  return sameNodes(a, b) && a.getPrimitives() == b.getPrimitives() && a.getNbNodes() == b.getNbNodes();
}

}  // namespace qzTest
