#pragma once
// Meshes as the bytes of files, written without the toolkit, and helpers to examine the results of reading and
// writing.

#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/io/table/qzRayFile.h>

#include <array>
#include <functional>
#include <string>
#include <vector>

namespace qzTest {

/// The corners of one triangle, x y z each.
using TriangleCorners = std::array<float, 9>;
std::vector<TriangleCorners> cornersOf(const qz::qzTriMesh& mesh);

/// A mesh whose coordinates are multiples of 1/8, which every text form holds exactly: 2 * cells * cells triangles.
qz::qzTriMesh gridMesh(int cells);

std::string asObj(const qz::qzTriMesh& mesh);
std::string asPlyText(const qz::qzTriMesh& mesh);
std::string asPlyBytes(const qz::qzTriMesh& mesh, bool isBigEndian);
std::string asStlText(const qz::qzTriMesh& mesh);
std::string asStlBytes(const qz::qzTriMesh& mesh);
std::string asOff(const qz::qzTriMesh& mesh);
std::string asCollada(const qz::qzTriMesh& mesh);
/// A glTF file with its numbers in a file binName beside it, whose content is put into bin. node is added to the text
/// of the only node, for example ", \"scale\": [2, 2, 2]".
std::string asGltf(const qz::qzTriMesh& mesh, const std::string& binName, std::string& bin,
                   const std::string& node = "");

/// The bytes of a gzip file.
std::string gzip(const std::string& bytes);

/// All rays of a file, read in blocks of this size.
std::vector<qzToolkit::qzRay> readRays(const std::string& name,
                                       std::size_t blockSize = qzToolkit::qzRayReader::kBlockSize);

/// What the qzError that function throws says; "nothing thrown" when it returns.
std::string errorOf(const std::function<void()>& function);

}  // namespace qzTest
