#include "toolkit/qzTestFiles.h"

#include <toolkit/base/qzError.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace qzTest {

namespace {

using Point = Wm4::Vector3<float>;

int nbVerticesOf(const qz::qzTriMesh& mesh) {
  return mesh.getVertexBuffer()->getNbVertices();
}
int nbTrianglesOf(const qz::qzTriMesh& mesh) {
  return mesh.getIndexBuffer()->getNbIndices() / 3;
}
int indexOf(const qz::qzTriMesh& mesh, int triangle, int corner) {
  return mesh.getIndexBuffer()->getIndices()[3 * triangle + corner];
}

/// A stream that writes enough digits for a float to come back.
std::ostringstream textStream() {
  std::ostringstream text;
  text.precision(9);
  return text;
}

std::ostream& operator<<(std::ostream& stream, const Point& p) {
  return stream << p[0] << ' ' << p[1] << ' ' << p[2];
}

template <class Value>
void append(std::string& bytes, Value value, bool isBigEndian = false) {
  char raw[sizeof value];
  std::memcpy(raw, &value, sizeof value);
  if (isBigEndian) std::reverse(raw, raw + sizeof value);
  bytes.append(raw, sizeof value);
}

std::string plyHeader(const qz::qzTriMesh& mesh, const char* format) {
  return std::string("ply\nformat ") + format + " 1.0\nelement vertex " + std::to_string(nbVerticesOf(mesh)) +
         "\nproperty float x\nproperty float y\nproperty float z\nelement face " + std::to_string(nbTrianglesOf(mesh)) +
         "\nproperty list uchar int vertex_indices\nend_header\n";
}

}  // namespace

std::vector<TriangleCorners> cornersOf(const qz::qzTriMesh& mesh) {
  std::vector<TriangleCorners> corners(static_cast<std::size_t>(nbTrianglesOf(mesh)));
  for (int t = 0; t < nbTrianglesOf(mesh); ++t) {
    for (int k = 0; k < 9; ++k) {
      corners[static_cast<std::size_t>(t)][static_cast<std::size_t>(k)] =
          mesh.getVertexBuffer()->Position3(indexOf(mesh, t, k / 3))[k % 3];
    }
  }
  return corners;
}

qz::qzTriMesh gridMesh(int cells) {
  const int side = cells + 1;
  std::vector<Point> vertices;
  std::vector<int> indices;
  for (int j = 0; j < side; ++j) {
    for (int i = 0; i < side; ++i) {
      vertices.emplace_back(0.5f * static_cast<float>(i) - 0.25f, 0.5f * static_cast<float>(j),
                            0.125f * static_cast<float>((i * i + 3 * j) % 7) - 0.375f);
    }
  }
  for (int j = 0; j < cells; ++j) {
    for (int i = 0; i < cells; ++i) {
      const int v = j * side + i;
      for (int corner : {v, v + 1, v + side + 1, v, v + side + 1, v + side}) indices.push_back(corner);
    }
  }
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(vertices)), qz::qzIndexBuffer(std::move(indices)));
}

std::string asObj(const qz::qzTriMesh& mesh) {
  std::ostringstream text = textStream();
  for (int v = 0; v < nbVerticesOf(mesh); ++v) text << "v " << mesh.getVertexBuffer()->Position3(v) << '\n';
  for (int t = 0; t < nbTrianglesOf(mesh); ++t) {
    text << "f " << indexOf(mesh, t, 0) + 1 << ' ' << indexOf(mesh, t, 1) + 1 << ' ' << indexOf(mesh, t, 2) + 1 << '\n';
  }
  return text.str();
}

std::string asPlyText(const qz::qzTriMesh& mesh) {
  std::ostringstream text = textStream();
  text << plyHeader(mesh, "ascii");
  for (int v = 0; v < nbVerticesOf(mesh); ++v) text << mesh.getVertexBuffer()->Position3(v) << '\n';
  for (int t = 0; t < nbTrianglesOf(mesh); ++t) {
    text << "3 " << indexOf(mesh, t, 0) << ' ' << indexOf(mesh, t, 1) << ' ' << indexOf(mesh, t, 2) << '\n';
  }
  return text.str();
}

std::string asPlyBytes(const qz::qzTriMesh& mesh, bool isBigEndian) {
  std::string bytes = plyHeader(mesh, isBigEndian ? "binary_big_endian" : "binary_little_endian");
  for (int v = 0; v < nbVerticesOf(mesh); ++v) {
    for (int axis = 0; axis < 3; ++axis) append(bytes, mesh.getVertexBuffer()->Position3(v)[axis], isBigEndian);
  }
  for (int t = 0; t < nbTrianglesOf(mesh); ++t) {
    bytes += '\x03';
    for (int k = 0; k < 3; ++k) append(bytes, indexOf(mesh, t, k), isBigEndian);
  }
  return bytes;
}

std::string asStlText(const qz::qzTriMesh& mesh) {
  std::ostringstream text = textStream();
  text << "solid grid\n";
  for (int t = 0; t < nbTrianglesOf(mesh); ++t) {
    text << "facet normal 0 0 0\n outer loop\n";
    for (int k = 0; k < 3; ++k) text << "  vertex " << mesh.getVertexBuffer()->Position3(indexOf(mesh, t, k)) << '\n';
    text << " endloop\nendfacet\n";
  }
  text << "endsolid grid\n";
  return text.str();
}

std::string asStlBytes(const qz::qzTriMesh& mesh) {
  std::string bytes(80, ' ');
  append(bytes, nbTrianglesOf(mesh));
  for (const TriangleCorners& corners : cornersOf(mesh)) {
    for (int axis = 0; axis < 3; ++axis) append(bytes, 0.0f);
    for (float coordinate : corners) append(bytes, coordinate);
    append(bytes, short(0));
  }
  return bytes;
}

std::string asOff(const qz::qzTriMesh& mesh) {
  std::ostringstream text = textStream();
  text << "OFF\n" << nbVerticesOf(mesh) << ' ' << nbTrianglesOf(mesh) << " 0\n";
  for (int v = 0; v < nbVerticesOf(mesh); ++v) text << mesh.getVertexBuffer()->Position3(v) << '\n';
  for (int t = 0; t < nbTrianglesOf(mesh); ++t) {
    text << "3 " << indexOf(mesh, t, 0) << ' ' << indexOf(mesh, t, 1) << ' ' << indexOf(mesh, t, 2) << '\n';
  }
  return text.str();
}

std::string asCollada(const qz::qzTriMesh& mesh) {
  std::ostringstream text = textStream();
  text << R"(<?xml version="1.0"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1"><asset><up_axis>Y_UP</up_axis></asset>
<library_geometries><geometry id="g"><mesh><source id="p"><float_array id="a" count=")"
       << 3 * nbVerticesOf(mesh) << "\">";
  for (int v = 0; v < nbVerticesOf(mesh); ++v) text << mesh.getVertexBuffer()->Position3(v) << '\n';
  text << R"(</float_array><technique_common><accessor source="#a" count=")" << nbVerticesOf(mesh)
       << R"(" stride="3"><param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/>
</accessor></technique_common></source><vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
<triangles count=")"
       << nbTrianglesOf(mesh) << R"("><input semantic="VERTEX" source="#v" offset="0"/><p>)";
  for (int i = 0; i < 3 * nbTrianglesOf(mesh); ++i) text << mesh.getIndexBuffer()->getIndices()[i] << ' ';
  text << R"(</p></triangles></mesh></geometry></library_geometries>
<library_visual_scenes><visual_scene id="s"><node><translate>0 0 8</translate><instance_geometry url="#g"/></node>
</visual_scene></library_visual_scenes><scene><instance_visual_scene url="#s"/></scene></COLLADA>
)";
  return text.str();
}

std::string asGltf(const qz::qzTriMesh& mesh, const std::string& binName, std::string& bin, const std::string& node) {
  bin.clear();
  for (int v = 0; v < nbVerticesOf(mesh); ++v) {
    for (int axis = 0; axis < 3; ++axis) append(bin, mesh.getVertexBuffer()->Position3(v)[axis]);
  }
  const std::size_t indicesAt = bin.size();
  for (int i = 0; i < 3 * nbTrianglesOf(mesh); ++i) append(bin, mesh.getIndexBuffer()->getIndices()[i]);
  std::ostringstream text;
  text << R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}], "nodes": [{"mesh": 0)" << node
       << R"(}], "meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "indices": 1}]}], "accessors": [)"
       << R"({"bufferView": 0, "componentType": 5126, "type": "VEC3", "count": )" << nbVerticesOf(mesh)
       << R"(}, {"bufferView": 1, "componentType": 5125, "type": "SCALAR", "count": )" << 3 * nbTrianglesOf(mesh)
       << R"(}], "bufferViews": [{"buffer": 0, "byteOffset": 0, "byteLength": )" << indicesAt
       << R"(}, {"buffer": 0, "byteOffset": )" << indicesAt << R"(, "byteLength": )" << bin.size() - indicesAt
       << R"(}], "buffers": [{"uri": ")" << binName << R"(", "byteLength": )" << bin.size() << "}]}";
  return text.str();
}

std::string gzip(const std::string& bytes) {
  z_stream stream = {};
  constexpr int kGzip = 16;  // added to the window bits: the gzip wrapper
  if (deflateInit2(&stream, 6, Z_DEFLATED, 15 + kGzip, 8, Z_DEFAULT_STRATEGY) != Z_OK) throw std::bad_alloc();
  std::string packed(deflateBound(&stream, bytes.size()) + 32, '\0');
  std::string source = bytes;
  stream.next_in = reinterpret_cast<Bytef*>(source.data());
  stream.avail_in = static_cast<uInt>(source.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  const int code = deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  if (code != Z_STREAM_END) throw std::runtime_error("deflate");
  return packed;
}

std::vector<qzToolkit::qzRay> readRays(const std::string& name, std::size_t blockSize) {
  std::vector<qzToolkit::qzRay> rays;
  qzToolkit::qzRayReader reader(name, nullptr, blockSize);
  for (qzToolkit::qzRayBlock block; reader.read(block);) {
    reader.decode(block, [&](const qzToolkit::qzRay& ray) { rays.push_back(ray); });
  }
  return rays;
}

std::string errorOf(const std::function<void()>& function) {
  try {
    function();
  } catch (const qzToolkit::qzError& error) {
    return error.what();
  }
  return "nothing thrown";
}

}  // namespace qzTest
