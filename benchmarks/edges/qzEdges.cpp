// qzEdges: aims rays at the edges and vertices of closed meshes, and tells how many slip through and how many are given
// the same point twice, by the library and by Embree. What is true is decided exactly. Prints the tables of
// docs/edges.md.

#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzSystem/qzLog.h>
#include <toolkit/io/file/qzFile.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <exception>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>

#include <benchmarks/core/qzReport.h>
#include <benchmarks/edges/qzVerdict.h>
#include <benchmarks/peers/qzEmbree.h>
#include <benchmarks/scenes/qzAims.h>
#include <benchmarks/scenes/qzSolids.h>

namespace {

using namespace qzBench;

class tSilence : public qz::qzLog {
 public:
  bool isLogTypeEnabled(qz::qzLogType) const override { return false; }
  void write(qz::qzLogType, const std::string&, const std::string&) override {}
};

// The contestants.

constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// All hits along a ray, as a user collects them: the next query begins just behind the last hit, or by step behind it
/// when that is farther. cast(tMin) gives the nearest hit from tMin on.
template <class Cast>
void collectHits(const Cast& cast, float step, std::vector<qzAnswer>& hits) {
  hits.clear();
  float tMin = 0.0f;
  for (qzAnswer answer = cast(tMin); answer.isHit(); answer = cast(tMin)) {
    hits.push_back(answer);
    if (hits.size() > 100000) throw std::runtime_error("a ray has hits without end");
    tMin = std::max(std::nextafter(std::max(tMin, answer.mDistance), kInfinity), answer.mDistance + step);
  }
}

class tContestant {
 public:
  virtual ~tContestant() = default;
  virtual void collect(const qzRay& ray, float step, std::vector<qzAnswer>& hits) const = 0;
};

class tOurs : public tContestant {
 public:
  explicit tOurs(const qzScene& scene) { mHierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, scene.mMesh, 4); }
  void collect(const qzRay& ray, float step, std::vector<qzAnswer>& hits) const override {
    const auto cast = [&](float tMin) {
      qzAnswer answer{kInfinity, 0};
      Wm4::Vector2<float> weights;
      mHierarchy.intersectRay(ray.mOrigin, ray.mDirection, tMin, answer.mDistance, weights, answer.mTriangle,
                              qzQBVH::eIntersectBothFaces);
      return answer;
    };
    collectHits(cast, step, hits);
  }

 private:
  qzQBVH mHierarchy;
};

class tEmbree : public tContestant {
 public:
  tEmbree(const qzScene& scene, RTCSceneFlags flags) : mEmbree(scene, RTC_BUILD_QUALITY_MEDIUM, "", flags) {
    mEmbree.build();
  }
  void collect(const qzRay& ray, float step, std::vector<qzAnswer>& hits) const override {
    collectHits([&](float tMin) { return mEmbree.castBeyond(tMin, ray); }, step, hits);
  }

 private:
  qzEmbree mEmbree;
};

// Meshes far from the origin.

double sizeOf(const qzScene& scene) {
  double size = 0.0;
  for (int axis = 0; axis < 3; ++axis) size = std::max(size, double(scene.mMax[axis]) - double(scene.mMin[axis]));
  return size;
}

using tMove = std::function<tVector(const tVector&)>;

qzScene moved(const qzScene& scene, const tMove& move) {
  std::vector<tVector> positions;
  for (int i = 0; i < scene.getNbVertices(); ++i)
    positions.push_back(move(scene.mPositions[static_cast<std::size_t>(i)]));
  std::vector<int> indices(scene.getIndices(), scene.getIndices() + 3 * scene.getNbTriangles());
  return makeScene(scene.mName,
                   qz::qzTriMesh(qz::qzVertexBuffer(std::move(positions)), qz::qzIndexBuffer(std::move(indices))));
}

/// By so many sizes of the box, every coordinate rounded to float: the mesh that somebody has who works far out.
tMove awayBy(double sizes, const qzScene& scene) {
  const double way = sizes * sizeOf(scene);
  return [way](const tVector& p) {
    return tVector(static_cast<float>(double(p[0]) + 0.6 * way), static_cast<float>(double(p[1]) + 0.64 * way),
                   static_cast<float>(double(p[2]) + 0.48 * way));
  };
}

/// Back to the origin, which far out rounds nothing: the very same mesh and rays elsewhere. Throws if it did.
tMove backToOrigin(const qzScene& scene) {
  const tVector centre = scene.mCentre;
  return [centre](const tVector& p) {
    const tVector near = difference(p, centre);
    for (int axis = 0; axis < 3; ++axis)
      if (double(near[axis]) != double(p[axis]) - double(centre[axis]))
        throw std::logic_error("moving back to the origin has rounded a coordinate");
    return near;
  };
}

// The measurement.

/// A mesh with everything that is asked about it.
struct tArena {
  qzScene mScene;
  qzNeighbours mNeighbours;
  tOurs mOurs;
  tEmbree mEmbree, mRobust;
  // Only far from the origin:
  tMove mBack;
  std::unique_ptr<qzScene> mNearScene;
  std::unique_ptr<tOurs> mNearOurs;

  explicit tArena(qzScene scene, bool isMovedBack = false)
      : mScene(std::move(scene)),
        mNeighbours(mScene),
        mOurs(mScene),
        mEmbree(mScene, RTC_SCENE_FLAG_NONE),
        mRobust(mScene, RTC_SCENE_FLAG_ROBUST) {
    if (!isMovedBack) return;
    mBack = backToOrigin(mScene);
    mNearScene = std::make_unique<qzScene>(moved(mScene, mBack));
    mNearOurs = std::make_unique<tOurs>(*mNearScene);
  }
};

/// What a user tries next.
constexpr float kStep = 1e-5f;  // of the diagonal of the box

struct tOutcome {
  qzTally mOurs, mEmbree, mRobust;
  qzTally mStepping;              ///< the library with steps of kStep behind every hit
  qzTally mBack;                  ///< the library with mesh and rays moved back to the origin
  long long mNbSlippedTwice = 0;  ///< rays that slip through the library's mesh there and, from the other end, back
};

/// The same line from its other end, up to rounding; distances seen from there.
qzRay reversed(const qzAimedRay& aimed) {
  qzRay ray;
  for (int axis = 0; axis < 3; ++axis) {
    ray.mDirection[axis] = -aimed.mRay.mDirection[axis];
    ray.mOrigin[axis] = static_cast<float>(double(aimed.mRay.mOrigin[axis]) +
                                           2.0 * aimed.mDistance * double(aimed.mRay.mDirection[axis]));
  }
  return ray;
}

tOutcome measure(const tArena& arena, qzTarget target, qzApproach approach, int nbRays) {
  tOutcome outcome;
  qzRandom random(1);
  std::vector<qzAnswer> hits;
  for (int i = 0; i < nbRays; ++i) {
    const qzAimedRay aimed = aim(arena.mScene, arena.mNeighbours, target, approach, random);
    const qzTruth truth = truthOf(arena.mScene, aimed.mRay, aimed.mTriangles, aimed.mDistance);
    const auto judge = [&](const tContestant& contestant, const qzRay& ray, float step, qzTally& tally) {
      contestant.collect(ray, step, hits);
      return tally.add(truth, aimed.mTriangles, hits);
    };
    if (judge(arena.mOurs, aimed.mRay, 0.0f, outcome.mOurs) == eSlipped) {
      arena.mOurs.collect(reversed(aimed), 0.0f, hits);
      std::reverse(hits.begin(), hits.end());
      for (qzAnswer& hit : hits) hit.mDistance = static_cast<float>(2.0 * aimed.mDistance - double(hit.mDistance));
      qzTally back;
      if (back.add(truth, aimed.mTriangles, hits) == eSlipped) ++outcome.mNbSlippedTwice;
    }
    judge(arena.mOurs, aimed.mRay, kStep * 2.0f * arena.mScene.mRadius, outcome.mStepping);
    judge(arena.mEmbree, aimed.mRay, 0.0f, outcome.mEmbree);
    judge(arena.mRobust, aimed.mRay, 0.0f, outcome.mRobust);
    if (arena.mNearOurs)
      judge(*arena.mNearOurs, {arena.mBack(aimed.mRay.mOrigin), aimed.mRay.mDirection}, 0.0f, outcome.mBack);
  }
  return outcome;
}

// The tables.

/// 1234567 as 1,234,567.
std::string grouped(long long number) {
  std::string digits = std::to_string(number);
  for (std::size_t i = digits.size(); i > 3; i -= 3) digits.insert(i - 3, ",");
  return digits;
}

/// A share in per cent with two digits that count; none is told by the number of rays that were tried.
std::string share(long long count, long long nbRays) {
  if (count == 0) return "0 of " + grouped(nbRays);
  char text[32];
  const double percent = 100.0 * double(count) / double(nbRays);
  std::snprintf(text, sizeof text, percent >= 10.0 ? "%.0f %%" : percent >= 1.0 ? "%.1f %%" : "%.2g %%", percent);
  return percent >= 0.1 ? text : grouped(count) + " of " + grouped(nbRays);
}

using tRow = std::vector<std::string>;

class tTable {
 public:
  tTable(const std::string& title, const tRow& columns) {
    std::printf("\n**%s**\n\n", title.c_str());
    print(columns);
    print(tRow(columns.size(), "---"));
  }
  void print(const tRow& row) const {
    for (const std::string& cell : row) std::printf("| %s ", cell.c_str());
    std::printf("|\n");
    std::fflush(stdout);
  }
};

/// A share of the rays for every contestant.
tRow sharesOf(const std::vector<const qzTally*>& tallies, long long qzTally::*count) {
  tRow row;
  for (const qzTally* tally : tallies) row.push_back(share(tally->*count, tally->mNbRays));
  return row;
}

tRow joined(tRow row, const tRow& more) {
  row.insert(row.end(), more.begin(), more.end());
  return row;
}

const char* const kTargets[] = {"vertex", "edge", "inside"};

std::vector<qzScene> makeScenes(const std::string& folder) {
  std::vector<qzScene> scenes;
  scenes.push_back(makeScene("sphere", sphere(3)));
  scenes.push_back(makeScene("sphere", sphere(5)));
  scenes.push_back(makeScene("sphere", sphere(8)));
  scenes.push_back(makeScene("dragon4", folder));
  scenes.push_back(makeScene("dragon", folder));
  scenes.push_back(makeScene("lens, needles 1 : 80", lens(500)));
  scenes.push_back(makeScene("tube, needles 1 : 100", tube(1e2)));
  return scenes;
}

struct tSettings {
  int mNbRays;
  std::string mFolder;
};

void printNear(const tSettings& settings) {
  std::vector<std::pair<tRow, tOutcome>> rows;
  std::vector<tRow> meshes;
  for (qzScene& scene : makeScenes(settings.mFolder)) {
    const tArena arena(std::move(scene));
    const std::string triangles = grouped(arena.mScene.getNbTriangles());
    meshes.push_back({arena.mScene.mName, triangles, grouped(arena.mNeighbours.getNbBorderEdges()),
                      grouped(arena.mNeighbours.getNbForkedEdges())});
    for (const qzTarget target : {eVertex, eEdge, eInside})
      rows.emplace_back(tRow{arena.mScene.mName, triangles, kTargets[target]},
                        measure(arena, target, eAnyWay, settings.mNbRays));
  }
  const tTable closed("The meshes", {"mesh", "triangles", "edges of one triangle", "edges of more than two"});
  for (const tRow& row : meshes) closed.print(row);

  const tTable slips(
      "Rays from anywhere that slip through the surface, near the origin",
      {"mesh", "triangles", "aimed at", "rays", "qzQBVH", "qzQBVH, both ways", "Embree", "Embree robust"});
  for (const auto& [name, o] : rows)
    slips.print(joined(name, {grouped(o.mOurs.mNbRays), share(o.mOurs.mNbSlipped, o.mOurs.mNbRays),
                              share(o.mNbSlippedTwice, o.mOurs.mNbRays), share(o.mEmbree.mNbSlipped, o.mOurs.mNbRays),
                              share(o.mRobust.mNbSlipped, o.mOurs.mNbRays)}));
  const tTable twice("The same rays: the same point reported twice",
                     {"mesh", "triangles", "aimed at", "qzQBVH", "qzQBVH, in steps", "Embree", "Embree robust"});
  for (const auto& [name, o] : rows)
    twice.print(joined(name, sharesOf({&o.mOurs, &o.mStepping, &o.mEmbree, &o.mRobust}, &qzTally::mNbTwice)));
  const tTable beside("Rays that pass by the triangles at their target, and are given a hit on one of them",
                      {"mesh", "triangles", "aimed at", "rays", "qzQBVH", "Embree", "Embree robust"});
  for (const auto& [name, o] : rows) {
    if (name[2] != kTargets[eEdge] || o.mOurs.mNbPassing < 100) continue;
    tRow row = joined(name, {grouped(o.mOurs.mNbPassing)});
    for (const qzTally* tally : {&o.mOurs, &o.mEmbree, &o.mRobust})
      row.push_back(share(tally->mNbBeside, tally->mNbPassing));
    beside.print(row);
  }
}

void printSizes(const tSettings& settings, std::string& points) {
  const tTable table("The finer the triangles: spheres of radius 1, aimed at edges from anywhere",
                     {"triangles", "edge length", "rays", "qzQBVH", "Embree", "Embree robust"});
  for (int level = 2; level <= 8; ++level) {
    const tArena arena(makeScene("sphere", sphere(level)));
    const tOutcome o = measure(arena, eEdge, eAnyWay, settings.mNbRays);
    const double length = 1.1 / std::pow(2.0, level);  // the icosahedron's is 1.05, and the middle ones are longer
    char text[64];
    std::snprintf(text, sizeof text, "%.2g", length);
    table.print(joined({grouped(arena.mScene.getNbTriangles()), text, grouped(o.mOurs.mNbRays)},
                       sharesOf({&o.mOurs, &o.mEmbree, &o.mRobust}, &qzTally::mNbSlipped)));
    const double n = double(o.mOurs.mNbRays);
    std::snprintf(text, sizeof text, "size\t%g", length);
    points += text;
    for (const qzTally* tally : {&o.mOurs, &o.mEmbree, &o.mRobust})
      points += "\t" + std::to_string(double(tally->mNbSlipped) / n);
    points += "\n";
  }
}

void printNeedles(const tSettings& settings) {
  const tTable table(
      "The longer the needles: tubes of length 1, rays from anywhere that slip through",
      {"width of a needle", "aimed at", "rays", "qzQBVH", "qzQBVH, both ways", "Embree", "Embree robust"});
  for (const int slenderness : {10, 100, 1000, 10000, 100000, 1000000}) {
    const tArena arena(makeScene("tube", tube(slenderness)));
    for (const qzTarget target : {eEdge, eInside}) {
      const tOutcome o = measure(arena, target, eAnyWay, settings.mNbRays);
      const long long n = o.mOurs.mNbRays;
      table.print({"1 / " + grouped(slenderness), kTargets[target], grouped(n), share(o.mOurs.mNbSlipped, n),
                   share(o.mNbSlippedTwice, n), share(o.mEmbree.mNbSlipped, n), share(o.mRobust.mNbSlipped, n)});
    }
  }
}

void printApproaches(const tSettings& settings) {
  const tTable table("By the way they come, aimed at edges",
                     {"mesh", "triangles", "way", "rays", "qzQBVH", "qzQBVH, both ways", "Embree", "Embree robust"});
  std::vector<qzScene> scenes;
  scenes.push_back(makeScene("sphere", sphere(3)));
  scenes.push_back(makeScene("sphere", sphere(5)));
  scenes.push_back(makeScene("dragon", settings.mFolder));
  scenes.push_back(makeScene("tube, needles 1 : 100", tube(1e2)));
  const std::pair<qzApproach, const char*> kApproaches[] = {{eAnyWay, "any"},
                                                            {eAlongAxis, "along an axis"},
                                                            {eAlmostAlongAxis, "along an axis but for 1e-20"},
                                                            {eFlat10, "grazing, 1 : 10"},
                                                            {eFlat100, "grazing, 1 : 100"},
                                                            {eFlat1000, "grazing, 1 : 1000"}};
  for (qzScene& scene : scenes) {
    const tArena arena(std::move(scene));
    for (const auto& [approach, name] : kApproaches) {
      const tOutcome o = measure(arena, eEdge, approach, settings.mNbRays);
      table.print({arena.mScene.mName, grouped(arena.mScene.getNbTriangles()), name, grouped(o.mOurs.mNbRays),
                   share(o.mOurs.mNbSlipped, o.mOurs.mNbRays), share(o.mNbSlippedTwice, o.mOurs.mNbRays),
                   share(o.mEmbree.mNbSlipped, o.mOurs.mNbRays), share(o.mRobust.mNbSlipped, o.mOurs.mNbRays)});
    }
  }
}

/// Median and largest error, in millionths of the diagonal of the box.
std::string errorsOf(qzTally tally, const qzScene& scene) {
  if (tally.mErrors.empty()) return "";
  std::sort(tally.mErrors.begin(), tally.mErrors.end());
  const double unit = 2e-6 * double(scene.mRadius);
  char text[64];
  std::snprintf(text, sizeof text, "%.2g, %.2g", double(tally.mErrors[tally.mErrors.size() / 2]) / unit,
                double(tally.mErrors[tally.mErrors.size() * 999 / 1000]) / unit);
  return text;
}

void printFar(const tSettings& settings, std::string& points) {
  std::vector<tRow> errors;
  {
    const tTable table(
        "Far from the origin, aimed at edges from anywhere: rays that slip through",
        {"mesh", "triangles", "distance", "rays", "qzQBVH", "qzQBVH, moved back", "Embree", "Embree robust"});
    std::vector<qzScene> scenes;
    scenes.push_back(makeScene("sphere", sphere(3)));
    scenes.push_back(makeScene("sphere", sphere(5)));
    scenes.push_back(makeScene("dragon", settings.mFolder));
    for (const qzScene& scene : scenes)
      for (const double sizes : {0.0, 1.0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6}) {
        const tArena arena(moved(scene, awayBy(sizes, scene)), sizes >= 100.0);
        const tOutcome o = measure(arena, eEdge, eAnyWay, settings.mNbRays);
        const long long n = o.mOurs.mNbRays;
        const std::string triangles = grouped(scene.getNbTriangles()),
                          distance = grouped(static_cast<long long>(sizes));
        table.print({scene.mName, triangles, distance, grouped(n), share(o.mOurs.mNbSlipped, n),
                     arena.mNearOurs ? share(o.mBack.mNbSlipped, n) : "", share(o.mEmbree.mNbSlipped, n),
                     share(o.mRobust.mNbSlipped, n)});
        const tOutcome inside = measure(arena, eInside, eAnyWay, settings.mNbRays / 4);
        errors.push_back({scene.mName, triangles, distance, errorsOf(inside.mOurs, arena.mScene),
                          arena.mNearOurs ? errorsOf(inside.mBack, arena.mScene) : "",
                          errorsOf(inside.mEmbree, arena.mScene), errorsOf(inside.mRobust, arena.mScene)});
        points += "far\t" + scene.mName + triangles + "\t" + std::to_string(sizes);
        for (const qzTally* tally : {&o.mOurs, &o.mBack, &o.mEmbree, &o.mRobust})
          points += "\t" + (tally->mNbRays == 0 ? "nan" : std::to_string(double(tally->mNbSlipped) / double(n)));
        points += "\n";
      }
  }
  const tTable table(
      "How far hits inside of triangles are from the true distance: median and 99.9 %, in millionths of the box's "
      "diagonal",
      {"mesh", "triangles", "distance", "qzQBVH", "qzQBVH, moved back", "Embree", "Embree robust"});
  for (const tRow& row : errors) table.print(row);
}

}  // namespace

int main(int argc, char** argv) {
  tSettings settings{100000, QZ_BENCH_SCENES};
  std::string commit = "unknown", pointsFile;
  CLI::App app("Counts rays that slip through edges, and points that are reported twice; prints tables.");
  app.add_option("--rays", settings.mNbRays, "rays for every row")
      ->check(CLI::Range(100, 100000000))
      ->capture_default_str();
  app.add_option("--folder", settings.mFolder, "where the scene files are")->capture_default_str();
  app.add_option("--points", pointsFile, "write the points of the picture to this file");
  app.add_option("--commit", commit, "what was built, for the header");
  CLI11_PARSE(app, argc, argv);
  try {
    tSilence silence;
    qz::qzLog::msInstance = &silence;
    const std::time_t now = std::time(nullptr);
    char date[16];
    std::strftime(date, sizeof date, "%Y-%m-%d", std::gmtime(&now));
    std::printf("\nProcessor %s; compiler %s; commit %s, %s.\n", processorName().c_str(), QZ_BENCH_COMPILER,
                commit.c_str(), date);
    std::string points;
    printNear(settings);
    printSizes(settings, points);
    printNeedles(settings);
    printApproaches(settings);
    printFar(settings, points);
    std::printf("\n");
    if (!pointsFile.empty()) qzToolkit::writeFile(pointsFile, points);
    qz::qzLog::msInstance = nullptr;
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qzEdges: %s\n", error.what());
  }
  return 1;
}
