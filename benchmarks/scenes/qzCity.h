#pragma once
// A city of boxes, a scene of buildings: large and small triangles side by side, long flat walls, many edges along the
// axes.

#include <qzSceneGraph/qzTriMesh.h>

namespace qzBench {

/// Blocks of four buildings each between streets, y up, in metres. Every part is a closed box of 12 triangles: streets,
/// pavements, towers with setbacks, window frames or ledges, and machines on the roofs. Parts overlap as in models of
/// real cities. nbTriangles is met to within a tenth from 10,000 on.
qz::qzTriMesh city(int nbTriangles, unsigned seed);

}  // namespace qzBench
