#include <benchmarks/edges/qzEdgeTables.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <benchmarks/edges/qzEdgeSetup.h>
#include <benchmarks/edges/qzTable.h>
#include <benchmarks/scenes/qzSolids.h>

namespace qzBench {

namespace {

const char* const kTargets[] = {"vertex", "edge", "inside"};  // by qzTarget

/// What a row of several tables begins with.
tRow nameOf(const qzScene& scene) {
  return {scene.mName, grouped(scene.getNbTriangles())};
}

/// A share of its rays for every tally.
tRow sharesOf(const std::vector<const qzTally*>& tallies, long long qzTally::*count) {
  tRow row;
  for (const qzTally* tally : tallies) row.push_back(share(tally->*count, tally->mNbRays));
  return row;
}

/// The number of rays, and the shares that slip through.
const tRow kSlipColumns = {"rays", "MeshIndex", "qzQBVH", "qzQBVH, both ways", "Embree", "Embree robust"};

tRow slipsOf(const qzEdgeCounts& counts) {
  const long long nbRays = counts.mOurs.mNbRays;
  return {grouped(nbRays),
          share(counts.mIndex.mNbSlipped, nbRays),
          share(counts.mOurs.mNbSlipped, nbRays),
          share(counts.mNbSlippedTwice, nbRays),
          share(counts.mEmbree.mNbSlipped, nbRays),
          share(counts.mRobust.mNbSlipped, nbRays)};
}

/// The shares of slipped rays as columns of the file of points.
std::string pointsOf(const std::vector<const qzTally*>& tallies) {
  std::string text;
  for (const qzTally* tally : tallies)
    text += "\t" + (tally->mNbRays == 0 ? "nan" : std::to_string(double(tally->mNbSlipped) / double(tally->mNbRays)));
  return text + "\n";
}

/// Median and 99.9th percentile of the errors, in millionths of the diagonal of the box.
std::string errorsOf(qzTally tally, const qzScene& scene) {
  std::vector<float>& errors = tally.mErrors;
  if (errors.empty()) return "";
  std::sort(errors.begin(), errors.end());
  const double unit = 2e-6 * double(scene.mRadius);
  char text[64];
  std::snprintf(text, sizeof text, "%.2g, %.2g", double(errors[errors.size() / 2]) / unit,
                double(errors[errors.size() * 999 / 1000]) / unit);
  return text;
}

std::vector<qzScene> makeNearScenes(const std::string& folder) {
  std::vector<qzScene> scenes;
  for (const int level : {3, 5, 8}) scenes.push_back(makeScene("sphere", sphere(level)));
  scenes.push_back(makeScene("dragon4", folder));
  scenes.push_back(makeScene("dragon", folder));
  scenes.push_back(makeScene("lens, needles 1 : 80", lens(500)));
  scenes.push_back(makeScene("tube, needles 1 : 100", tube(1e2)));
  return scenes;
}

/// A row of the tables about one set of rays: its name, and what was counted.
struct tNamedCounts {
  tRow mName;
  qzTarget mTarget;
  qzEdgeCounts mCounts;
};

void printSlips(const std::vector<tNamedCounts>& rows) {
  const tRow columns = {"mesh", "triangles", "aimed at"};
  const qzTable table("Rays in any direction that slip through the surface, near the origin",
                      joined(columns, kSlipColumns));
  for (const tNamedCounts& row : rows) table.print(joined(row.mName, slipsOf(row.mCounts)));
}

void printTwice(const std::vector<tNamedCounts>& rows) {
  const qzTable table(
      "The same rays: the same point reported twice",
      {"mesh", "triangles", "aimed at", "MeshIndex", "qzQBVH", "qzQBVH, in steps", "Embree", "Embree robust"});
  for (const auto& [name, target, counts] : rows)
    table.print(
        joined(name, sharesOf({&counts.mIndex, &counts.mOurs, &counts.mStepping, &counts.mEmbree, &counts.mRobust},
                              &qzTally::mNbTwice)));
}

void printFalseHits(const std::vector<tNamedCounts>& rows) {
  const qzTable table("False hits: rays that miss all triangles at their target, and get a hit on one of them",
                      {"mesh", "triangles", "aimed at", "rays", "MeshIndex", "qzQBVH", "Embree", "Embree robust"});
  for (const auto& [name, target, counts] : rows) {
    if (target != eEdge || counts.mOurs.mNbMissing < 100) continue;
    tRow row = joined(name, {grouped(counts.mOurs.mNbMissing)});
    for (const qzTally* tally : {&counts.mIndex, &counts.mOurs, &counts.mEmbree, &counts.mRobust})
      row.push_back(share(tally->mNbFalseHits, tally->mNbMissing));
    table.print(row);
  }
}

}  // namespace

void printNearOrigin(const qzEdgeSettings& settings) {
  std::vector<tNamedCounts> rows;
  std::vector<tRow> meshes;
  for (qzScene& scene : makeNearScenes(settings.mFolder)) {
    const qzEdgeSetup setup(std::move(scene));
    const tRow name = nameOf(setup.mScene);
    meshes.push_back(joined(
        name, {grouped(setup.mNeighbours.getNbBoundaryEdges()), grouped(setup.mNeighbours.getNbNonManifoldEdges())}));
    for (const qzTarget target : {eVertex, eEdge, eInterior})
      rows.push_back({joined(name, {kTargets[target]}), target,
                      castAtEdges(setup, target, eAnyDirection, settings.mNbRays, true)});
  }
  const qzTable table("The meshes", {"mesh", "triangles", "boundary edges", "non-manifold edges"});
  for (const tRow& row : meshes) table.print(row);
  printSlips(rows);
  printTwice(rows);
  printFalseHits(rows);
}

void printTriangleSizes(const qzEdgeSettings& settings, std::string& points) {
  const qzTable table("By size of the triangles: spheres of radius 1, rays in any direction at edges that slip through",
                      {"triangles", "edge length", "rays", "MeshIndex", "qzQBVH", "Embree", "Embree robust"});
  for (int level = 2; level <= 8; ++level) {
    const qzEdgeSetup setup(makeScene("sphere", sphere(level)));
    const qzEdgeCounts counts = castAtEdges(setup, eEdge, eAnyDirection, settings.mNbRays);
    const std::vector<const qzTally*> tallies = {&counts.mIndex, &counts.mOurs, &counts.mEmbree, &counts.mRobust};
    // About the mean. Edges of the icosahedron are 1.05 long, and a subdivided face has longer edges in its middle.
    const double length = 1.1 / std::pow(2.0, level);
    char text[32];
    std::snprintf(text, sizeof text, "%.2g", length);
    table.print(joined({grouped(setup.mScene.getNbTriangles()), text, grouped(counts.mOurs.mNbRays)},
                       sharesOf(tallies, &qzTally::mNbSlipped)));
    std::snprintf(text, sizeof text, "size\t%g", length);
    points += text + pointsOf(tallies);
  }
}

void printNeedles(const qzEdgeSettings& settings) {
  const qzTable table("By length of the needles: tubes of length 1, rays in any direction that slip through",
                      joined({"width of a needle", "aimed at"}, kSlipColumns));
  for (const int slenderness : {10, 100, 1000, 10000, 100000, 1000000}) {
    const qzEdgeSetup setup(makeScene("tube", tube(slenderness)));
    for (const qzTarget target : {eEdge, eInterior})
      table.print(joined({"1 / " + grouped(slenderness), kTargets[target]},
                         slipsOf(castAtEdges(setup, target, eAnyDirection, settings.mNbRays))));
  }
}

void printApproaches(const qzEdgeSettings& settings) {
  const qzTable table("By direction of the rays: rays at edges that slip through",
                      joined({"mesh", "triangles", "direction"}, kSlipColumns));
  std::vector<qzScene> scenes;
  for (const int level : {3, 5}) scenes.push_back(makeScene("sphere", sphere(level)));
  scenes.push_back(makeScene("dragon", settings.mFolder));
  scenes.push_back(makeScene("tube, needles 1 : 100", tube(1e2)));
  const std::pair<qzApproach, const char*> kApproaches[] = {
      {eAnyDirection, "any"},          {eAlongAxis, "along an axis"},     {eAlmostAlongAxis, "within 1e-20 of an axis"},
      {eGrazing10, "grazing, 1 : 10"}, {eGrazing100, "grazing, 1 : 100"}, {eGrazing1000, "grazing, 1 : 1000"}};
  for (qzScene& scene : scenes) {
    const qzEdgeSetup setup(std::move(scene));
    for (const auto& [approach, name] : kApproaches)
      table.print(
          joined(joined(nameOf(setup.mScene), {name}), slipsOf(castAtEdges(setup, eEdge, approach, settings.mNbRays))));
  }
}

void printFarFromOrigin(const qzEdgeSettings& settings, std::string& points) {
  const tRow mesh = {"mesh", "triangles", "distance"};
  const qzTable slips("Far from the origin: rays in any direction at edges that slip through",
                      joined(mesh, {"rays", "MeshIndex", "qzQBVH", "qzQBVH, moved back", "Embree", "Embree robust"}));
  std::vector<qzScene> scenes;
  for (const int level : {3, 5}) scenes.push_back(makeScene("sphere", sphere(level)));
  scenes.push_back(makeScene("dragon", settings.mFolder));

  std::vector<tRow> errors;
  for (const qzScene& scene : scenes)
    for (const double sizes : {0.0, 1.0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6}) {
      const qzEdgeSetup setup(movedAway(scene, sizes), sizes >= 100.0);  // closer by, recentring would round
      const tRow name = joined(nameOf(scene), {grouped(static_cast<long long>(sizes))});
      const qzEdgeCounts edge = castAtEdges(setup, eEdge, eAnyDirection, settings.mNbRays);
      const long long nbRays = edge.mOurs.mNbRays;
      slips.print(
          joined(name, {grouped(nbRays), share(edge.mIndex.mNbSlipped, nbRays), share(edge.mOurs.mNbSlipped, nbRays),
                        setup.mRecentred ? share(edge.mRecentred.mNbSlipped, nbRays) : "",
                        share(edge.mEmbree.mNbSlipped, nbRays), share(edge.mRobust.mNbSlipped, nbRays)}));
      points += "far\t" + name[0] + name[1] + "\t" + std::to_string(sizes) +
                pointsOf({&edge.mIndex, &edge.mOurs, &edge.mRecentred, &edge.mEmbree, &edge.mRobust});

      const qzEdgeCounts interior = castAtEdges(setup, eInterior, eAnyDirection, settings.mNbRays / 4);
      tRow row = name;
      for (const qzTally* tally :
           {&interior.mIndex, &interior.mOurs, &interior.mRecentred, &interior.mEmbree, &interior.mRobust})
        row.push_back(errorsOf(*tally, setup.mScene));
      errors.push_back(row);
    }
  const qzTable table(
      "Distance errors of hits inside triangles: median and 99.9th percentile, in millionths of the box's diagonal",
      joined(mesh, {"MeshIndex", "qzQBVH", "qzQBVH, moved back", "Embree", "Embree robust"}));
  for (const tRow& row : errors) table.print(row);
}

}  // namespace qzBench
