// qzquery inspect: defects of a mesh, and estimates of the memory and time for its hierarchy.

#include <apps/qzquery/commands/qzCommands.h>
#include <apps/qzquery/console/qzClock.h>
#include <apps/qzquery/console/qzFormat.h>
#include <apps/qzquery/console/qzOptions.h>
#include <apps/qzquery/console/qzProgramThreads.h>
#include <apps/qzquery/scene/qzHierarchyBuild.h>
#include <apps/qzquery/scene/qzJson.h>
#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/base/qzVectorMath.h>
#include <toolkit/inspect/qzMeshReport.h>
#include <toolkit/io/file/qzFile.h>
#include <toolkit/io/mesh/qzMeshFile.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>
#include <vector>

namespace qzQuery {

namespace {

constexpr std::size_t kMaxSampleTriangles = std::size_t(1) << 18;
constexpr double kLinearPeak =
    1.3;  // peak memory of a linear build that can be cancelled, relative to the four-wide hierarchy

/// Memory and build time of the hierarchy, extrapolated from one over the first finite triangles.
struct tEstimate {
  std::size_t mNbSampleTriangles = 0;
  double mBytes = 0.0, mBuildSeconds = 0.0;
};

tEstimate estimate(const qz::qzTriMesh& mesh, const tOptions& options, const qzToolkit::tCancel& cancel) {
  const std::size_t nbTriangles = qzToolkit::countTriangles(mesh);
  std::vector<Wm4::Vector3<float>> positions;
  for (std::size_t i = 0; i < nbTriangles && positions.size() < 3 * kMaxSampleTriangles; ++i) {
    const auto corners = qzToolkit::cornersOf(mesh, i);
    if (std::all_of(corners.begin(), corners.end(), [](const auto& corner) { return qzToolkit::isFinite(corner); })) {
      positions.insert(positions.end(), corners.begin(), corners.end());
    }
  }
  tEstimate result;
  result.mNbSampleTriangles = positions.size() / 3;
  if (positions.empty()) return result;
  std::vector<int> numbers(positions.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] = static_cast<int>(i);
  const qz::qzTriMesh sample(qz::qzVertexBuffer(std::move(positions)), qz::qzIndexBuffer(std::move(numbers)));
  qzToolkit::qzHierarchy hierarchy;
  const qzClock clock;
  buildHierarchy(sample, options, cancel, hierarchy);
  const double seconds = clock.getSeconds();
  const double scale = static_cast<double>(nbTriangles) / static_cast<double>(result.mNbSampleTriangles);
  result.mBytes = scale * static_cast<double>(hierarchy.getBytes());
  result.mBuildSeconds = scale * seconds;
  return result;
}

nlohmann::ordered_json asJson(const std::string& meshName, const qzToolkit::qzMeshReport& report,
                              const tEstimate& estimate, const tOptions& options) {
  nlohmann::ordered_json answer;
  answer["file"] = meshName;
  answer["triangles"] = report.mNbTriangles;
  answer["degenerateTriangles"] = report.mNbDegenerateTriangles;
  answer["repeatedCornerTriangles"] = report.mNbRepeatedCornerTriangles;
  answer["nonFiniteTriangles"] = report.mNbNonFiniteTriangles;
  answer["duplicateTriangles"] = report.mNbDuplicateTriangles;
  answer["turnedDuplicateTriangles"] = report.mNbFlippedDuplicateTriangles;
  answer["edges"] = report.mNbEdges;
  answer["borderEdges"] = report.mNbBoundaryEdges;
  answer["crowdedEdges"] = report.mNbNonManifoldEdges;
  answer["turnedEdges"] = report.mNbInconsistentEdges;
  answer["vertices"] = report.mNbVertices;
  answer["unusedVertices"] = report.mNbUnusedVertices;
  answer["repeatedVertices"] = report.mNbRepeatedVertices;
  answer["nonFiniteVertices"] = report.mNbNonFiniteVertices;
  if (estimate.mNbSampleTriangles == 0) return answer;  // no triangle is finite
  const qzBBox& box = report.mBox;
  answer["box"]["min"] = {box.xMin(), box.yMin(), box.zMin()};
  answer["box"]["max"] = {box.xMax(), box.yMax(), box.zMax()};
  answer["largestCoordinate"] = report.mLargestCoordinate;
  answer["coordinateStep"] = report.mCoordinateStep;
  answer["stepsAcross"] = report.mStepsAcross;
  nlohmann::ordered_json& expected = answer["estimate"];
  expected["builder"] = nameOf(options.mBuilder);
  expected["sampleTriangles"] = estimate.mNbSampleTriangles;
  expected["bytes"] = std::llround(estimate.mBytes);
  if (options.mBuilder == tBuilder::eLinear) expected["peakBytes"] = std::llround(kLinearPeak * estimate.mBytes);
  expected["buildSeconds"] = estimate.mBuildSeconds;
  return answer;
}

std::string asText(const std::string& meshName, const qzToolkit::qzMeshReport& report, const tEstimate& estimate,
                   const tOptions& options) {
  std::ostringstream text;
  text << "file        " << meshName << '\n'
       << "triangles   " << report.mNbTriangles << ": " << report.mNbDegenerateTriangles << " degenerate ("
       << report.mNbRepeatedCornerTriangles << " with two corners at the same position), "
       << report.mNbNonFiniteTriangles << " not finite\n"
       << "duplicates  " << report.mNbDuplicateTriangles << ", " << report.mNbFlippedDuplicateTriangles
       << " of them with opposite winding\n"
       << "edges       " << report.mNbEdges << ": " << report.mNbBoundaryEdges << " boundary (in one triangle), "
       << report.mNbNonManifoldEdges << " non-manifold (in more than two), " << report.mNbInconsistentEdges
       << " with inconsistent winding\n"
       << "vertices    " << report.mNbVertices << ": " << report.mNbUnusedVertices << " unused, "
       << report.mNbRepeatedVertices << " at the position of another, " << report.mNbNonFiniteVertices
       << " not finite\n";
  if (estimate.mNbSampleTriangles == 0) return text.str();
  const qzBBox& box = report.mBox;
  text << "box         x " << box.xMin() << " to " << box.xMax() << ", y " << box.yMin() << " to " << box.yMax()
       << ", z " << box.zMin() << " to " << box.zMax() << '\n'
       << std::setprecision(3) << "precision   floats are " << report.mCoordinateStep
       << " apart at the largest coordinate, " << report.mStepsAcross << " steps along the longest side\n"
       << "memory      about " << megabytes(estimate.mBytes);
  if (options.mBuilder == tBuilder::eLinear) {
    text << ", about " << megabytes(kLinearPeak * estimate.mBytes) << " peak during the build";
  }
  text << ", without the mesh\n"
       << "build time  about " << seconds(estimate.mBuildSeconds) << " on one thread";
  if (estimate.mNbSampleTriangles < report.mNbTriangles) {
    text << ", from the first " << estimate.mNbSampleTriangles << " triangles; large builds can take twice as long";
  }
  text << '\n';
  return text.str();
}

void inspect(const std::string& meshName, const tOptions& options, const qzToolkit::tCancel& cancel) {
  const qz::qzTriMesh mesh =
      qzToolkit::loadMesh(meshName, &cancel, qzToolkit::kMaxTriangles, qzToolkit::tNonFinite::eKeep);
  const qzProgramThreads pool(options.mNbThreads);
  const qzToolkit::qzMeshReport report = qzToolkit::inspectMesh(mesh, pool.get(), &cancel);
  const tEstimate expected = estimate(mesh, options, cancel);
  if (options.mAsJson) {
    writeJson(asJson(meshName, report, expected, options));
  } else {
    qzToolkit::writeFile("-", asText(meshName, report, expected, options), &cancel);
  }
}

}  // namespace

void addInspectCommand(CLI::App& app, tOptions& options, const qzToolkit::tCancel& cancel) {
  CLI::App& command = *app.add_subcommand("inspect", "Report defects of a mesh and estimate the cost of its hierarchy");
  const auto meshName = std::make_shared<std::string>();
  command.add_option("MESH", *meshName, "Mesh file; may be compressed (.gz)")->required();
  command.footer(
      "The exit code is 0 whatever is found, and 2 if the file cannot be read, for example because a face refers to a "
      "missing vertex.");
  addOptions(command, options);
  command.callback([meshName, &options, &cancel] { inspect(*meshName, options, cancel); });
}

}  // namespace qzQuery
