#pragma once
// A reader of OBJ files. assimp's reader skips lines that are indented or contain a number like ".5", reorders the
// triangles of an object that is continued later, rounds coordinates twice and duplicates vertices for every corner.

#include <toolkit/io/mesh/qzPolygonMesh.h>

#include <string>
#include <string_view>

namespace qzToolkit {

/// The vertices and faces of an OBJ file, in file order. Everything else is ignored: texture coordinates, normals,
/// groups, materials, points, lines and curves. Coordinates are rounded to the nearest float.
/// Failure: a vertex without three finite coordinates, or a face with fewer than three corners or with a vertex that
/// the file does not have, throws a qzError that names the line. A number too large for a float fails even if
/// infinities are kept. A file without faces is not an error.
qzPolygonMesh readObj(const std::string& name, std::string_view text, const tCancel* cancel = nullptr,
                      tNonFinite nonFinite = tNonFinite::eRefuse);

}  // namespace qzToolkit
