#pragma once
// qzLinearGenericBVHBuilder: builds a qzGenericBVH in linear time from the Morton codes of the primitives' box centres.
//
// The centres are quantised on a cubic grid around the scene, primitives are sorted by the Morton codes of their cells,
// and the common prefixes of neighbouring codes give the tree. Small subtrees become leaves. There is no cost function.
// Source: Lauterbach et al. 2009.
//
// The leaf limit is the only state that affects a build; one builder can build any number of trees in turn.
// Single-threaded: builder, container and tree belong to the calling thread during a build.

#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzCommonAddOns/qzApi.h>
#include <qzSceneGraph/qzCancelInterfaceReadOnly.h>

#include <vector>

class QZ_COMMONADDONS_API qzLinearGenericBVHBuilder {
 public:
  /// Numbered primitives, known by their boxes. A build calls it on the thread of the build and in the default
  /// floating-point mode (round to nearest, denormals kept, no traps), whatever the caller's mode is.
  class QZ_COMMONADDONS_API tPrimitiveContainerInterface {
   public:
    /// Nothing to set up or to copy: the class has no data.
    tPrimitiveContainerInterface() = default;
    tPrimitiveContainerInterface(const tPrimitiveContainerInterface&) = default;
    tPrimitiveContainerInterface& operator=(const tPrimitiveContainerInterface&) = default;
    virtual ~tPrimitiveContainerInterface();

    /// Box of primitive i in scene units, for i below getQuantity(); it must stay valid while a build runs. A build
    /// asks for every box up to three times.
    virtual const qzBBox* getBBox(unsigned int i) const = 0;
    /// Number of primitives; a build asks once.
    virtual unsigned int getQuantity() const = 0;
  };

  /// Leaves of up to 4 primitives. Copies and moves take the leaf limit along.
  qzLinearGenericBVHBuilder() = default;
  qzLinearGenericBVHBuilder(const qzLinearGenericBVHBuilder&) = default;
  qzLinearGenericBVHBuilder& operator=(const qzLinearGenericBVHBuilder&) = default;
  qzLinearGenericBVHBuilder(qzLinearGenericBVHBuilder&&) = default;
  qzLinearGenericBVHBuilder& operator=(qzLinearGenericBVHBuilder&&) = default;
  ~qzLinearGenericBVHBuilder() = default;

  /// The largest subtree that is made one leaf, in primitives; 0 counts as 1. The default is 4. Primitives of one grid
  /// cell share a leaf however many they are.
  void setMaxPrimitivesPerLeaf(unsigned int max);

  /// Rebuilds bvh over all primitives of container.
  ///
  /// container    at least one primitive: none is undefined behaviour, unchecked. A NaN coordinate of a box is ignored
  ///              in the boxes of nodes; a NaN coordinate of a centre counts as in cell 0
  /// bvh          out: the tree. Inner nodes have a split position of 0; the node counter keeps the number of nodes
  ///              before small subtrees were made leaves, the node array has the exact final length
  /// cancel       polled between stages, nodes and primitives, in the default floating-point mode like the container;
  ///              null: never cancelled
  /// bitsPerAxis  resolution of the grid, 2^bitsPerAxis cells per axis; above 21 counts as 21. Up to 10 the codes are
  ///              32 bits wide, beyond that 64. 0 gives one leaf
  ///
  /// Returns false if cancelled, and only then. Cancelled before nodes are linked, bvh is untouched; later it holds a
  /// tree that may be unfinished and must be rebuilt.
  ///
  /// Logs four records of type 1, category "bvh": what is allocated, and what fusing saved.
  /// Ties: primitives of one cell keep the order of their numbers.
  /// Failure: an allocation throws the standard exception.
  /// Cost: linear in the number of primitives; working memory up to 32 bytes per primitive beside the tree. A build
  /// that is cancelled leaves up to 64 bytes of nodes per primitive in bvh.
  bool build(const tPrimitiveContainerInterface& container, qzGenericBVH& bvh,
             const qz::qzCancelInterfaceReadOnly* cancel, unsigned int bitsPerAxis);

 private:
  struct tFinish;

  std::vector<unsigned int> mIndices;  // during a build: the sorted primitives; afterwards: the tree's old array
  qzBBox mBBox;                        // around all primitives of the last build
  unsigned int mNbPrimitives = 0;      // of the last build
  unsigned int mMaxPrimitivesPerLeaf = 4;
};
