#include <apps/qzquery/scene/qzHierarchyBuild.h>

#include <apps/qzquery/console/qzOptions.h>
#include <apps/qzquery/console/qzSignals.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <toolkit/build/qzSAHFeeder.h>

#include <utility>

namespace qzQuery {

namespace {

constexpr unsigned kBitsPerAxis = 20;  // as qzQBVH::buildFromMesh

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

}  // namespace qzQuery
