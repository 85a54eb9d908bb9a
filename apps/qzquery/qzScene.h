#pragma once
// qzScene: a mesh from a file with a hierarchy over its triangles, and what reading and building took.

#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/inspect/qzVisitCounter.h>

#include <string>

#include "qzCommands.h"

namespace qzQuery {

class qzScene {
 public:
  /// Reads and builds, and says so on standard error unless options ask for quiet or JSON.
  qzScene(const std::string& meshName, const tOptions& options);
  qzScene(const qzScene&) = delete;
  qzScene& operator=(const qzScene&) = delete;

  const qz::qzTriMesh& getMesh() const { return mMesh; }
  const qzToolkit::qzVisitCounter& getHierarchy() const { return mHierarchy; }
  std::size_t getNbTriangles() const { return qzToolkit::countTriangles(mMesh); }
  double getBuildSeconds() const { return mBuildSeconds; }

 private:
  double mReadSeconds = 0.0, mBuildSeconds = 0.0;
  qz::qzTriMesh mMesh;
  qzToolkit::qzVisitCounter mHierarchy;
};

/// Builds the four-wide hierarchy that options ask for; returns the seconds that it took. Throws a qzInterrupted when a
/// signal asks to stop, as the function below does.
double buildHierarchy(const qz::qzTriMesh& mesh, const tOptions& options, qzToolkit::qzVisitCounter& hierarchy);

/// The binary hierarchy that options ask for, over the triangles of a mesh. A qzScene converts it.
qzGenericBVH buildBinaryHierarchy(const qz::qzTriMesh& mesh, const tOptions& options);

/// Writes a line to standard error unless options ask for quiet or JSON.
void say(const tOptions& options, const std::string& line);

/// "12.3 %", and "0 %" of nothing.
std::string percent(std::size_t part, std::size_t whole);
/// "0.123 s"
std::string seconds(double duration);
/// "12.3 MB"
std::string megabytes(double bytes);

/// Seconds since the start of some clock.
double now();

}  // namespace qzQuery
