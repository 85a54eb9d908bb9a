#pragma once
// Triangle meshes from files: OBJ, and all formats that assimp reads, among them PLY, STL, OFF, glTF and COLLADA.

#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/base/qzLimits.h>
#include <toolkit/io/mesh/qzPolygonMesh.h>

#include <string>

namespace qzToolkit {

/// Reads all triangles of a file, in the order of the file.
///
/// name          the file; its extension gives the format. With a further ".gz" ("bike.obj.gz") it is decompressed in
///               memory, and files that it refers to are not read
/// cancel        polled for every block, line and triangle
/// maxTriangles  more triangles are an error
/// nonFinite     eKeep keeps coordinates that are NaN or infinite
///
/// Polygons are triangulated, points and lines dropped, and all meshes of a scene joined with their transforms applied.
/// Vertices are not merged, and triangles without area are kept. OBJ coordinates are the floats nearest to the decimal
/// numbers; for other text formats assimp may differ in the last bit. The result has at least one triangle, indices in
/// range and finite coordinates.
///
/// Failure: a missing, unreadable, truncated or damaged file, one without triangles, an index out of range, a
/// coordinate that is NaN or infinite, or too many triangles throw a qzError that names the file and the place: a line
/// of a text file, or a vertex or face counted from 0. Broken geometry that the format's reader reports is an error
/// too.
/// Threads: any number of calls at once.
///
/// assimp crashes, leaks or loops for ever on some damaged files. It runs in a forked process with limits on processor
/// time and memory, and its failures become qzErrors. OBJ files are read in this process.
qz::qzTriMesh loadMesh(const std::string& name, const tCancel* cancel = nullptr,
                       std::size_t maxTriangles = kMaxTriangles, tNonFinite nonFinite = tNonFinite::eRefuse);

}  // namespace qzToolkit
