#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzMeshQueries/MeshIndex.h>
#include <qzMeshQueries/batch/Batches.h>
#include <qzMeshQueries/batch/Numbers.h>
#include <qzMeshQueries/batch/PointOrder.h>
#include <qzMeshQueries/tree/Edges.h>
#include <qzMeshQueries/tree/MeshCheck.h>
#include <qzMeshQueries/tree/Refit.h>
#include <qzMeshQueries/tree/TreeBuild.h>
#include <qzMeshQueries/walk/NearWalks.h>
#include <qzMeshQueries/walk/Walks.h>
#include <qzMeshQueries/walk/WindingWalks.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <utility>
#include <vector>

namespace qzMeshQueries {

const char* Cancelled::what() const noexcept {
  return "the build was cancelled";
}

struct MeshIndex::Content {
  detail::WideTree tree;
  std::size_t triangleCount = 0, vertexCount = 0;
  std::uint32_t firstTriangle = 0;
  detail::Digest vertexDigest = {}, triangleDigest = {};
  double builtCost = 0;  ///< of the tree as it was built

  /// Found by the first question that needs it, as most programs never ask one. Threads that ask meanwhile wait.
  const detail::Boundary& boundary() const {
    if (!mHasBoundary.load(std::memory_order_acquire)) {
      const std::lock_guard<std::mutex> lock(mFinding);
      if (!mHasBoundary.load(std::memory_order_relaxed)) {
        const qzDetail::tFloatMode mode;
        mBoundary = detail::findBoundary(tree);
        mHasBoundary.store(true, std::memory_order_release);
      }
    }
    return mBoundary;
  }
  /// When vertices have moved.
  void forgetBoundary() {
    mBoundary = {};
    mHasBoundary.store(false);
  }
  bool isClosed() const { return boundary().edgeCount == 0; }
  /// 0 until it is found.
  std::size_t boundaryBytes() const { return mHasBoundary.load(std::memory_order_acquire) ? mBoundary.bytes() : 0; }

  /// The walks do not know of firstTriangle.
  detail::WalkOptions optionsOf(const RayOptions& options) const {
    const bool isOurs = options.skip >= firstTriangle && options.skip - firstTriangle < triangleCount;
    return {options.faces, isOurs ? options.skip - firstTriangle : kNone};
  }
  void renumber(Hit& hit) const {
    if (hit) hit.triangle += firstTriangle;
  }
  Nearest renumbered(Nearest nearest) const {
    if (nearest) nearest.triangle += firstTriangle;
    return nearest;
  }

  /// Replaces numbers by what collect(walks, numbers) appends, in order.
  template <class Collect>
  void list(std::vector<std::uint32_t>& numbers, const Collect& collect) const {
    const qzDetail::tFloatMode mode;
    collect(*detail::walks().near);
    detail::sortNumbers(numbers);
    for (std::uint32_t& number : numbers) number += firstTriangle;
  }

 private:
  mutable std::mutex mFinding;
  mutable detail::Boundary mBoundary;
  mutable std::atomic<bool> mHasBoundary{false};
};

// Without content, after a move as well, there are no triangles.
MeshIndex::MeshIndex() = default;

MeshIndex::MeshIndex(const Mesh& mesh, const BuildOptions& options) {
  const qzDetail::tFloatMode mode;
  detail::checkMesh(mesh, options);
  auto content = std::make_unique<Content>();
  content->triangleCount = mesh.triangleCount;
  content->vertexCount = mesh.vertexCount;
  content->firstTriangle = options.firstTriangle;
  content->vertexDigest = detail::digestOfVertices(mesh.vertices, mesh.vertexCount);
  content->triangleDigest = detail::digestOfTriangles(mesh.triangles, mesh.triangleCount);
  content->tree = detail::buildTree(mesh, options);
  content->builtCost = detail::costOf(content->tree);
  mContent = std::move(content);
}

MeshIndex::~MeshIndex() = default;
MeshIndex::MeshIndex(MeshIndex&&) noexcept = default;
MeshIndex& MeshIndex::operator=(MeshIndex&&) noexcept = default;

Hit MeshIndex::closestHit(const Ray& ray, const RayOptions& options) const {
  if (!mContent) return {};
  const qzDetail::tFloatMode mode;
  const Content& content = *mContent;
  Hit hit = detail::walks().closestHit(content.tree, ray, content.optionsOf(options));
  content.renumber(hit);
  return hit;
}

bool MeshIndex::anyHit(const Ray& ray, const RayOptions& options) const {
  if (!mContent) return false;
  const qzDetail::tFloatMode mode;
  const Content& content = *mContent;
  return detail::walks().anyHit(content.tree, ray, content.optionsOf(options));
}

void MeshIndex::allHits(const Ray& ray, std::vector<Hit>& hits, const RayOptions& options) const {
  hits.clear();
  if (!mContent) return;
  const qzDetail::tFloatMode mode;
  const Content& content = *mContent;
  detail::walks().allHits(content.tree, ray, content.optionsOf(options), hits);
  for (Hit& hit : hits) content.renumber(hit);
}

Crossings MeshIndex::crossings(const Ray& ray, const RayOptions& options) const {
  if (!mContent) return {};
  const qzDetail::tFloatMode mode;
  const Content& content = *mContent;
  return detail::walks().crossings(content.tree, ray, content.optionsOf(options));
}

Nearest MeshIndex::nearest(const float point[3], float maxDistance) const {
  if (!mContent) return detail::nothingNear();
  const qzDetail::tFloatMode mode;
  const Content& content = *mContent;
  return content.renumbered(detail::walks().near->findNearest(content.tree, point, maxDistance).answer(point));
}

void MeshIndex::trianglesInBox(const float min[3], const float max[3], std::vector<std::uint32_t>& numbers) const {
  numbers.clear();
  if (!mContent) return;
  const qzDetail::tFloatMode mode;
  detail::RegionBox box;
  if (!detail::makeRegionBox(min, max, box)) return;
  mContent->list(numbers, [&](const detail::NearWalks& walks) { walks.findInBox(mContent->tree, box, numbers); });
}

void MeshIndex::trianglesInSphere(const float center[3], float radius, std::vector<std::uint32_t>& numbers) const {
  numbers.clear();
  if (!mContent) return;
  mContent->list(numbers,
                 [&](const detail::NearWalks& walks) { walks.findInSphere(mContent->tree, center, radius, numbers); });
}

void MeshIndex::trianglesInRegion(const float (*planes)[4], std::size_t count,
                                  std::vector<std::uint32_t>& numbers) const {
  numbers.clear();
  if (!mContent) return;
  mContent->list(numbers,
                 [&](const detail::NearWalks& walks) { walks.findInRegion(mContent->tree, planes, count, numbers); });
}

void MeshIndex::nearests(const float (*points)[3], std::size_t count, Nearest* out, float maxDistance,
                         int threads) const {
  if (!mContent) return void(std::fill(out, out + count, detail::nothingNear()));
  detail::forEachPoints(count, threads, [&](std::size_t begin, std::size_t end) {
    const qzDetail::tFloatMode mode;
    const Content& content = *mContent;
    const std::vector<std::uint32_t> order =
        detail::orderOfPoints(points + begin, end - begin, content.tree.min, content.tree.max);
    detail::walks().near->findNearests(content.tree, points + begin, order.data(), end - begin, maxDistance,
                                       out + begin);
    for (std::size_t i = begin; i < end; ++i) out[i] = content.renumbered(out[i]);
  });
}

void MeshIndex::closestHits(const Ray* rays, std::size_t count, Hit* hits, const RayOptions& options,
                            int threads) const {
  if (!mContent) return void(std::fill(hits, hits + count, Hit()));
  const std::size_t rowLength = detail::findRowLength(rays, count);
  detail::forEachChunk(count, detail::chunkOf(rowLength), threads, [&](std::size_t begin, std::size_t end) {
    const qzDetail::tFloatMode mode;
    const Content& content = *mContent;
    detail::walks().closestHits(content.tree, rays + begin, end - begin, rowLength, content.optionsOf(options),
                                hits + begin);
    for (std::size_t i = begin; i < end; ++i) content.renumber(hits[i]);
  });
}

void MeshIndex::anyHits(const Ray* rays, std::size_t count, std::uint8_t* isHit, const RayOptions& options,
                        int threads) const {
  if (!mContent) return void(std::fill(isHit, isHit + count, std::uint8_t(0)));
  const std::size_t rowLength = detail::findRowLength(rays, count);
  detail::forEachChunk(count, detail::chunkOf(rowLength), threads, [&](std::size_t begin, std::size_t end) {
    const qzDetail::tFloatMode mode;
    const Content& content = *mContent;
    detail::walks().anyHits(content.tree, rays + begin, end - begin, rowLength, content.optionsOf(options),
                            isHit + begin);
  });
}

Lists<Hit> MeshIndex::allHits(const Ray* rays, std::size_t count, const RayOptions& options, int threads) const {
  return detail::collectLists<Hit>(count, threads, [&](std::size_t i, std::vector<Hit>& items) {
    if (!mContent) return;
    const std::size_t first = items.size();
    const qzDetail::tFloatMode mode;
    const Content& content = *mContent;
    detail::walks().allHits(content.tree, rays[i], content.optionsOf(options), items);
    for (std::size_t k = first; k < items.size(); ++k) content.renumber(items[k]);
  });
}

void MeshIndex::crossings(const Ray* rays, std::size_t count, Crossings* out, const RayOptions& options,
                          int threads) const {
  if (!mContent) return void(std::fill(out, out + count, Crossings()));
  const std::size_t rowLength = detail::findRowLength(rays, count);
  detail::forEachChunk(count, detail::chunkOf(rowLength), threads, [&](std::size_t begin, std::size_t end) {
    const qzDetail::tFloatMode mode;
    const Content& content = *mContent;
    detail::walks().crossingsOfRays(content.tree, rays + begin, end - begin, rowLength, content.optionsOf(options),
                                    out + begin);
  });
}

double MeshIndex::windingNumber(const float point[3]) const {
  if (!mContent) return 0;
  const qzDetail::tFloatMode mode;
  const Content& content = *mContent;
  const float points[1][3] = {{point[0], point[1], point[2]}};
  detail::Turning turning;
  if (!content.isClosed()) detail::walks().winding->turnBoundary(content.boundary(), points, 1, &turning);
  const Crossings crossings = detail::walks().winding->crossingsAbove(content.tree, point);
  return mode.keep(detail::windingOf(crossings, turning));
}

bool MeshIndex::contains(const float point[3]) const {
  return std::fabs(windingNumber(point)) > 0.5;
}

void MeshIndex::windingNumbers(const float (*points)[3], std::size_t count, double* out, int threads) const {
  if (!mContent) return void(std::fill(out, out + count, 0.0));
  const Content& content = *mContent;
  const bool isClosed = content.isClosed();
  detail::forEachChunk(count, detail::kChunk, threads, [&](std::size_t begin, std::size_t end) {
    const qzDetail::tFloatMode mode;
    const std::size_t room = std::min(end - begin, detail::kChunk);
    std::vector<Crossings> crossings(room);
    std::vector<detail::Turning> turnings(isClosed ? 0 : room);
    for (; begin < end; begin += room) {
      const std::size_t size = std::min(end - begin, room);
      detail::walks().winding->crossingsAboveMany(content.tree, points + begin, size, crossings.data());
      if (!isClosed) detail::walks().winding->turnBoundary(content.boundary(), points + begin, size, turnings.data());
      for (std::size_t i = 0; i < size; ++i)
        out[begin + i] = detail::windingOf(crossings[i], isClosed ? detail::Turning() : turnings[i]);
    }
  });
}

float MeshIndex::signedDistance(const float point[3]) const {
  const float distance = nearest(point).distance;
  return contains(point) ? -distance : distance;
}

void MeshIndex::signedDistances(const float (*points)[3], std::size_t count, float* out, int threads) const {
  constexpr std::size_t kAtOnce = 1 << 16;  // bounds the memory of answers on the way
  std::vector<Nearest> nearest(std::min(count, kAtOnce));
  std::vector<double> winding(nearest.size());
  for (std::size_t begin = 0; begin < count; begin += kAtOnce) {
    const std::size_t size = std::min(count - begin, kAtOnce);
    nearests(points + begin, size, nearest.data(), std::numeric_limits<float>::infinity(), threads);
    windingNumbers(points + begin, size, winding.data(), threads);
    for (std::size_t i = 0; i < size; ++i)
      out[begin + i] = std::fabs(winding[i]) > 0.5 ? -nearest[i].distance : nearest[i].distance;
  }
}

void MeshIndex::refit(const float* vertices) {
  if (!mContent) return;
  const qzDetail::tFloatMode mode;
  Content& content = *mContent;
  detail::checkVertices(content.tree, vertices);
  detail::refit(content.tree, vertices);
  content.vertexDigest = detail::digestOfVertices(vertices, content.vertexCount);
  content.forgetBoundary();
}

double MeshIndex::costRatio() const {
  if (!mContent || mContent->builtCost == 0) return 1;
  const qzDetail::tFloatMode mode;
  return mode.keep(detail::costOf(mContent->tree) / mContent->builtCost);
}

std::size_t MeshIndex::triangleCount() const {
  return mContent ? mContent->triangleCount : 0;
}
std::size_t MeshIndex::vertexCount() const {
  return mContent ? mContent->vertexCount : 0;
}

std::size_t MeshIndex::memoryUsed() const {
  if (!mContent) return sizeof(*this);
  const detail::WideTree& tree = mContent->tree;
  return sizeof(*this) + sizeof(Content) + tree.nodes.bytes() + tree.blocks.bytes() + tree.vertexNumbers.bytes() +
         mContent->boundaryBytes();
}

bool MeshIndex::isClosed() const {
  return !mContent || mContent->isClosed();
}

std::array<std::uint64_t, 2> MeshIndex::meshDigest() const {
  if (!mContent)
    return detail::digestOf(detail::digestOfVertices(nullptr, 0), detail::digestOfTriangles(nullptr, 0), 0, 0);
  const Content& content = *mContent;
  return detail::digestOf(content.vertexDigest, content.triangleDigest, content.vertexCount, content.triangleCount);
}

}  // namespace qzMeshQueries
