// Meshes of any floats, and rays, points and regions of any floats for a MeshIndex: refused as documented, or every answer
// as in the plain form, one by one and in batches, with each instruction set.

#include <qzMeshQueries/MeshIndex.h>
#include <qzMeshQueries/walk/Walks.h>

#include <cmath>
#include <optional>
#include <stdexcept>

#include "fuzz/qzFuzzCheck.h"
#include "fuzz/qzFuzzInput.h"
#include "plain/qzPlainEdges.h"
#include "plain/qzPlainWinding.h"
#include "support/scenes/qzNearChecks.h"
#include "support/scenes/qzQueryChecks.h"

namespace {

using namespace qzMeshQueries;
using qzFuzz::fail;
using qzFuzz::Input;
using qzTest::QueryMesh;

/// The first triangle that construction must refuse.
std::optional<std::size_t> firstBadTriangle(const QueryMesh& mesh, std::uint32_t firstTriangle) {
  for (std::size_t t = 0; t < mesh.triangleCount(); ++t) {
    if (t >= kNone - firstTriangle) return t;
    for (std::size_t k = 0; k < 3; ++k) {
      if (mesh.triangles[3 * t + k] >= mesh.vertexCount()) return t;
      for (std::size_t axis = 0; axis < 3; ++axis)
        if (!(std::fabs(mesh.corner(t, k)[axis]) <= 1e15f)) return t;
    }
  }
  return std::nullopt;
}

void expectRefusal(const QueryMesh& mesh, const BuildOptions& options, std::size_t triangle) {
  try {
    const MeshIndex index(mesh.view(), options);
  } catch (const std::invalid_argument& error) {
    const std::string start = "triangle " + std::to_string(triangle) + ":";
    if (std::string(error.what()).compare(0, start.size(), start) != 0) fail(std::string("refused by ") + error.what());
    return;
  }
  fail("a mesh with a bad triangle is accepted");
}

/// What is bad becomes 0.
void mend(QueryMesh& mesh) {
  for (float& coordinate : mesh.vertices)
    if (!(std::fabs(coordinate) <= 1e15f)) coordinate = 0.0f;
  for (std::uint32_t& vertex : mesh.triangles)
    if (vertex >= mesh.vertexCount()) vertex = 0;
}

Ray rayOf(Input& input, const QueryMesh& mesh) {
  const std::uint8_t kind = input.byte();
  Ray ray;
  const qzFuzz::Point origin = input.point();
  for (std::size_t axis = 0; axis < 3; ++axis) ray.origin[axis] = origin[static_cast<int>(axis)];
  if (kind % 4 < 2 && mesh.triangleCount() > 0) {
    // At a vertex or an edge or a face of a triangle; now and then along an axis.
    const std::size_t t = input.byte() % mesh.triangleCount();
    const float u = static_cast<float>(input.byte() % 9) / 8.0f, v = static_cast<float>(input.byte() % 9) / 8.0f;
    const std::size_t axis = kind / 4 % 8;
    for (std::size_t i = 0; i < 3; ++i) {
      const float a = mesh.corner(t, 0)[i], b = mesh.corner(t, 1)[i], c = mesh.corner(t, 2)[i];
      const float target = a + u * (b - a) + v * (c - a);
      if (axis < 3 && i != axis) ray.origin[i] = target;
      ray.direction[i] = target - ray.origin[i];
    }
  } else {
    const qzFuzz::Point direction = input.point();
    for (std::size_t i = 0; i < 3; ++i) ray.direction[i] = direction[static_cast<int>(i)];
  }
  if (kind >= 128) ray.tMin = kind >= 160 ? -qzTest::kInf : input.number();
  if (kind >= 224) ray.tMax = input.number();
  return ray;
}

/// Regions of any floats around a point, or around a vertex of the mesh.
qzTest::NearQuestion nearQuestionOf(Input& input, const QueryMesh& mesh) {
  qzTest::NearQuestion question;
  const std::uint8_t kind = input.byte();
  const qzFuzz::Point point = input.point();
  const float size = kind % 16 == 0 ? input.number() : std::ldexp(1.0f, kind % 16 - 8);
  for (std::size_t i = 0; i < 3; ++i) {
    const bool isAtVertex = kind / 16 % 2 == 0 && mesh.triangleCount() > 0;
    question.point[i] = isAtVertex ? mesh.corner(kind / 32 % mesh.triangleCount(), 0)[i] : point[static_cast<int>(i)];
    question.min[i] = question.point[i] - (kind / 64 % 2 == 0 ? size : 0.0f);
    question.max[i] = question.point[i] + size;
  }
  question.distance = kind / 128 == 0 ? qzTest::kInf : size;
  if (kind % 32 == 31)
    for (const qzFuzz::Plane& plane : input.planes(6))
      question.planes.push_back({plane[0], plane[1], plane[2], plane[3]});
  return question;
}

void expectNone(const std::string& instructionSet, const std::string& wrong) {
  if (!wrong.empty()) fail(instructionSet + ": " + wrong);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::uint8_t choice = input.byte();
  BuildOptions options;
  options.quality = static_cast<Quality>(choice % 3);
  options.threads = 1;
  options.firstTriangle = choice < 192 ? 0 : choice < 240 ? input.byte() : kNone - input.byte();
  QueryMesh mesh = qzTest::queryMeshOf("", input.mesh(96));
  if (choice % 16 == 7) mesh.triangles[input.byte() % mesh.triangles.size()] = input.bits();
  if (choice % 16 == 8) mesh.triangles.clear();

  if (const std::optional<std::size_t> bad = firstBadTriangle(mesh, options.firstTriangle)) {
    expectRefusal(mesh, options, *bad);
    mend(mesh);
    if (options.firstTriangle > 255) options.firstTriangle = 0;
  }
  const MeshIndex index(mesh.view(), options);
  if (index.isClosed() != qzPlain::isClosed(mesh.view())) fail("isClosed");

  const qzPlain::tRayQueries plain(mesh.view(), options.firstTriangle);
  const qzPlain::tNearQueries plainNear(mesh.view(), options.firstTriangle);
  std::vector<qzTest::Place> points;
  const qzPlain::tWinding plainWinding(mesh.view());
  std::vector<Nearest> nearest;
  std::vector<double> windings;
  std::vector<Ray> rays;
  std::vector<qzTest::RayAnswers> expected;
  RayOptions common;
  common.faces = static_cast<Faces>(input.byte() % 3);
  do {
    const Ray ray = rayOf(input, mesh);
    RayOptions own = common;
    const std::uint8_t skip = input.byte();
    if (skip >= 224) own.skip = options.firstTriangle + skip % 16;
    const qzTest::RayAnswers answers = qzTest::answersOf(plain, ray, own);
    for (const std::string& name : detail::instructionSets()) {
      detail::useInstructionSet(name);
      expectNone(name, qzTest::wrongAnswer(index, answers, ray, own));
    }
    const qzTest::NearQuestion question = nearQuestionOf(input, mesh);
    const qzTest::NearAnswers near = qzTest::nearAnswersOf(plainNear, question);
    points.push_back(question.point);
    nearest.push_back(plainNear.nearest(question.point.data()));
    for (const std::string& name : detail::instructionSets()) {
      detail::useInstructionSet(name);
      expectNone(name, qzTest::wrongAnswer(index, near, question));
    }
    const float* const point = question.point.data();
    windings.push_back(plainWinding.windingNumber(point));
    for (const std::string& name : detail::instructionSets()) {
      detail::useInstructionSet(name);
      if (!qzTest::sameBits(index.windingNumber(point), windings.back())) fail("windingNumber, " + name);
      const float distance = index.contains(point) ? -nearest.back().distance : nearest.back().distance;
      if (!qzTest::sameBits(index.signedDistance(point), distance)) fail("signedDistance, " + name);
    }
    // Several of the same, with other origins, look like a picture.
    for (int copies = skip % 64 == 63 ? 40 : 1; copies > 0; --copies) {
      rays.push_back(ray);
      rays.back().origin[0] += 0.125f * static_cast<float>(copies - 1);
      expected.push_back(qzTest::answersOf(plain, rays.back(), common));
    }
  } while (!input.isUsedUp() && rays.size() < 600);
  for (const std::string& name : detail::instructionSets()) {
    detail::useInstructionSet(name);
    expectNone(name, qzTest::wrongBatch(index, expected, rays, common, 1));
    expectNone(name, qzTest::wrongBatch(index, nearest, points, qzTest::kInf, 1));
    std::vector<double> batch(points.size());
    index.windingNumbers(reinterpret_cast<const float(*)[3]>(points.data()), points.size(), batch.data(), 1);
    for (std::size_t i = 0; i < batch.size(); ++i)
      if (!qzTest::sameBits(batch[i], windings[i])) fail("windingNumbers, " + name);
  }
  return 0;
}
