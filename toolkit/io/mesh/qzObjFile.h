#pragma once
// OBJ files, which assimp reads badly: it skips lines that are indented or hold a number like ".5", puts the triangles
// of an object that comes back out of order, rounds coordinates twice and gives every corner a vertex of its own.

#include <toolkit/io/mesh/qzPolygonMesh.h>

#include <string>
#include <string_view>

namespace qzToolkit {

/// The vertices and faces of an OBJ file, in their order. Everything else in it is passed over: texture coordinates,
/// normals, groups, materials, points, lines and curves. Coordinates are the nearest floats.
/// Failure: a vertex without three finite coordinates, or a face without three corners or with a vertex that the file
/// does not have, throws a qzError that names the line. A file without faces is none. A number that is too large for a
/// float fails even where infinities are kept.
qzPolygonMesh readObj(const std::string& name, std::string_view text, const tCancel* cancel = nullptr,
                      tNonFinite nonFinite = tNonFinite::eRefuse);

}  // namespace qzToolkit
