// The library's log records go to a logger of the application.
#include <qzCommonAddOns/qzCommonAddOns.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <qzSystem/qzLog.h>

#include <cstdio>

class Journal : public qz::qzLog {
 public:
  // Records of a type that is not enabled are never made, so they cost nothing.
  bool isLogTypeEnabled(qz::qzLogType type) const override { return type >= qz::eLogInfo; }
  void write(qz::qzLogType type, const std::string& category, const std::string& text) override {
    std::printf("%s %s: %s\n", type == qz::eLogError ? "ERROR" : "info ", category.c_str(), text.c_str());
  }
};

int main() {
  Journal journal;
  qz::qzLog::msInstance = &journal;

  const qz::qzTriMesh mesh(qz::qzVertexBuffer({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), qz::qzIndexBuffer({0, 1, 2}));
  qzQBVH hierarchy;
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, mesh, 4);
  hierarchy.intersectConvexHull(nullptr, 0);  // logs an error: it needs eTrianglesVertices

  qz::qzLog::msInstance = nullptr;  // before the journal is destroyed
}
