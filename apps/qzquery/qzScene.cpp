#include "qzScene.h"

#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <toolkit/build/qzSAHFeeder.h>
#include <toolkit/io/mesh/qzMeshFile.h>
#include <toolkit/run/qzInterruption.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>

#include "qzChoice.h"

namespace qzQuery {

namespace {

constexpr unsigned kBitsPerAxis = 20;  // as qzQBVH::buildFromMesh

/// Calls function, and puts the seconds that it took into duration.
template <class tFunction>
auto timed(double& duration, const tFunction& function) {
  const double start = now();
  auto result = function();
  duration = now() - start;
  return result;
}

std::string format(const char* pattern, double value) {
  char text[64];
  std::snprintf(text, sizeof text, pattern, value);
  return text;
}

}  // namespace

qzScene::qzScene(const std::string& meshName, const tOptions& options)
    : mMesh(timed(mReadSeconds, [&] { return qzToolkit::loadMesh(meshName); })) {
  mBuildSeconds = buildHierarchy(mMesh, options, mHierarchy);

  say(options, meshName + ": " + std::to_string(getNbTriangles()) + " triangles, " +
                   std::to_string(mMesh.getVertexBuffer()->getNbVertices()) + " vertices, read in " +
                   seconds(mReadSeconds));
  say(options, "hierarchy: " + std::to_string(mHierarchy.getNoNodes()) + " nodes, " +
                   std::to_string(mHierarchy.getNoTriangleQuadruplets()) + " quadruplets, " +
                   megabytes(static_cast<double>(mHierarchy.getBytes())) + ", built in " + seconds(mBuildSeconds));
}

double buildHierarchy(const qz::qzTriMesh& mesh, const tOptions& options, qzToolkit::qzVisitCounter& hierarchy) {
  const double start = now();
  // qzQBVH::buildFromMesh makes the same in one go and sooner, but cannot be stopped.
  hierarchy.buildFromBVH(qzQBVH::eTrianglesEquations, buildBinaryHierarchy(mesh, options), mesh);
  return now() - start;
}

qzGenericBVH buildBinaryHierarchy(const qz::qzTriMesh& mesh, const tOptions& options) {
  qzGenericBVH bvh;
  if (options.mBuilder == tBuilder::eLinear) {
    qzLinearGenericBVHBuilder builder;
    builder.setMaxPrimitivesPerLeaf(options.mLeafSize);
    const qzToolkit::qzInterruption interruption;
    if (!builder.build(qzBVHTriangleContainer(mesh), bvh, &interruption, kBitsPerAxis))
      throw qzToolkit::qzInterrupted();
  } else {
    const qzToolkit::qzSuddenInterruption sudden;  // nothing is being written here
    qzToolkit::qzSAHFeeder feeder;
    feeder.setMesh(mesh);
    feeder.build(bvh);
  }
  return bvh;
}

void addOptions(CLI::App& command, tOptions& options) {
  addChoice<tBuilder>(
      command, "--builder", options.mBuilder, {{"linear", tBuilder::eLinear}, {"sah", tBuilder::eSurfaceArea}},
      "How to build the hierarchy: linear (default), quick to build, or sah, by surface areas, quick to "
      "ask");
  CLI::Option* const leaf =
      command.add_option("--leaf", options.mLeafSize, "Triangles in a leaf of the linear builder at most")
          ->check(CLI::Range(1u, 1u << 28))
          ->capture_default_str();
  command.parse_complete_callback([leaf, &options] {
    if (options.mBuilder == tBuilder::eSurfaceArea && leaf->count() > 0) {
      throw CLI::ValidationError("--leaf", "goes with --builder linear; the other one finds its own leaves");
    }
  });
  command.add_option("--threads", options.mNbThreads, "Threads; without it, as many as the machine has")
      ->check(CLI::Range(1, 1024));
  command.add_flag("--quiet", options.mQuiet, "Say nothing but errors");
  command.add_flag("--verbose", options.mVerbose, "Show the log records of the library");
  command.add_flag("--json", options.mAsJson,
                   "Answer as one JSON object on standard output, or on standard error where -o - takes the other");
}

void say(const tOptions& options, const std::string& line) {
  if (!options.mQuiet && !options.mAsJson) std::fprintf(stderr, "%s\n", line.c_str());
}

std::string percent(std::size_t part, std::size_t whole) {
  return format("%.3g %%", whole == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole));
}

std::string seconds(double duration) {
  return format("%.3f s", duration);
}

std::string megabytes(double bytes) {
  return format("%.1f MB", 1e-6 * bytes);
}

double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace qzQuery
