#include <benchmarks/edges/qzLeaks.h>

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

#include <benchmarks/edges/qzEdgeSetup.h>
#include <benchmarks/edges/qzTable.h>
#include <benchmarks/scenes/qzCity.h>
#include <benchmarks/scenes/qzSolids.h>

namespace qzBench {

namespace {

struct tSolid {
  qzScene mScene;
  bool mIsRound;  // convex, and so thick that rounding the vertices does not let a line enter twice
};

/// Size of the mesh's box and its distance from the origin on each axis.
struct tPlace {
  const char* mName;
  double mSize, mOffset;
  bool mHasPeers;  // whether a ray from outside the mesh has its origin outside after rounding
};

constexpr int kMostTests = 20000000;  // of rays and triangles, per combination, where any ray may meet any triangle

constexpr tPlace kPlaces[] = {{"size 2 around the origin", 2.0, 0.0, true},
                              {"size 0.000002", 2e-6, 0.0, true},
                              {"size 2,000,000", 2e6, 0.0, true},
                              {"size 2,000,000, moved by 10,000,000", 2e6, 1e7, true},
                              {"size 2, moved by 10,000,000, where most vertices coincide", 2.0, 1e7, false}};

struct tAim {
  const char* mName;
  std::vector<qzTarget> mTargets;
  qzApproach mApproach;
};

const tAim kAims[] = {{"vertices, any direction", {eVertex}, eAnyDirection},
                      {"vertices, along an axis", {eVertex}, eAlongAxis},
                      {"vertices, within 1e-20 of an axis", {eVertex}, eAlmostAlongAxis},
                      {"edges, any direction", {eEdge}, eAnyDirection},
                      {"edges, along an axis", {eEdge}, eAlongAxis},
                      {"edges, within 1e-20 of an axis", {eEdge}, eAlmostAlongAxis},
                      {"grazing, 1 : 1000", {eVertex, eEdge, eInterior}, eGrazing1000},
                      {"within a face, through vertices, edges, its inside", {eVertex, eEdge, eInterior}, eWithinFace},
                      {"inside of a face, any direction", {eInterior}, eAnyDirection},
                      {"from the centre of a cube or sphere", {eVertex, eEdge, eInterior}, eFromCentre}};

/// Rays, and how many of them are wrong by contestant. Peers cast a part of the rays.
struct tLeaks {
  long long mNbRays = 0, mIndex = 0;
  long long mNbPeerRays = 0, mOurs = 0, mEmbree = 0, mRobust = 0;

  void add(const tLeaks& more) {
    mNbRays += more.mNbRays;
    mIndex += more.mIndex;
    mNbPeerRays += more.mNbPeerRays;
    mOurs += more.mOurs;
    mEmbree += more.mEmbree;
    mRobust += more.mRobust;
  }

  tRow getRow() const {
    tRow row = {grouped(mNbRays), share(mIndex, mNbRays), grouped(mNbPeerRays)};
    for (const long long count : {mOurs, mEmbree, mRobust})
      row.push_back(mNbPeerRays == 0 ? "" : share(count, mNbPeerRays));
    return row;
  }
};

/// Whether a ray cannot have crossed so many fronts and backs of a closed mesh.
bool isWrong(const qzMeshQueries::Crossings& crossings, const tSolid& solid, qzApproach approach) {
  if (approach == eFromCentre) return crossings.front != 0 || crossings.back != 1;
  return crossings.front != crossings.back || (solid.mIsRound && crossings.front > 1);
}

/// The same of hits, by the normals of their triangles in double precision.
template <class Caster>
bool isWrong(const Caster& caster, const tSolid& solid, const qzScene& scene, const qzRay& ray, qzApproach approach,
             std::vector<qzAnswer>& hits) {
  collectHits(caster, ray, 0.0f, hits);
  qzMeshQueries::Crossings crossings;
  for (const qzAnswer& hit : hits) {
    const int triangle = static_cast<int>(hit.mTriangle);
    const tVector3d a = toDouble(scene.getVertex(triangle, 0)), b = toDouble(scene.getVertex(triangle, 1)),
                    c = toDouble(scene.getVertex(triangle, 2));
    const double side = dot(toDouble(ray.mDirection), cross(difference(b, a), difference(c, a)));
    ++(side < 0.0 ? crossings.front : crossings.back);
  }
  return isWrong(crossings, solid, approach);
}

tLeaks castThrough(const tSolid& solid, const qzEdgeSetup& setup, const tPlace& place, const tAim& aim, int nbRays) {
  constexpr int kPeerStep = 10;  // the peers cast every tenth ray
  tLeaks leaks;
  qzRandom random(1);
  std::vector<qzRay> rays;
  for (int i = 0; i < nbRays; ++i) {
    const qzTarget target = aim.mTargets[static_cast<std::size_t>(i) % aim.mTargets.size()];
    rays.push_back(qzBench::aim(setup.mScene, setup.mNeighbours, target, aim.mApproach, random).mRay);
  }
  qzIndex::tRays lines = indexRays(rays);
  if (aim.mApproach != eFromCentre)
    for (qzMeshQueries::Ray& line : lines) line.tMin = -std::numeric_limits<float>::infinity();
  std::vector<qzMeshQueries::Crossings> crossings(lines.size());
  setup.mIndex.getIndex().crossings(lines.data(), lines.size(), crossings.data(), {}, 1);
  leaks.mNbRays = nbRays;
  for (const qzMeshQueries::Crossings& own : crossings) leaks.mIndex += isWrong(own, solid, aim.mApproach) ? 1 : 0;

  if (!place.mHasPeers) return leaks;
  std::vector<qzAnswer> hits;
  for (std::size_t i = 0; i < rays.size(); i += kPeerStep) {
    ++leaks.mNbPeerRays;
    leaks.mOurs += isWrong(setup.mOurs, solid, setup.mScene, rays[i], aim.mApproach, hits) ? 1 : 0;
    leaks.mEmbree += isWrong(setup.mEmbree, solid, setup.mScene, rays[i], aim.mApproach, hits) ? 1 : 0;
    leaks.mRobust += isWrong(setup.mRobust, solid, setup.mScene, rays[i], aim.mApproach, hits) ? 1 : 0;
  }
  return leaks;
}

std::vector<tSolid> makeSolids(const std::string& folder, bool isSmoke) {
  std::vector<tSolid> solids;
  const auto add = [&solids](const char* name, qz::qzTriMesh mesh, bool isRound) {
    solids.push_back({makeScene(name, std::move(mesh)), isRound});
  };
  add("cube", cube(1), true);
  add("cube, faces divided", cube(8), true);
  for (const int level : {0, 2, 4, 6}) add("sphere", sphere(level), true);
  add("torus", torus(12, 8, 0.4), false);
  add("torus", torus(200, 100, 0.3), false);
  add("thin torus, needles", torus(8, 200, 0.001), false);
  add("lens, needles 1 : 80", lens(500), false);
  add("tube, needles 1 : 100", tube(1e2), false);
  add("tube, needles 1 : 10,000", tube(1e4), false);
  add("tube, needles 1 : 1,000,000", tube(1e6), false);
  add("city of boxes", city(10000, 5), false);
  if (isSmoke) return solids;
  for (const char* scan : {"dragon4", "dragon"}) solids.push_back({makeScene(scan, folder), false});
  return solids;
}

}  // namespace

void printLeaks(const qzEdgeSettings& settings, bool isSmoke) {
  const tRow counts = {"rays", "MeshIndex", "of these", "qzQBVH", "Embree", "Embree robust"};
  const std::string title = "Rays lost or counted twice in closed meshes, ";
  const int nbRays = std::max(settings.mNbRays / 6, 1);
  std::vector<tLeaks> byPlace(std::size(kPlaces)), byAim(std::size(kAims));
  tLeaks all;
  {
    const qzTable table(title + "by mesh", joined({"mesh", "triangles"}, counts));
    for (const tSolid& solid : makeSolids(settings.mFolder, isSmoke)) {
      tLeaks ofMesh;
      for (std::size_t p = 0; p < std::size(kPlaces); ++p) {
        const qzEdgeSetup setup(placed(solid.mScene, kPlaces[p].mSize, kPlaces[p].mOffset));
        if (!setup.mIndex.getIndex().isClosed()) throw std::logic_error(solid.mScene.mName + " is not closed");
        for (std::size_t a = 0; a < std::size(kAims); ++a) {
          // After rounding, the centre must still be inside.
          if (kAims[a].mApproach == eFromCentre && !(solid.mIsRound && kPlaces[p].mHasPeers)) continue;
          // Where vertices coincide, a line may meet a large part of all triangles.
          const int most = kPlaces[p].mHasPeers ? nbRays : kMostTests / solid.mScene.getNbTriangles();
          const tLeaks leaks = castThrough(solid, setup, kPlaces[p], kAims[a], std::min(nbRays, most));
          for (tLeaks* sum : {&ofMesh, &byPlace[p], &byAim[a], &all}) sum->add(leaks);
        }
      }
      table.print(joined({solid.mScene.mName, grouped(solid.mScene.getNbTriangles())}, ofMesh.getRow()));
    }
    table.print(joined({"all", ""}, all.getRow()));
  }
  const qzTable places(title + "by place", joined({"place"}, counts));
  for (std::size_t p = 0; p < std::size(kPlaces); ++p) places.print(joined({kPlaces[p].mName}, byPlace[p].getRow()));
  const qzTable aims(title + "by aim", joined({"aimed at"}, counts));
  for (std::size_t a = 0; a < std::size(kAims); ++a) aims.print(joined({kAims[a].mName}, byAim[a].getRow()));
}

}  // namespace qzBench
