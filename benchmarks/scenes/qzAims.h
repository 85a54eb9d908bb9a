#pragma once
// Rays aimed at the vertices, edges and inner points of a mesh.

#include <vector>

#include <benchmarks/core/qzRandom.h>
#include <benchmarks/scenes/qzRays.h>

namespace qzBench {

/// Adjacency of a mesh's vertices, edges and triangles.
class qzNeighbours {
 public:
  struct tEdge {
    int mVertex[2];
    int mTriangle;  ///< one of its triangles
  };

  explicit qzNeighbours(const qzScene& scene);

  /// Edges of exactly two triangles, and the number of those of one triangle and of more than two.
  const std::vector<tEdge>& getEdges() const { return mEdges; }
  int getNbBoundaryEdges() const { return mNbBoundaryEdges; }
  int getNbNonManifoldEdges() const { return mNbNonManifoldEdges; }
  /// Vertices whose edges all have exactly two triangles.
  const std::vector<int>& getInnerVertices() const { return mInnerVertices; }
  /// All triangles at any of the vertices, each once, in ascending order.
  void collectTriangles(const int* vertices, int nbVertices, std::vector<int>& triangles) const;

 private:
  void listTrianglesOfVertices(const qzScene& scene);
  void classifyEdges(const qzScene& scene);

  std::vector<tEdge> mEdges;
  std::vector<int> mInnerVertices;
  std::vector<int> mFirst, mTriangles;  // the triangles at vertex v are mTriangles[mFirst[v]] up to mFirst[v + 1]
  int mNbBoundaryEdges = 0, mNbNonManifoldEdges = 0;
};

/// What a ray is aimed at.
enum qzTarget { eVertex, eEdge, eInterior };

/// Its direction.
enum qzApproach {
  eAnyDirection,     ///< uniform
  eAlongAxis,        ///< parallel to an axis, with zeros for the other components
  eAlmostAlongAxis,  ///< the same with 1e-20 in place of the zeros
  eGrazing10,        ///< at an angle to the surface whose sine is 1 / 10
  eGrazing100,
  eGrazing1000,
  eWithinFace,  ///< in the plane of a triangle at the target: along a side, or through a corner and a side's middle
  eFromCentre,  ///< from the centre of the scene's box to the target
};

struct qzAimedRay {
  qzRay mRay;
  double mDistance;                  ///< of the target, up to rounding
  std::vector<int> mTriangles = {};  ///< at the target's vertices; a hit at the target is on one of them
};

/// A ray from outside the scene's bounding sphere, except for eFromCentre, towards a random target. It is computed in double precision and
/// rounded once, so it misses the target by a rounding error of the coordinates at most.
qzAimedRay aim(const qzScene& scene, const qzNeighbours& neighbours, qzTarget target, qzApproach approach,
               qzRandom& random);

}  // namespace qzBench
