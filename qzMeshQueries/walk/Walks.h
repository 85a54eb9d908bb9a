#pragma once
// The walks over a tree, one set per instruction set. All give the same answers.

#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/tree/WideTree.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qzMeshQueries::detail {

/// What a walk needs besides the tree: skip is a number of the mesh, without firstTriangle, or kNone; the numbers in the
/// answers are such numbers too.
struct WalkOptions {
  Faces faces;
  std::uint32_t skip;
};

struct NearWalks;
struct WindingWalks;

/// The questions about rays. Trees may be empty.
struct Walks {
  const char* name;  ///< of the instruction set
  Hit (*closestHit)(const WideTree& tree, const Ray& ray, const WalkOptions& options);
  bool (*anyHit)(const WideTree& tree, const Ray& ray, const WalkOptions& options);
  void (*allHits)(const WideTree& tree, const Ray& ray, const WalkOptions& options,
                  std::vector<Hit>& hits);  ///< appends, in order
  Crossings (*crossings)(const WideTree& tree, const Ray& ray, const WalkOptions& options);

  // Many rays, on the calling thread; the answers are those of the functions above. rowLength: where neighbours may be
  // found, from findRowLength. Failure: std::bad_alloc.
  void (*closestHits)(const WideTree& tree, const Ray* rays, std::size_t count, std::size_t rowLength,
                      const WalkOptions& options, Hit* hits);
  void (*anyHits)(const WideTree& tree, const Ray* rays, std::size_t count, std::size_t rowLength,
                  const WalkOptions& options, std::uint8_t* isHit);
  void (*crossingsOfRays)(const WideTree& tree, const Ray* rays, std::size_t count, std::size_t rowLength,
                          const WalkOptions& options, Crossings* crossings);

  const NearWalks* near;        ///< the questions about what is near
  const WindingWalks* winding;  ///< the questions about what is inside
};

/// The walks in use: those of the best instruction set of the processor, unless useInstructionSet chose another.
const Walks& walks();

/// The instruction sets that this processor can run, the best one first.
std::vector<std::string> instructionSets();

/// Makes walks() those of one of instructionSets(), for tests and measurements; returns false for another name. No query
/// may run meanwhile.
bool useInstructionSet(const std::string& name);

}  // namespace qzMeshQueries::detail
