// Where the log records of the library go is up to the application.
#include <qzCommonAddOns/qzCommonAddOns.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <qzSystem/qzLog.h>

#include <cstdio>

class Journal : public qz::qzLog {
 public:
  // A type that is not enabled costs nothing: its records are never made.
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
  hierarchy.intersectConvexHull(nullptr, 0);  // asks for vertices, which were not kept

  qz::qzLog::msInstance = nullptr;  // before the journal goes
}
