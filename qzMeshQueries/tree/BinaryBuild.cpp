#include <qzMeshQueries/tree/BinaryBuild.h>

#include <qzMeshQueries/tree/Threads.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace qzMeshQueries::detail {

using namespace qzDetail;

namespace {

tFloat4 vertexOf(const Mesh& mesh, std::size_t number) {
  // The last vertex has no float behind it. A sum with 0 is never -0, so boxes do not depend on the order of unions.
  const float* vertex = mesh.vertices + 3 * number;
  return float4(vertex[0], vertex[1], vertex[2], 0.0f) + float4(0.0f);
}

}  // namespace

float BuildStart::largestExtent() const {
  alignas(16) float extent[4];
  store(extent, box.maxInFront() - box.mMin);
  return std::max({extent[0], extent[1], extent[2]});
}

BuildStart startBuild(const Mesh& mesh, BuildWatch& watch) {
  struct Boxes {
    CentreBox centres;
    tBoxLanes box;
  };
  BuildStart start;
  start.items = AlignedArray<BinaryNode>(mesh.triangleCount);
  const std::size_t nbChunks = (mesh.triangleCount + kTrianglesPerPoll - 1) / kTrianglesPerPoll;
  std::vector<Boxes> boxes(nbChunks);
  forEach(nbChunks, [&](std::size_t chunk) {
    Boxes own;
    const std::size_t begin = chunk * kTrianglesPerPoll, end = std::min(begin + kTrianglesPerPoll, mesh.triangleCount);
    for (std::size_t i = begin; i < end; ++i) {
      const std::uint32_t* corners = mesh.triangles + 3 * i;
      const tFloat4 a = vertexOf(mesh, corners[0]), b = vertexOf(mesh, corners[1]), c = vertexOf(mesh, corners[2]);
      const tFloat4 max = largerOf(a, largerOf(b, c));
      tBoxLanes box;
      box.mMin = smallerOf(a, smallerOf(b, c));
      box.mMax = shuffle<0, 0, 1, 2>(max);
      start.items[i].setBox(box);
      start.items[i].first = std::uint32_t(i);
      start.items[i].count = 1;
      own.box.unite(box);
      own.centres.add(box.mMin + max);
    }
    boxes[chunk] = own;
    watch.done(double(end - begin));
  });
  for (const Boxes& own : boxes) {
    start.box.unite(own.box);
    start.centres.add(own.centres);
  }
  return start;
}

void uniteTop(BinaryTree& tree) {
  for (std::size_t i = tree.top.size(); i-- > 0;) {
    BinaryNode& node = tree.top[i];
    tBoxLanes box;
    if (node.isInner()) {
      box = tree.top[node.leftChild()].lanes();
      box.unite(tree.top[node.leftChild() + 1].lanes());
    } else {
      box = tree.parts[node.first].nodes[0].lanes();
    }
    node.setBox(box);
  }
}

void keepNodes(BinaryTree& tree, BinaryPart& part, const PartScratch& scratch, std::uint32_t count) {
  part.size = count;
  if (count <= part.end - part.begin) {
    part.nodes = &tree.memory[part.begin];
    part.choices = &tree.choices[part.begin];
  } else {
    part.ownNodes = AlignedArray<BinaryNode>(count);
    part.ownChoices = AlignedArray<std::uint64_t>(count);
    part.nodes = part.ownNodes.data();
    part.choices = part.ownChoices.data();
  }
  std::copy_n(scratch.nodes.data(), count, part.nodes);
}

}  // namespace qzMeshQueries::detail
