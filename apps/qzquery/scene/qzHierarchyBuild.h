#pragma once
// Building what the options ask for over a mesh.

#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzMeshQueries/MeshIndex.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/query/qzHierarchy.h>
#include <toolkit/run/qzCancelToken.h>

#include <string>

namespace qzQuery {

struct tOptions;

/// The binary hierarchy over the triangles of a mesh. Throws a qzInterrupted when it is cancelled. The surface-area
/// builder cannot be cancelled: while it runs, the signals of a qzSignals end the process at once.
qzGenericBVH buildBinaryHierarchy(const qz::qzTriMesh& mesh, const tOptions& options, const qzToolkit::tCancel& cancel);

/// The same converted to a four-wide hierarchy with triangle equations. qzQBVH::buildFromMesh is faster but cannot be
/// cancelled.
/// binary  out: the binary hierarchy, unless it is null
void buildHierarchy(const qz::qzTriMesh& mesh, const tOptions& options, const qzToolkit::tCancel& cancel,
                    qzToolkit::qzHierarchy& hierarchy, qzGenericBVH* binary = nullptr);

/// An index over the triangles of a mesh, with the quality and threads of options, and a progress line. meshName is for
/// messages.
/// Failure: a qzError for coordinates that the index refuses; a qzInterrupted when it is cancelled.
qzMeshQueries::MeshIndex buildIndex(const std::string& meshName, const qz::qzTriMesh& mesh, const tOptions& options,
                                    const qzToolkit::tCancel& cancel);

}  // namespace qzQuery
