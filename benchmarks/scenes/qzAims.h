#pragma once
// Rays aimed at the vertices, edges and inner points of a mesh.

#include <array>
#include <vector>

#include <benchmarks/core/qzRandom.h>
#include <benchmarks/scenes/qzRays.h>

namespace qzBench {

/// What is next to what in a mesh.
class qzNeighbours {
 public:
  struct tEdge {
    int mVertex[2];
    int mTriangle;  ///< one of its triangles
  };

  explicit qzNeighbours(const qzScene& scene);

  /// Edges of exactly two triangles, and those of one and of more.
  const std::vector<tEdge>& getEdges() const { return mEdges; }
  int getNbBorderEdges() const { return mNbBorderEdges; }
  int getNbForkedEdges() const { return mNbForkedEdges; }
  /// Vertices all of whose edges have exactly two triangles.
  const std::vector<int>& getInnerVertices() const { return mInnerVertices; }
  /// All triangles at any of the vertices, each once.
  void collectTriangles(const int* vertices, int nbVertices, std::vector<int>& triangles) const;

 private:
  std::vector<tEdge> mEdges;
  std::vector<int> mInnerVertices;
  std::vector<int> mFirst, mTriangles;  // the triangles at vertex v are mTriangles[mFirst[v]] up to mFirst[v + 1]
  int mNbBorderEdges = 0, mNbForkedEdges = 0;
};

/// What a ray is aimed at, and how it comes.
enum qzTarget { eVertex, eEdge, eInside };
enum qzApproach {
  eAnyWay,           ///< all directions alike
  eAlongAxis,        ///< parallel to an axis, through the target to the bit
  eAlmostAlongAxis,  ///< the same with 1e-20 in place of the zeros
  eFlat10,           ///< grazing: a tenth as far across the surface as along it
  eFlat100,          ///< a hundredth
  eFlat1000,         ///< a thousandth
};

struct qzAimedRay {
  qzRay mRay;
  double mDistance;                  ///< about where the target is
  std::vector<int> mTriangles = {};  ///< those at the target's vertices: one of these is met, if the surface is met
};

/// A ray from outside of the scene's bounding sphere towards a random target. Computed in double precision and rounded
/// once, so it passes the target by no more than the coordinates' last digit.
qzAimedRay aim(const qzScene& scene, const qzNeighbours& neighbours, qzTarget target, qzApproach approach,
               qzRandom& random);

}  // namespace qzBench
