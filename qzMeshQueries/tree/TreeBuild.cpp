#include <qzMeshQueries/tree/TreeBuild.h>

#include <qzMeshQueries/tree/BinaryBuild.h>
#include <qzMeshQueries/tree/BuildWatch.h>
#include <qzMeshQueries/tree/Collapse.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace qzMeshQueries::detail {

namespace {

// Numbers of nodes and positions leave a bit free.
constexpr std::size_t kMaxTriangles = std::size_t(1) << 30;

// Passes over the triangles, of which a watch hears.
double nbPasses(std::size_t nbTriangles) {
  double levels = 0;
  for (std::size_t n = nbTriangles; n > kMaxPartTriangles; n /= 2) ++levels;
  return 1 + 2 * levels + 3;
}

}  // namespace

WideTree buildTree(const Mesh& mesh, const BuildOptions& options) {
  if (mesh.triangleCount > kMaxTriangles) throw std::length_error("the mesh has too many triangles");
  BuildWatch watch(options, nbPasses(mesh.triangleCount) * double(mesh.triangleCount));
  watch.done(0);
  WideTree wide;
  if (mesh.triangleCount > 0) {
    onThreads(options.threads, [&] {
      BuildStart start = startBuild(mesh, watch);
      const float extent = start.largestExtent();
      BinaryTree tree = buildBySurfaceArea(std::move(start), watch, [&](BinaryTree& whole, BinaryPart& part) {
        chooseInPart(mesh, whole, part, extent);
      });
      wide = writeWideTree(mesh, tree, extent, watch);
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
