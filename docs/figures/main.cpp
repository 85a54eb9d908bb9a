// qzFigures folder: draws the figures of docs/ into the folder. Run by script/docs, and by a test that compares them.

#include <qzSystem/qzLog.h>

#include <cstdio>
#include <exception>

#include "qzFigures.h"

namespace {

class ErrorsOnly : public qz::qzLog {
 public:
  bool isLogTypeEnabled(qz::qzLogType type) const override { return type == qz::eLogError; }
  void write(qz::qzLogType, const std::string&, const std::string& text) override {
    std::fprintf(stderr, "qzFigures: %s\n", text.c_str());
  }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: qzFigures folder\n");
    return 2;
  }
  static ErrorsOnly log;
  qz::qzLog::msInstance = &log;
  try {
    drawIdea(argv[1]);
    drawPlane(argv[1]);
    drawNode(argv[1]);
    drawRows(argv[1]);
    drawImageErrors(argv[1]);
    drawCrossing(argv[1]);
    drawDepthError(argv[1]);
    drawMargin(argv[1]);
    drawWinding(argv[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qzFigures: %s\n", error.what());
    return 2;
  }
}
