#pragma once
// Answers as JSON.

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "qzScene.h"

namespace qzQuery {

struct tOptions;

/// Adds what there is to say about a hierarchy and how it was built.
void addHierarchy(nlohmann::ordered_json& answer, const qzScene& scene, const tOptions& options);

/// The beginning of every answer about work on a scene: the mesh, its hierarchy and the threads.
nlohmann::ordered_json describeWork(const std::string& meshName, const qzScene& scene, const tOptions& options,
                                    int nbThreads);

/// Writes an answer to standard output, or to standard error when the file name of the data says that they went to
/// standard output. Bytes of file names that are not UTF-8 become replacement characters.
void writeJson(const nlohmann::ordered_json& answer, const std::string& dataName = "");

}  // namespace qzQuery
