// The fingerprints of a scene by qzMeshQueries: hashes of the answers of a MeshIndex. Trees of every quality and every
// instruction set that the processor can run must give the same ones.

#include "everywhere/qzEverywhereScenes.h"
#include "everywhere/qzFingerprints.h"
#include "everywhere/qzRayCaster.h"
#include "everywhere/qzVariantInUse.h"

#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzMeshQueries/MeshIndex.h>
#include <qzMeshQueries/walk/Walks.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "support/qzBits.h"
#include "support/qzHash.h"

namespace qzTest {

using namespace qzMeshQueries;

// Of each of six kinds: a million rays in all. Regions are points with what is near them, boxes, spheres and planes.
const std::size_t kFewRays = 1000, kAllRays = 170000, kFewRegions = 300, kAllRegions = 3000;
const int kMaxCastingThreads = 256;

const char* variantInUse() {
  static const std::string joined = [] {
    std::string text;
    for (const std::string& name : qzMeshQueries::detail::instructionSets()) text += (text.empty() ? "" : "+") + name;
    return text;
  }();
  return joined.c_str();
}

namespace {

/// All answers to the rays of a batch.
struct Answers {
  std::vector<Hit> closest;
  std::vector<std::uint8_t> any;
  std::vector<Crossings> crossings;
  Lists<Hit> all;
};

Answers ask(const MeshIndex& index, const std::vector<Ray>& rays, const RayOptions& options, int nbThreads) {
  Answers answers;
  answers.closest.resize(rays.size());
  answers.any.resize(rays.size());
  answers.crossings.resize(rays.size());
  index.closestHits(rays.data(), rays.size(), answers.closest.data(), options, nbThreads);
  index.anyHits(rays.data(), rays.size(), answers.any.data(), options, nbThreads);
  index.crossings(rays.data(), rays.size(), answers.crossings.data(), options, nbThreads);
  answers.all = index.allHits(rays.data(), rays.size(), options, nbThreads);
  return answers;
}

template <class T>
bool sameBytes(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

/// The first kind of answers that differ; empty if all are the same.
std::string difference(const Answers& a, const Answers& b) {
  if (!sameBytes(a.closest, b.closest)) return "closest hits";
  if (!sameBytes(a.any, b.any)) return "whether there are hits";
  if (!sameBytes(a.crossings, b.crossings)) return "crossings";
  if (a.all.starts != b.all.starts || !sameBytes(a.all.items, b.all.items)) return "lists of hits";
  return {};
}

/// What is near: questions, and all answers to them.
struct NearQuestions {
  std::vector<std::array<float, 3>> points;
  std::vector<std::vector<Wm4::Vector4<float>>> planes;  // of as many regions
  float radius;                                          // of spheres and, as half an edge, of boxes
};
struct NearAnswers {
  std::vector<Nearest> nearest;
  std::vector<std::uint64_t> inBox, inSphere, inRegion;  // hashes of the lists of triangles
};

NearAnswers ask(const MeshIndex& index, const NearQuestions& questions, int nbThreads) {
  NearAnswers answers;
  const std::size_t count = questions.points.size();
  answers.nearest.resize(count);
  index.nearests(reinterpret_cast<const float(*)[3]>(questions.points.data()), count, answers.nearest.data(), kInf,
                 nbThreads);
  std::vector<std::uint32_t> numbers;
  const auto append = [&](std::vector<std::uint64_t>& hashes) {
    Hash hash;
    for (const std::uint32_t number : numbers) hash.add(number);
    hashes.push_back(hash.value());
  };
  for (std::size_t i = 0; i < count; ++i) {
    const float* const point = questions.points[i].data();
    float min[3], max[3];
    for (int axis = 0; axis < 3; ++axis) {
      min[axis] = point[axis] - questions.radius;
      max[axis] = point[axis] + questions.radius;
    }
    index.trianglesInBox(min, max, numbers);
    append(answers.inBox);
    index.trianglesInSphere(point, questions.radius, numbers);
    append(answers.inSphere);
    static_assert(sizeof(Wm4::Vector4<float>) == 16, "four floats and nothing else");
    index.trianglesInRegion(reinterpret_cast<const float(*)[4]>(questions.planes[i].data()), questions.planes[i].size(),
                            numbers);
    append(answers.inRegion);
  }
  return answers;
}

/// Which NaN stands for nothing is always the same one, so bytes can be compared.
std::string difference(const NearAnswers& a, const NearAnswers& b) {
  if (!sameBytes(a.nearest, b.nearest)) return "nearest points";
  if (a.inBox != b.inBox) return "triangles in boxes";
  if (a.inSphere != b.inSphere) return "triangles in spheres";
  if (a.inRegion != b.inRegion) return "triangles in regions";
  return {};
}

void add(Hash& hash, const Hit& hit) {
  hash.addAll(hit.t, hit.u, hit.v, hit.triangle);
}

class Taker {
 public:
  Taker(const EverywhereScene& scene, const FingerprintEffort& effort)
      : mScene(scene), mCount(effort.isShort || isDenormal(scene) ? kFewRays : kAllRays), mNbThreads(effort.nbThreads) {
    copyMesh();
  }

  FingerprintResult take() {
    for (const Quality quality : {Quality::good, Quality::fast, Quality::best}) {
      BuildOptions options;
      options.quality = quality;
      mIndices.emplace_back(mesh(), options);
      if (mIndices.back().meshDigest() != mIndices[0].meshDigest() ||
          mIndices.back().isClosed() != mIndices[0].isClosed())
        throw std::runtime_error(mScene.name + ": digests depend on the quality");
    }
    Hash digest;
    for (const std::uint64_t half : mIndices[0].meshDigest())
      digest.addAll(static_cast<std::uint32_t>(half), static_cast<std::uint32_t>(half >> 32));
    digest.add(mIndices[0].isClosed());
    mResult.fingerprints.push_back({"mesh", digest.value()});

    const RayBatch camera = cameraRays(mScene, mCount);
    const Answers seen = askAll("camera", camera);
    std::vector<RayAnswer> hits;
    for (const Hit& hit : seen.closest) hits.push_back({bool(hit), hit.t, {hit.u, hit.v}, hit.triangle});
    askAll("bounce", bounceRays(mScene, camera, hits));
    askAll("chord", chords(mScene, RayBatch::eFront, mCount));
    askAll("edge", edgeRays(mScene, mCount));
    askAll("axis", axisRays(mScene, mCount));
    askAll("picture", pictureRays());
    askInside();
    askNear();
    return mResult;
  }

 private:
  Mesh mesh() const { return {mVertices.data(), mVertices.size() / 3, mTriangles.data(), mTriangles.size() / 3}; }

  /// Every ray meets all boxes of such a scene, as none is larger than their margins.
  static bool isDenormal(const EverywhereScene& scene) {
    float largest = 0.0f;
    for (int axis = 0; axis < 3; ++axis)
      largest = std::max({largest, std::fabs(scene.min[axis]), std::fabs(scene.max[axis])});
    return largest < 0x1p-120f;
  }

  /// The triangles without coordinates that a MeshIndex refuses.
  void copyMesh() {
    const qzDetail::tFloatMode mode;
    for (unsigned int i = 0; i < mScene.nbTriangles(); ++i) {
      bool isGood = true;
      for (unsigned int k = 0; k < 3; ++k)
        for (int axis = 0; axis < 3; ++axis) isGood = isGood && std::fabs(mScene.corner(i, k)[axis]) <= 1e15f;
      if (!isGood) continue;
      for (unsigned int k = 0; k < 3; ++k) {
        mTriangles.push_back(static_cast<std::uint32_t>(mVertices.size() / 3));
        for (int axis = 0; axis < 3; ++axis) mVertices.push_back(mScene.corner(i, k)[axis]);
      }
    }
  }

  /// Row by row, as programs ask for pictures.
  RayBatch pictureRays() const {
    const qzDetail::tFloatMode mode;
    RayBatch batch{"picture", RayBatch::eBoth, {}};
    float size = 0.0f;
    Point middle;
    for (int axis = 0; axis < 3; ++axis) {
      size = std::max(size, mScene.max[axis] - mScene.min[axis]);
      middle[axis] = 0.5f * mScene.min[axis] + 0.5f * mScene.max[axis];
    }
    const Point eye(middle[0] - size, middle[1] - 0.25f * size, middle[2] + 0.5f * size);
    constexpr std::size_t kWidth = 500;
    for (std::size_t i = 0; i < mCount; ++i) {
      const float x = static_cast<float>(i % kWidth) / static_cast<float>(kWidth) - 0.5f;
      const float y = static_cast<float>(i / kWidth) / 340.0f - 0.5f;
      batch.rays.push_back({eye, Point(1.0f, 0.25f + x, -0.5f - y), 0.0f, kInf});
    }
    return batch;
  }

  /// Asks by every instruction set, and trees of every quality. All must answer alike; returns the answers.
  template <class All, class Ask>
  All askEverywhere(const std::string& part, const Ask& askOne) {
    All first;
    bool isFirst = true;
    const std::vector<std::string> names = qzMeshQueries::detail::instructionSets();
    for (std::size_t number = 0; number < names.size(); ++number) {
      const std::string& name = names[number];
      qzMeshQueries::detail::useInstructionSet(name);
      for (const MeshIndex& index : mIndices) {
        // The first instruction set asks trees of all qualities, each other one that of one.
        if (number > 0 && &index != &mIndices[number % mIndices.size()]) continue;
        All answers = askOne(index);
        const std::string different = isFirst ? std::string() : difference(first, answers);
        if (!different.empty()) {
          std::string what = mScene.name;
          for (const std::string& word : {part, different, name, std::to_string(&index - mIndices.data())})
            what.append(", ").append(word);
          throw std::runtime_error(what);
        }
        if (isFirst) first = std::move(answers);
        isFirst = false;
      }
    }
    return first;
  }

  /// What is near the ends of chords, and in boxes, spheres and regions.
  void askNear() {
    const std::size_t count = mCount == kFewRays ? kFewRegions : kAllRegions;
    NearQuestions questions;
    {
      const qzDetail::tFloatMode mode;
      const RayBatch around = chords(mScene, RayBatch::eBoth, count), aimed = edgeRays(mScene, count);
      for (std::size_t i = 0; i < count; ++i) {
        // Far from the mesh and close to it, in turn.
        const EverywhereRay& ray = i % 2 == 0 ? around.rays[i] : aimed.rays[i];
        const float share = i % 2 == 0 ? 0.0f : 0.99f;
        std::array<float, 3> point;
        for (int axis = 0; axis < 3; ++axis)
          point[static_cast<std::size_t>(axis)] = ray.origin[axis] + share * ray.direction[axis];
        questions.points.push_back(point);
      }
      questions.planes = regions(mScene, count);
      float size = 0.0f;
      for (int axis = 0; axis < 3; ++axis) size = std::max(size, mScene.max[axis] - mScene.min[axis]);
      questions.radius = 0.02f * size;
    }
    const NearAnswers answers =
        askEverywhere<NearAnswers>("near", [&](const MeshIndex& index) { return ask(index, questions, mNbThreads); });
    Hash hash;
    for (std::size_t i = 0; i < count; ++i) {
      const Nearest& nearest = answers.nearest[i];
      hash.add(nearest.triangle);
      if (nearest) {
        hash.addAll(nearest.distance, nearest.u, nearest.v);
        for (const float coordinate : nearest.point) hash.add(coordinate);
      }
      for (const std::uint64_t lists : {answers.inBox[i], answers.inSphere[i], answers.inRegion[i]})
        hash.addAll(static_cast<std::uint32_t>(lists), static_cast<std::uint32_t>(lists >> 32));
      if (i + 1 == kFewRegions || i + 1 == kAllRegions)
        mResult.fingerprints.push_back({"near-" + std::to_string(i + 1), hash.value()});
    }
    mResult.nbRegions += count;
  }

  Answers askAll(const std::string& part, const RayBatch& batch) {
    std::vector<Ray> rays;
    for (std::size_t i = 0; i < std::min(mCount, batch.rays.size()); ++i) {
      const EverywhereRay& from = batch.rays[i];
      rays.push_back({{from.origin[0], from.origin[1], from.origin[2]},
                      from.tMin,
                      {from.direction[0], from.direction[1], from.direction[2]},
                      from.t});
    }
    RayOptions options;
    options.faces = batch.policy == RayBatch::eFront  ? Faces::front
                    : batch.policy == RayBatch::eBack ? Faces::back
                                                      : Faces::both;
    Answers first =
        askEverywhere<Answers>(part, [&](const MeshIndex& index) { return ask(index, rays, options, mNbThreads); });
    note(part, first);
    mResult.nbRays += rays.size();
    return first;
  }

  /// Points around the scene, and in line with its vertices.
  std::vector<std::array<float, 3>> insidePoints() const {
    const qzDetail::tFloatMode mode;
    constexpr std::size_t kCount = 200;
    Random random(4001);
    std::vector<std::array<float, 3>> points;
    while (points.size() < kCount) {
      std::array<float, 3> point;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const float min = mScene.min[axis], max = mScene.max[axis];
        point[axis] = min + (1.25f * random.unit() - 0.125f) * (max - min);
      }
      if (points.size() % 2 == 1 && !mTriangles.empty()) {
        const std::size_t corner = random.below(static_cast<std::uint32_t>(mTriangles.size()));
        for (std::size_t axis = 0; axis < 3; ++axis)
          if (axis != points.size() / 2 % 3) point[axis] = mVertices[3 * corner + axis];
      }
      points.push_back(point);
    }
    return points;
  }

  void askInside() {
    const std::vector<std::array<float, 3>> list = insidePoints();
    const auto points = reinterpret_cast<const float(*)[3]>(list.data());
    std::vector<double> first;
    std::vector<float> firstDistances;
    for (const std::string& name : qzMeshQueries::detail::instructionSets()) {
      qzMeshQueries::detail::useInstructionSet(name);
      for (const MeshIndex& index : mIndices) {
        std::vector<double> windings(list.size());
        std::vector<float> distances(list.size());
        index.windingNumbers(points, list.size(), windings.data(), mNbThreads);
        index.signedDistances(points, list.size(), distances.data(), mNbThreads);
        if (first.empty()) {
          first = windings;
          firstDistances = distances;
        }
        if (!sameBytes(windings, first) || !sameBytes(distances, firstDistances))
          throw std::runtime_error(mScene.name + ", inside, " + name);
      }
    }
    Hash hash;
    for (std::size_t i = 0; i < list.size(); ++i) {
      std::uint64_t bits;
      std::memcpy(&bits, &first[i], sizeof bits);
      hash.addAll(static_cast<std::uint32_t>(bits), static_cast<std::uint32_t>(bits >> 32), firstDistances[i]);
    }
    mResult.fingerprints.push_back({"inside-" + std::to_string(list.size()), hash.value()});
  }

  void note(const std::string& part, const Answers& answers) {
    Hash closest, rest;
    for (std::size_t i = 0; i < answers.closest.size(); ++i) {
      add(closest, answers.closest[i]);
      mResult.nbHits += bool(answers.closest[i]);
      rest.addAll(answers.any[i] != 0, answers.crossings[i].front, answers.crossings[i].back);
      for (std::size_t k = answers.all.starts[i]; k < answers.all.starts[i + 1]; ++k) add(rest, answers.all.items[k]);
      if (i + 1 != kFewRays && i + 1 != kAllRays) continue;
      mResult.fingerprints.push_back({part + "-closest-" + std::to_string(i + 1), closest.value()});
      mResult.fingerprints.push_back({part + "-all-" + std::to_string(i + 1), rest.value()});
    }
  }

  const EverywhereScene& mScene;
  const std::size_t mCount;
  const int mNbThreads;
  std::vector<float> mVertices;
  std::vector<std::uint32_t> mTriangles;
  std::vector<MeshIndex> mIndices;
  FingerprintResult mResult;
};

}  // namespace

FingerprintResult takeFingerprints(const EverywhereScene& scene, const FingerprintEffort& effort) {
  return Taker(scene, effort).take();
}

}  // namespace qzTest
