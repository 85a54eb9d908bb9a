#include "qzScene.h"

#include <toolkit/qzMeshFile.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>

namespace qzQuery {

namespace {

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
  const double start = now();
  mHierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, mMesh, options.mLeafSize);
  mBuildSeconds = now() - start;

  say(options, meshName + ": " + std::to_string(getNbTriangles()) + " triangles, " +
                   std::to_string(mMesh.getVertexBuffer()->getNbVertices()) + " vertices, read in " +
                   seconds(mReadSeconds));
  say(options, "hierarchy: " + std::to_string(mHierarchy.getNoNodes()) + " nodes, " +
                   std::to_string(mHierarchy.getNoTriangleQuadruplets()) + " quadruplets, " +
                   format("%.1f MB", 1e-6 * static_cast<double>(mHierarchy.getBytes())) + ", built in " +
                   seconds(mBuildSeconds));
}

void addOptions(CLI::App& command, tOptions& options) {
  command.add_option("--leaf", options.mLeafSize, "Triangles in a leaf of the hierarchy at most")
      ->check(CLI::Range(1u, 1u << 28))
      ->capture_default_str();
  command.add_option("--threads", options.mNbThreads, "Threads; without it, as many as the machine has")
      ->check(CLI::Range(1, 1024));
  command.add_flag("--quiet", options.mQuiet, "Say nothing but errors");
  command.add_flag("--verbose", options.mVerbose, "Show the log records of the library");
}

void say(const tOptions& options, const std::string& line) {
  if (!options.mQuiet) std::fprintf(stderr, "%s\n", line.c_str());
}

std::string percent(std::size_t part, std::size_t whole) {
  return format("%.3g %%", whole == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole));
}

std::string seconds(double duration) {
  return format("%.3f s", duration);
}

double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace qzQuery
