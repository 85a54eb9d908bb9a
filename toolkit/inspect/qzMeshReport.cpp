#include <toolkit/inspect/qzMeshReport.h>

#include <tbb/parallel_sort.h>
#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/base/qzVectorMath.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <tuple>
#include <utility>
#include <vector>

namespace qzToolkit {

namespace {

/// Sorts on the threads of the pool. cancel is polled before the sort, not within it.
template <class tElement, class tLess>
void sort(std::vector<tElement>& elements, const qzThreads& threads, const tCancel* cancel, const tLess& less) {
  throwIfCanceled(cancel);
  threads.execute([&] { tbb::parallel_sort(elements.begin(), elements.end(), less); });
}

/// Calls function(begin, end) for every run of equal elements in a sorted array.
template <class tElement, class tEqual, class tFunction>
void forEachRun(const std::vector<tElement>& elements, const tCancel* cancel, const tEqual& equal,
                const tFunction& function) {
  for (auto begin = elements.begin(); begin != elements.end();) {
    throwIfCanceled(cancel);
    const auto end = std::find_if(begin, elements.end(), [&](const tElement& e) { return !equal(*begin, e); });
    function(begin, end);
    begin = end;
  }
}

/// For every vertex the smallest index of a vertex at the same position.
std::vector<int> mergePlaces(const qz::qzTriMesh& mesh, const qzThreads& threads, const tCancel* cancel) {
  struct tPlace {
    std::uint32_t mBits[3];
    int mVertex;
    auto place() const { return std::tie(mBits[0], mBits[1], mBits[2]); }
  };
  std::vector<tPlace> places(static_cast<std::size_t>(std::max(mesh.getVertexBuffer()->getNbVertices(), 0)));
  for (std::size_t i = 0; i < places.size(); ++i) {
    places[i].mVertex = static_cast<int>(i);
    const Wm4::Vector3<float> position = mesh.getVertexBuffer()->Position3(places[i].mVertex);
    for (int axis = 0; axis < 3; ++axis) {
      const float coordinate = position[axis] + 0.0f;  // -0 is the same position as 0
      std::memcpy(&places[i].mBits[axis], &coordinate, sizeof coordinate);
    }
  }
  sort(places, threads, cancel, [](const tPlace& a, const tPlace& b) {
    return a.place() != b.place() ? a.place() < b.place() : a.mVertex < b.mVertex;
  });
  std::vector<int> firstAtPlace(places.size());
  forEachRun(
      places, cancel, [](const tPlace& a, const tPlace& b) { return a.place() == b.place(); },
      [&](auto begin, auto end) {
        for (auto place = begin; place != end; ++place) {
          firstAtPlace[static_cast<std::size_t>(place->mVertex)] = begin->mVertex;
        }
      });
  return firstAtPlace;
}

/// Three different positions in ascending order, and whether an odd permutation sorted them.
struct tFace {
  int mPlaces[3];
  bool mIsOdd;

  auto places() const { return std::tie(mPlaces[0], mPlaces[1], mPlaces[2]); }

  explicit tFace(const int (&places)[3]) : mPlaces{places[0], places[1], places[2]}, mIsOdd(false) {
    for (const auto& [low, high] : {std::pair(0, 1), std::pair(1, 2), std::pair(0, 1)}) {
      if (mPlaces[low] < mPlaces[high]) continue;
      std::swap(mPlaces[low], mPlaces[high]);
      mIsOdd = !mIsOdd;
    }
  }
};

void countDuplicates(std::vector<tFace> faces, const qzThreads& threads, const tCancel* cancel, qzMeshReport& report) {
  sort(faces, threads, cancel, [](const tFace& a, const tFace& b) { return a.places() < b.places(); });
  forEachRun(
      faces, cancel, [](const tFace& a, const tFace& b) { return a.places() == b.places(); },
      [&](auto begin, auto end) {
        const auto nbOdd = std::count_if(begin, end, [](const tFace& face) { return face.mIsOdd; });
        report.mNbDuplicateTriangles += static_cast<std::size_t>(end - begin - 1);
        if (nbOdd > 0 && nbOdd < end - begin) ++report.mNbFlippedDuplicateTriangles;
      });
}

void countEdges(const std::vector<tFace>& faces, const qzThreads& threads, const tCancel* cancel,
                qzMeshReport& report) {
  // An edge is its two positions and, in the lowest bit, whether its triangle traverses it in descending order.
  std::vector<std::uint64_t> edges;
  edges.reserve(3 * faces.size());
  const auto add = [&](int low, int high, bool isDown) {
    edges.push_back(std::uint64_t(low) << 32 | std::uint64_t(high) << 1 | std::uint64_t(isDown));
  };
  for (const tFace& face : faces) {
    add(face.mPlaces[0], face.mPlaces[1], face.mIsOdd);
    add(face.mPlaces[1], face.mPlaces[2], face.mIsOdd);
    add(face.mPlaces[0], face.mPlaces[2], !face.mIsOdd);
  }
  sort(edges, threads, cancel, std::less<>());
  forEachRun(
      edges, cancel, [](std::uint64_t a, std::uint64_t b) { return a >> 1 == b >> 1; },
      [&](auto begin, auto end) {
        ++report.mNbEdges;
        if (end - begin == 1) ++report.mNbBoundaryEdges;
        if (end - begin > 2) ++report.mNbNonManifoldEdges;
        if (end - begin == 2 && begin[0] == begin[1]) ++report.mNbInconsistentEdges;
      });
}

void measurePrecision(qzMeshReport& report) {
  double longest = 0.0;
  for (int axis = 0; axis < 3; ++axis) {
    const float low = report.mBox.getMinPoint()[axis], high = report.mBox.getMaxPoint()[axis];
    report.mLargestCoordinate = std::max({report.mLargestCoordinate, std::abs(low), std::abs(high)});
    longest = std::max(longest, double(high) - low);
  }
  report.mCoordinateStep =
      std::nextafter(report.mLargestCoordinate, std::numeric_limits<float>::infinity()) - report.mLargestCoordinate;
  report.mStepsAcross = longest / report.mCoordinateStep;
}

}  // namespace

bool hasNormal(const qz::qzTriMesh& mesh, std::size_t triangle) {
  const auto [a, b, c] = cornersOf(mesh, triangle);
  const Wm4::Vector3<float> normal = cross(difference(b, a), difference(c, a));
  const float squaredLength = dot(normal, normal);
  return squaredLength > 0.0f && std::isfinite(squaredLength);
}

qzMeshReport inspectMesh(const qz::qzTriMesh& mesh, const qzThreads& threads, const tCancel* cancel) {
  qzMeshReport report;
  const std::vector<int> firstAtPlace = mergePlaces(mesh, threads, cancel);
  report.mNbVertices = firstAtPlace.size();
  report.mNbTriangles = countTriangles(mesh);

  std::vector<char> isFiniteVertex(report.mNbVertices), isUsed(report.mNbVertices);
  for (std::size_t v = 0; v < report.mNbVertices; ++v) {
    isFiniteVertex[v] = isFinite(mesh.getVertexBuffer()->Position3(static_cast<int>(v)));
    if (!isFiniteVertex[v]) {
      ++report.mNbNonFiniteVertices;
    } else if (firstAtPlace[v] != static_cast<int>(v)) {
      ++report.mNbRepeatedVertices;
    }
  }

  std::vector<tFace> faces;
  faces.reserve(report.mNbTriangles);
  for (std::size_t triangle = 0; triangle < report.mNbTriangles; ++triangle) {
    throwIfCanceled(cancel);
    const int* const corners = mesh.getIndexBuffer()->getIndices() + 3 * triangle;
    bool isInRange = true, isWhole = true;
    int places[3] = {};
    for (int k = 0; k < 3; ++k) {
      if (corners[k] < 0 || static_cast<std::size_t>(corners[k]) >= report.mNbVertices) {
        isInRange = false;
        continue;
      }
      const auto vertex = static_cast<std::size_t>(corners[k]);
      isUsed[vertex] = true;
      isWhole &= isFiniteVertex[vertex] != 0;
      places[k] = firstAtPlace[vertex];
    }
    if (!isInRange) {
      ++report.mNbOutOfRangeTriangles;
      continue;
    }
    if (!isWhole) {
      ++report.mNbNonFiniteTriangles;
      continue;
    }
    for (int k = 0; k < 3; ++k) report.mBox.selfExpand(mesh.getVertexBuffer()->Position3(corners[k]));
    if (!hasNormal(mesh, triangle)) ++report.mNbDegenerateTriangles;
    if (places[0] == places[1] || places[1] == places[2] || places[2] == places[0]) {
      ++report.mNbRepeatedCornerTriangles;
    } else {
      faces.emplace_back(places);
    }
  }
  report.mNbUnusedVertices = static_cast<std::size_t>(std::count(isUsed.begin(), isUsed.end(), 0));

  countEdges(faces, threads, cancel, report);
  countDuplicates(std::move(faces), threads, cancel, report);
  if (report.mNbTriangles > report.mNbOutOfRangeTriangles + report.mNbNonFiniteTriangles) measurePrecision(report);
  return report;
}

}  // namespace qzToolkit
