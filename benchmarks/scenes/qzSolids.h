#pragma once
// Closed meshes made from a few numbers: every edge has two triangles, normals point outwards.

#include <qzSceneGraph/qzTriMesh.h>

namespace qzBench {

/// An icosahedron whose triangles are cut in four, level times: 20 * 4^level nearly equal triangles of a sphere of
/// radius 1 around the origin.
qz::qzTriMesh sphere(int level);

/// A slanting tube of length 1 with 16 sides and closed ends; every side is two needles, as long as the tube and
/// 1 / slenderness wide.
qz::qzTriMesh tube(double slenderness);

/// Two flat slanting cones of radius 1, base on base: nbSides needles meet in each of the two tips.
qz::qzTriMesh lens(int nbSides);

}  // namespace qzBench
