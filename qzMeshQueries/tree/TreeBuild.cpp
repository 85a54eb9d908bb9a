#include <qzMeshQueries/tree/TreeBuild.h>

#include <qzMeshQueries/tree/BinaryBuild.h>
#include <qzMeshQueries/tree/BuildWatch.h>
#include <qzMeshQueries/tree/Collapse.h>
#include <qzMeshQueries/tree/Reinsertion.h>
#include <qzMeshQueries/tree/Threads.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace qzMeshQueries::detail {

namespace {

// Node numbers are stored with a flag in the highest bit, and a binary tree has up to two nodes for each triangle.
constexpr std::size_t kMaxTriangles = std::size_t(1) << 30;

// How often a build reports each triangle to its watch.
double nbPasses(const Mesh& mesh, Quality quality) {
  double levels = 0;
  for (std::size_t n = mesh.triangleCount; n > kMaxPartTriangles; n /= 2) ++levels;
  const double reinsertion = quality == Quality::best ? kReinsertionPasses + 1 : 0;
  return 1 + (quality == Quality::fast ? 4 : 2 * levels) + 1 + reinsertion + 2;
}

}  // namespace

WideTree buildTree(const Mesh& mesh, const BuildOptions& options) {
  if (mesh.triangleCount > kMaxTriangles) throw std::length_error("the mesh has too many triangles");
  BuildWatch watch(options, nbPasses(mesh, options.quality) * double(mesh.triangleCount));
  watch.done(0);
  WideTree wide;
  if (mesh.triangleCount > 0) {
    onThreads(options.threads, [&] {
      BuildStart start = startBuild(mesh, watch);
      Collapse collapse(mesh, start.largestExtent());
      const auto onPart = [&](BinaryTree& whole, BinaryPart& part) { collapse.choose(whole, part); };
      BinaryTree tree;
      if (options.quality == Quality::fast) {
        tree = buildByMortonCodes(std::move(start), watch, onPart);
      } else if (options.quality == Quality::good) {
        tree = buildBySurfaceArea(std::move(start), watch, onPart);
      } else {
        const float extent = start.largestExtent();
        tree = buildBySurfaceArea(std::move(start), watch, [](BinaryTree&, BinaryPart&) {});
        tree = reinsert(std::move(tree), extent, watch, onPart);
      }
      wide = collapse.write(tree, watch);
      for (int axis = 0; axis < 3; ++axis) {
        wide.min[axis] = tree.top[0].box[axis];
        wide.max[axis] = tree.top[0].box[axis + 3];
      }
    });
  }
  if (options.progress) options.progress(1.0);
  return wide;
}

}  // namespace qzMeshQueries::detail
