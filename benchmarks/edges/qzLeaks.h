#pragma once
// Lines through closed meshes: each must leave as often as it enters, and may enter a cube or a sphere only once. A ray
// from the centre of these must leave once. Unlike the tables of qzEdgeTables.h, this needs no exact arithmetic, so it can
// take many more rays.

#include <benchmarks/edges/qzEdgeTables.h>

namespace qzBench {

/// A sixth of the settings' number of rays for each of hundreds of combinations of mesh, place, target and approach.
/// Prints tables by mesh, by place and by approach. Meshes in files are left out when isSmoke.
void printLeaks(const qzEdgeSettings& settings, bool isSmoke);

}  // namespace qzBench
