#pragma once
// Closed procedural meshes: every edge has two triangles, normals point outwards.

#include <qzSceneGraph/qzTriMesh.h>

namespace qzBench {

/// The sphere of radius 1 around the origin: an icosahedron subdivided level times, 20 * 4^level triangles of nearly
/// equal size.
qz::qzTriMesh sphere(int level);

/// The cube from -1 to 1 on each axis, each face a grid of nbCells x nbCells squares of two triangles. For powers of two
/// all coordinates are exact, and many edges lie in one plane.
qz::qzTriMesh cube(int nbCells);

/// A torus oblique to the axes, of radius 1 around its axis and the radius thickness across: nbAround x nbAcross
/// quadrangles of two triangles.
qz::qzTriMesh torus(int nbAround, int nbAcross, double thickness);

/// A closed tube of length 1 with 16 sides, oblique to the axes. Each side is two needle triangles of length 1 and
/// width 1 / slenderness.
qz::qzTriMesh tube(double slenderness);

/// Two flat cones of radius 1, base to base, oblique to the axes. nbSides needle triangles meet at each tip.
qz::qzTriMesh lens(int nbSides);

}  // namespace qzBench
