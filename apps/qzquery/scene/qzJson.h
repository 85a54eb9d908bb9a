#pragma once
// Results as JSON.

#include <apps/qzquery/scene/qzScene.h>

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace qzQuery {

struct tOptions;

/// Adds the size of a hierarchy and how it was built.
void addHierarchy(nlohmann::ordered_json& answer, const qzScene& scene, const tOptions& options);

/// The common part of the results of ray casting: the mesh, the engine and the number of threads.
nlohmann::ordered_json describeWork(const std::string& meshName, const qzScene& scene, const tOptions& options,
                                    int nbThreads);

/// Writes a result to standard output, or to standard error if dataName is "-": then the data are on standard output.
/// Bytes of file names that are not UTF-8 become replacement characters.
void writeJson(const nlohmann::ordered_json& answer, const std::string& dataName = "");

}  // namespace qzQuery
