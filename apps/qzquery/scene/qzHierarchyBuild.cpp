#include <apps/qzquery/scene/qzHierarchyBuild.h>

#include <apps/qzquery/console/qzOptions.h>
#include <apps/qzquery/console/qzProgramThreads.h>
#include <apps/qzquery/console/qzProgressLine.h>
#include <apps/qzquery/console/qzSignals.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <toolkit/base/qzError.h>
#include <toolkit/build/qzSAHFeeder.h>
#include <toolkit/query/qzIndexCast.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace qzQuery {

namespace {

constexpr unsigned kBitsPerAxis = 20;      // as qzQBVH::buildFromMesh
constexpr std::size_t kBuildSteps = 1000;  // of the progress of an index

}  // namespace

qzGenericBVH buildBinaryHierarchy(const qz::qzTriMesh& mesh, const tOptions& options,
                                  const qzToolkit::tCancel& cancel) {
  qzGenericBVH bvh;
  if (options.mBuilder == tBuilder::eLinear) {
    qzLinearGenericBVHBuilder builder;
    builder.setMaxPrimitivesPerLeaf(options.mLeafSize);
    if (!builder.build(qzBVHTriangleContainer(mesh), bvh, &cancel, kBitsPerAxis)) throw qzToolkit::qzInterrupted();
  } else {
    const qzSignals::tEndAtOnce endAtOnce;
    qzToolkit::throwIfCanceled(&cancel);
    qzToolkit::qzSAHFeeder feeder;
    feeder.setMesh(mesh);
    feeder.build(bvh);
  }
  return bvh;
}

void buildHierarchy(const qz::qzTriMesh& mesh, const tOptions& options, const qzToolkit::tCancel& cancel,
                    qzToolkit::qzHierarchy& hierarchy, qzGenericBVH* binary) {
  qzGenericBVH bvh = buildBinaryHierarchy(mesh, options, cancel);
  hierarchy.buildFromBVH(qzQBVH::eTrianglesEquations, bvh, mesh);
  if (binary != nullptr) *binary = std::move(bvh);
}

qzMeshQueries::MeshIndex buildIndex(const std::string& meshName, const qz::qzTriMesh& mesh, const tOptions& options,
                                    const qzToolkit::tCancel& cancel) {
  const qzProgramThreads allowance(options.mNbThreads);  // else oneTBB would warn of more threads than processors
  qzProgressLine line("building", kBuildSteps, !options.mQuiet);
  std::size_t done = 0;
  qzMeshQueries::BuildOptions build;
  build.quality = options.mQuality;
  build.threads = options.mNbThreads;
  build.cancel = &cancel;
  build.progress = [&](double part) {
    const std::size_t now = static_cast<std::size_t>(part * kBuildSteps);
    if (now > done) line.advance(now - done);
    done = std::max(done, now);
  };
  try {
    return qzToolkit::makeIndex(mesh, build);
  } catch (const qzToolkit::qzError& refused) {
    throw qzToolkit::qzError(meshName, std::string(refused.what()) + "; --engine qbvh takes it");
  }
}

}  // namespace qzQuery
