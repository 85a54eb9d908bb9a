#include <apps/qzquery/scene/qzJson.h>

#include <apps/qzquery/console/qzOptions.h>
#include <toolkit/io/file/qzFile.h>

#include <cstdio>
#include <nlohmann/json.hpp>

namespace qzQuery {

void addHierarchy(nlohmann::ordered_json& answer, const qzScene& scene, const tOptions& options) {
  answer["builder"] = nameOf(options.mBuilder);
  if (options.mBuilder == tBuilder::eLinear) answer["leafSize"] = options.mLeafSize;
  answer["nodes"] = scene.getHierarchy().getNoNodes();
  answer["quadruplets"] = scene.getHierarchy().getNoTriangleQuadruplets();
  answer["bytes"] = scene.getHierarchy().getBytes();
  answer["buildSeconds"] = scene.getBuildSeconds();
}

nlohmann::ordered_json describeWork(const std::string& meshName, const qzScene& scene, const tOptions& options,
                                    int nbThreads) {
  nlohmann::ordered_json answer;
  answer["file"] = meshName;
  answer["triangles"] = scene.getNbTriangles();
  answer["vertices"] = scene.getMesh().getVertexBuffer()->getNbVertices();
  answer["engine"] = nameOf(options.mEngine);
  if (options.mEngine == tEngine::eIndex) {
    answer["quality"] = nameOf(options.mQuality);
    answer["bytes"] = scene.getIndex().memoryUsed();
    answer["buildSeconds"] = scene.getBuildSeconds();
  } else {
    addHierarchy(answer, scene, options);
  }
  answer["threads"] = nbThreads;
  return answer;
}

void writeJson(const nlohmann::ordered_json& answer, const std::string& dataName) {
  const std::string text = answer.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
  if (dataName == "-") {
    std::fputs(text.c_str(), stderr);
  } else {
    qzToolkit::writeFile("-", text);
  }
}

}  // namespace qzQuery
