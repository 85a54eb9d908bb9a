// Everything in the toolkit that may run long is cancelled at its first, a middle and its last poll, and from another
// thread while it waits.

#include <doctest/doctest.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <sys/stat.h>
#include <toolkit/build/qzSAHFeeder.h>
#include <toolkit/inspect/qzMeshReport.h>
#include <toolkit/inspect/qzTraversalCost.h>
#include <toolkit/io/file/qzFile.h>
#include <toolkit/io/mesh/qzMeshFile.h>
#include <toolkit/io/mesh/qzObjFile.h>
#include <toolkit/io/picture/qzImage.h>
#include <toolkit/io/table/qzRayFile.h>
#include <toolkit/query/qzRayCast.h>
#include <toolkit/run/qzChildProcess.h>
#include <toolkit/view/qzCamera.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <set>
#include <thread>

#include "support/qzTemporaryFolder.h"
#include "toolkit/qzCancelAt.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using namespace qzToolkit;

namespace {

struct Operation {
  std::string name;
  long leastPolls;
  std::function<void(const tCancel*)> run;
  bool writesFile = false;  // when it is done, which it never is here: leastPolls are all polls
};

bool isInterrupted(const Operation& operation, const tCancel& cancel) {
  try {
    operation.run(&cancel);
  } catch (const qzInterrupted&) {
    return true;
  }
  return false;
}

}  // namespace

TEST_CASE("cancelled at any poll, work throws and leaves its files as they were") {
  const TemporaryFolder folder;
  const qz::qzTriMesh mesh = gridMesh(12);  // 288 triangles
  const std::string obj = folder.write("m.obj", asObj(mesh)), packed = folder.write("m.obj.gz", gzip(asObj(mesh))),
                    off = folder.write("m.off", asOff(mesh)), ply = folder.write("m.ply", asPlyText(mesh)),
                    stl = folder.write("m.stl", asStlBytes(mesh)), dae = folder.write("m.dae", asCollada(mesh)),
                    large = folder.write("large", std::string(5 << 20, 'x')),
                    largePacked = folder.write("large.gz", gzip(std::string(5 << 20, 'x'))),
                    old = folder.write("old", "old bytes");
  std::string rows;
  for (int i = 0; i < 400; ++i) rows += "0,0,2,0,0,-1\n";
  const std::string rays = folder.write("rays.csv", rows);
  const std::set<std::string> names = folder.names();
  const qzThreads threads(2);
  qzSAHFeeder feeder;
  feeder.setMesh(mesh);
  qzGenericBVH bvh;
  feeder.build(bvh);
  const qzImage image(640, 480, {0.1, 0.2, 0.3});
  const auto loads = [](const std::string& name) { return [name](const tCancel* c) { loadMesh(name, c); }; };

  const Operation operations[] = {
      {"readFile", 3, [&](const tCancel* c) { readFile(large, c); }},
      {"readGzipFile", 6, [&](const tCancel* c) { readGzipFile(largePacked, c); }},
      {"writeFile over a file", 5, [&](const tCancel* c) { writeFile(old, std::string(5 << 20, 'x'), c); }, true},
      {"writeFile", 5, [&](const tCancel* c) { writeFile(folder.path("new"), std::string(5 << 20, 'x'), c); }, true},
      {"loadMesh obj", 2 * 288, loads(obj)},
      {"loadMesh gz", 2 * 288, loads(packed)},
      {"loadMesh off", 2 * 288, loads(off)},
      {"loadMesh ply", 2 * 288, loads(ply)},
      {"loadMesh stl", 288, loads(stl)},
      {"loadMesh dae", 288, loads(dae)},
      {"readObj", 288, [&](const tCancel* c) { readObj("m.obj", asObj(mesh), c); }},
      {"a polygon of many corners", 100,
       [&](const tCancel* c) {
         qzPolygonMesh polygon;
         for (int i = 0; i < 200; ++i) {
           polygon.mVertices.emplace_back(float(i), float(i * i), 0.0f);
           polygon.mCorners.push_back(i);
         }
         polygon.mNbCorners = {200};
         polygon.triangulate(c);
       }},
      {"reading rays", 5,
       [&](const tCancel* c) {
         qzRayReader reader(rays, c, 1000);
         for (qzRayBlock block; reader.read(block);) {
         }
       }},
      {"castRays", 5,
       [&](const tCancel* c) {
         qzRayReader reader(rays, nullptr, 1000);
         const qzRayQuestion question = askForHits(mesh, {}, [](const qzRay*, std::size_t, qzHit*) {});
         qzTableWriter writer(folder.path("hits.csv"), question.mColumns);
         castRays(reader, writer, question, threads, c);
       }},
      {"writing hits", 2,
       [&](const tCancel* c) {
         qzTableWriter writer(folder.path("hits.csv"), {{"t"}}, c);
         writer.write("0,1,2,3,4\n", 1);
       }},
      {"inspectMesh", 2 * 288, [&](const tCancel* c) { inspectMesh(mesh, threads, c); }},
      {"expectedTraversalCost", 3, [&](const tCancel* c) { expectedTraversalCost(bvh, 1.0, 1.0, c); }},
      {"forEachBlock", 10, [&](const tCancel* c) { threads.forEachBlock(10, 1, c, [](std::size_t, std::size_t) {}); }},
      {"streamBlocks", 10,
       [&](const tCancel* c) {
         int nbRead = 0;
         threads.streamBlocks(
             3, c, [&](std::size_t) { return nbRead++ < 10; }, [](std::size_t) {}, [](std::size_t) {});
       }},
      {"Frame", 2 * 3 * 288,
       [&](const tCancel* c) {
         qzCamera::Frame(mesh, {1, 1, 1}, qzCamera::eUpZ, 1.0, c);
       }},
      {"FrameTurning", 3 * 288,
       [&](const tCancel* c) {
         qzCamera::FrameTurning(mesh, {1, 1, 1}, qzCamera::eUpZ, 1.0, 5, c);
       }},
      {"encodePng", 1, [&](const tCancel* c) { image.encodePng(c); }}};
  for (const Operation& operation : operations) {
    CAPTURE(operation.name);
    long nbPolls = operation.leastPolls;
    if (!operation.writesFile) {
      const CancelAt never;
      CHECK_FALSE(isInterrupted(operation, never));
      nbPolls = never.nbPolls();
      CHECK(nbPolls >= operation.leastPolls);
    }
    for (const long poll : {1L, (nbPolls + 1) / 2, nbPolls}) {
      CAPTURE(poll);
      const CancelAt cancel(poll);
      CHECK(isInterrupted(operation, cancel));
      CHECK(folder.names() == names);
    }
  }
  CHECK(folder.names() == names);
  CHECK(folder.read("old") == "old bytes");
}

TEST_CASE("a wait ends when another thread cancels it") {
  const TemporaryFolder folder;
  const std::string pipe = folder.path("pipe.obj");
  REQUIRE(::mkfifo(pipe.c_str(), 0600) == 0);
  const Operation operations[] = {{"for a writer", 0, [&](const tCancel* c) { readFile(pipe, c); }},
                                  {"for a writer of a mesh", 0, [&](const tCancel* c) { loadMesh(pipe, c); }},
                                  {"for a reader", 0, [&](const tCancel* c) { writeFile(pipe, "bytes", c); }},
                                  {"for a process", 0, [&](const tCancel* c) {
                                     qzChildProcess process(
                                         {10, std::size_t(1) << 30}, [](const qzChildProcess::tOutput&) { ::pause(); },
                                         c);
                                     char byte;
                                     process.read(&byte, 1);
                                   }}};
  for (const Operation& operation : operations) {
    CAPTURE(operation.name);
    qzCancelToken token;
    std::thread canceler([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      token.cancel();
    });
    CHECK(isInterrupted(operation, token));
    canceler.join();
  }
}
