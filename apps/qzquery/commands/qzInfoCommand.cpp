// qzquery info: the size of a mesh and of its hierarchies, as text or JSON.

#include <apps/qzquery/commands/qzCommands.h>
#include <apps/qzquery/console/qzFormat.h>
#include <apps/qzquery/console/qzOptions.h>
#include <apps/qzquery/scene/qzJson.h>
#include <apps/qzquery/scene/qzScene.h>
#include <qzCommonAddOns/qzDetail/base/qzBVHStatistics.h>
#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/inspect/qzMeshReport.h>
#include <toolkit/inspect/qzTraversalCost.h>
#include <toolkit/io/file/qzFile.h>

#include <CLI/CLI.hpp>
#include <iomanip>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

namespace qzQuery {

namespace {

std::size_t countDegenerateTriangles(const qzScene& scene, const qzToolkit::tCancel& cancel) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < scene.getNbTriangles(); ++i) {
    qzToolkit::throwIfCanceled(&cancel);
    count += !qzToolkit::hasNormal(scene.getMesh(), i);
  }
  return count;
}

// Relative costs of testing two boxes and of testing a triangle.
constexpr double kNodeCost = 1.0, kTriangleCost = 1.0;

nlohmann::ordered_json describeBinaryHierarchy(const qzGenericBVH& bvh, const qzToolkit::tCancel& cancel) {
  int nbLeaves = 0, min = std::numeric_limits<int>::max(), max = 0, sum = 0, location = 0;
  qzDetail::tLeafStatistics statistics{nbLeaves, min, max, sum, location};
  qzDetail::addLeaves(bvh.getNodes().data(), 0, 0, statistics);
  nlohmann::ordered_json info;
  info["nodes"] = 2 * nbLeaves - 1;
  info["leaves"] = nbLeaves;
  info["leafTriangles"] = {{"min", min}, {"max", max}, {"average", double(sum) / nbLeaves}};
  info["expectedCost"] = qzToolkit::expectedTraversalCost(bvh, kNodeCost, kTriangleCost, &cancel);
  return info;
}

nlohmann::ordered_json describe(const std::string& meshName, const tOptions& options,
                                const qzToolkit::tCancel& cancel) {
  qzGenericBVH binary;
  const qzScene scene(meshName, options, cancel, &binary);
  const qzBBox box = qzToolkit::boxOf(scene.getMesh());
  nlohmann::ordered_json info;
  info["file"] = meshName;
  info["triangles"] = scene.getNbTriangles();
  info["degenerateTriangles"] = countDegenerateTriangles(scene, cancel);
  info["vertices"] = scene.getMesh().getVertexBuffer()->getNbVertices();
  info["box"]["min"] = {box.xMin(), box.yMin(), box.zMin()};
  info["box"]["max"] = {box.xMax(), box.yMax(), box.zMax()};
  addHierarchy(info, scene, options);
  info["binary"] = describeBinaryHierarchy(binary, cancel);
  return info;
}

std::string asText(const nlohmann::ordered_json& info) {
  const nlohmann::ordered_json &low = info["box"]["min"], &high = info["box"]["max"], &binary = info["binary"];
  const nlohmann::ordered_json& leafTriangles = binary["leafTriangles"];
  std::ostringstream text;
  text << "file         " << info["file"].get<std::string>() << '\n'
       << "triangles    " << info["triangles"] << ", " << info["degenerateTriangles"] << " of them degenerate\n"
       << "vertices     " << info["vertices"] << '\n'
       << "box          x " << low[0].get<float>() << " to " << high[0].get<float>() << ", y " << low[1].get<float>()
       << " to " << high[1].get<float>() << ", z " << low[2].get<float>() << " to " << high[2].get<float>() << '\n'
       << "nodes        " << info["nodes"] << '\n'
       << "quadruplets  " << info["quadruplets"] << '\n'
       << "bytes        " << info["bytes"] << '\n'
       << "build time   " << seconds(info["buildSeconds"].get<double>()) << '\n'
       << "binary tree  " << binary["nodes"] << " nodes, " << binary["leaves"] << " leaves of " << leafTriangles["min"]
       << " to " << leafTriangles["max"] << " triangles, " << std::setprecision(3)
       << leafTriangles["average"].get<double>() << " on average\n"
       << "ray cost     " << std::setprecision(4) << binary["expectedCost"].get<double>()
       << " expected tests per ray that hits the box, by the surface-area metric\n";
  return text.str();
}

}  // namespace

void addInfoCommand(CLI::App& app, tOptions& options, const qzToolkit::tCancel& cancel) {
  CLI::App& command = *app.add_subcommand("info", "Print the size of a mesh and of the hierarchy over it");
  const auto meshName = std::make_shared<std::string>();
  command.add_option("MESH", *meshName, "Mesh file; may be compressed (.gz)")->required();
  addOptions(command, options);
  command.callback([meshName, &options, &cancel] {
    const nlohmann::ordered_json info = describe(*meshName, options, cancel);
    if (options.mAsJson) {
      writeJson(info);
    } else {
      qzToolkit::writeFile("-", asText(info), &cancel);
    }
  });
}

}  // namespace qzQuery
