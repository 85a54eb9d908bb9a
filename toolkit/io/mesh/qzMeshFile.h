#pragma once
// Triangle meshes from files: OBJ, and any format that assimp knows, as PLY, STL, OFF, glTF, COLLADA and many more.

#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/base/qzLimits.h>
#include <toolkit/io/mesh/qzPolygonMesh.h>

#include <string>

namespace qzToolkit {

/// Reads all triangles of a file, in the order of the file.
///
/// name          the file; its extension tells the format. With ".gz" behind ("bike.obj.gz") it is unpacked in memory,
///               and other files that it refers to are not looked for
/// cancel        polled all the time; canceled work throws a qzInterrupted
/// maxTriangles  more are an error
/// nonFinite     eKeep lets coordinates that are NaN or infinite pass
///
/// Polygons are divided into triangles, points and lines left out, all meshes of a scene joined with their transforms
/// applied. Vertices are not merged and triangles without area are kept. OBJ coordinates are the floats nearest to the
/// decimal numbers; in other text formats assimp may be a rounding off. The result has at least one triangle, indices
/// in range and finite coordinates.
///
/// Failure: a missing, unreadable, incomplete or damaged file, one without triangles, an index out of range, a
/// coordinate that is NaN or infinite, or too many triangles throw a qzError that names the file and the place: a line
/// of a text file, or a vertex or face as counted from 0. What the file's own reader reports as broken geometry
/// fails too. Any number of threads may call this at once.
///
/// assimp crashes, leaks or loops for ever over some damaged files, so it works in a copy of this process (fork) with a
/// limit on processor time and memory, and what happens there is an error like others. OBJ is read right here.
qz::qzTriMesh loadMesh(const std::string& name, const tCancel* cancel = nullptr,
                       std::size_t maxTriangles = kMaxTriangles, tNonFinite nonFinite = tNonFinite::eRefuse);

}  // namespace qzToolkit
