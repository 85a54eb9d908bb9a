#pragma once
// Closed procedural meshes: every edge has two triangles, normals point outwards.

#include <qzSceneGraph/qzTriMesh.h>

namespace qzBench {

/// The sphere of radius 1 around the origin: an icosahedron subdivided level times, 20 * 4^level triangles of nearly
/// equal size.
qz::qzTriMesh sphere(int level);

/// A closed tube of length 1 with 16 sides, oblique to the axes. Each side is two needle triangles of length 1 and
/// width 1 / slenderness.
qz::qzTriMesh tube(double slenderness);

/// Two flat cones of radius 1, base to base, oblique to the axes. nbSides needle triangles meet at each tip.
qz::qzTriMesh lens(int nbSides);

}  // namespace qzBench
