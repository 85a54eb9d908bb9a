#pragma once
// What assimp does not tell about a mesh file. Its readers fill the missing end of a cut PLY file with made-up numbers,
// put other vertices in the place of missing ones (OFF), take the facets that are there (STL) and skip lines of an OBJ
// file that are indented or hold a number like ".5". So these four are looked through first. Every failure throws a
// qzError that names the file and the line or element.

#include <string>
#include <string_view>

namespace qzToolkit {

/// Whether a PLY, STL or OFF file, by its extension, has all the elements that it announces; for OFF also that indices
/// are in range. Other formats, and headers that are not understood, pass.
void checkMeshFile(const std::string& name, const std::string& extension, std::string_view bytes);

/// The vertices and faces of an OBJ file as a binary PLY file, in their order. Everything else in it is left out:
/// texture coordinates, normals, groups, materials, points, lines and curves. Coordinates are rounded once, to the
/// nearest float.
std::string convertObjToPly(const std::string& name, std::string_view text);

}  // namespace qzToolkit
