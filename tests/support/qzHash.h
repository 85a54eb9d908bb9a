#pragma once
// Fingerprints: an FNV-1a hash over the bytes of 32-bit words, low byte first, so it is the same on every machine.
// Floats are read as bits; nothing here compares them or computes with them. So a caller may be compiled with
// -ffast-math, which lets the compiler assume that no float is NaN.

#include <Wm4/Vector2.h>
#include <Wm4/Vector3.h>
#include <Wm4/Vector4.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzCommonAddOns/geometry/qzBBox2D.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/qzBits.h"

namespace qzTest {

class Hash {
 public:
  void add(std::uint32_t word) {
    for (int shift = 0; shift < 32; shift += 8) mValue = (mValue ^ (word >> shift & 0xFF)) * 0x100000001B3u;
  }
  void add(int number) { add(static_cast<std::uint32_t>(number)); }
  void add(bool flag) { add(flag ? 1u : 0u); }
  /// A float by its bits. All NaN count as one.
  void addFloatBits(std::uint32_t bits) { add((bits & 0x7FFFFFFFu) > 0x7F800000u ? 0x7FC00000u : bits); }
  void add(float value) { addFloatBits(bitsOf(value)); }

  void add(const Wm4::Vector2<float>& v) { addAll(v[0], v[1]); }
  void add(const Wm4::Vector3<float>& v) { addAll(v[0], v[1], v[2]); }
  void add(const Wm4::Vector4<float>& v) { addAll(v[0], v[1], v[2], v[3]); }
  void add(const qzBBox& box) {
    for (int axis = 0; axis < 3; ++axis) addAll(box.getMinPoint()[axis], box.getMaxPoint()[axis]);
  }
  void add(const qzBBox2D& box) { addAll(box.getMinPoint(), box.getMaxPoint()); }
  /// The characters, a word each, and an end mark.
  void add(const std::string& text) {
    for (const char c : text) add(static_cast<std::uint32_t>(static_cast<unsigned char>(c)));
    add(0xFFFFFFFFu);
  }

  template <class... Values>
  void addAll(const Values&... values) {
    (add(values), ...);
  }

  std::uint64_t value() const { return mValue; }

 private:
  std::uint64_t mValue = 0xCBF29CE484222325u;
};

/// All nodes and primitives of a binary hierarchy, and its node counter.
inline std::uint64_t hashOfTree(const std::vector<qzGNode>& nodes, const std::vector<unsigned int>& primitives,
                                unsigned int nbNodes) {
  Hash hash;
  hash.add(nbNodes);
  for (const qzGNode& node : nodes) {
    hash.addAll(node.getBBox(), node.getAxis() | node.getLeftChildIdx(), node.getNoPrimitives());
  }
  for (const unsigned int primitive : primitives) hash.add(primitive);
  return hash.value();
}
inline std::uint64_t hashOfTree(const qzGenericBVH& tree) {
  return hashOfTree(tree.getNodes(), tree.getPrimitives(), tree.getNbNodes());
}

}  // namespace qzTest
