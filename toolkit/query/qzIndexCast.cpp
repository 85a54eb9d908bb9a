#include <toolkit/query/qzIndexCast.h>

#include <toolkit/base/qzError.h>
#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/run/qzCancelToken.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace qzToolkit {

namespace {

using qzMeshQueries::MeshIndex;

qzMeshQueries::Ray toIndexRay(const qzRay& ray) {
  return {{ray.mOrigin[0], ray.mOrigin[1], ray.mOrigin[2]},
          ray.mTMin,
          {ray.mDirection[0], ray.mDirection[1], ray.mDirection[2]},
          ray.mTMax};
}

std::vector<qzMeshQueries::Ray> toIndexRays(const qzRay* rays, std::size_t count) {
  std::vector<qzMeshQueries::Ray> result(count);
  for (std::size_t i = 0; i < count; ++i) result[i] = toIndexRay(rays[i]);
  return result;
}

qzMeshQueries::RayOptions optionsOf(qzQBVH::tIntersectionPolicy policy) {
  qzMeshQueries::RayOptions options;
  if (policy == qzQBVH::eIntersectFrontFaces) options.faces = qzMeshQueries::Faces::front;
  if (policy == qzQBVH::eIntersectBackFaces) options.faces = qzMeshQueries::Faces::back;
  return options;
}

qzHit toHit(const qzMeshQueries::Hit& found) {
  if (!found) return qzHit();
  qzHit hit;
  hit.mDistance = found.t;
  hit.mTriangle = static_cast<int>(found.triangle);
  hit.mWeights[0] = (1.0f - found.u) - found.v;
  hit.mWeights[1] = found.u;
  hit.mWeights[2] = found.v;
  return hit;
}

std::vector<qzMeshQueries::Hit> closestHits(const MeshIndex& index, const std::vector<qzMeshQueries::Ray>& rays,
                                            const qzMeshQueries::RayOptions& options) {
  std::vector<qzMeshQueries::Hit> found(rays.size());
  index.closestHits(rays.data(), rays.size(), found.data(), options, 1);
  return found;
}

}  // namespace

MeshIndex makeIndex(const qz::qzTriMesh& mesh, const qzMeshQueries::BuildOptions& options) {
  const qz::qzVertexBuffer& vertices = *mesh.getVertexBuffer();
  std::vector<float> coordinates;
  coordinates.reserve(3 * static_cast<std::size_t>(vertices.getNbVertices()));
  for (int i = 0; i < vertices.getNbVertices(); ++i) {
    const Wm4::Vector3<float> position = vertices.Position3(i);
    coordinates.insert(coordinates.end(), {position[0], position[1], position[2]});
  }
  const std::size_t nbTriangles = countTriangles(mesh);
  const int* const indices = mesh.getIndexBuffer()->getIndices();
  const std::vector<std::uint32_t> numbers(indices, indices + 3 * nbTriangles);
  try {
    return MeshIndex({coordinates.data(), coordinates.size() / 3, numbers.data(), nbTriangles}, options);
  } catch (const qzMeshQueries::Cancelled&) {
    throw qzInterrupted();
  } catch (const std::invalid_argument& refused) {
    throw qzError(refused.what());
  }
}

void castRays(const MeshIndex& index, const qzRay* rays, std::size_t count, qzQBVH::tIntersectionPolicy policy,
              qzHit* hits) {
  const std::vector<qzMeshQueries::Hit> found = closestHits(index, toIndexRays(rays, count), optionsOf(policy));
  for (std::size_t i = 0; i < count; ++i) hits[i] = toHit(found[i]);
}

void castRaysSymmetric(const MeshIndex& index, const qzRay* rays, std::size_t count, qzHit* hits) {
  std::vector<qzMeshQueries::Ray> asked = toIndexRays(rays, count);
  for (qzMeshQueries::Ray& ray : asked) ray.tMin = 0.0f;
  const std::vector<qzMeshQueries::Hit> ahead = closestHits(index, asked, optionsOf(qzQBVH::eIntersectFrontFaces));
  // Backwards, what faces against the direction shows its back.
  for (qzMeshQueries::Ray& ray : asked) {
    for (float& component : ray.direction) component = -component;
  }
  const std::vector<qzMeshQueries::Hit> behind = closestHits(index, asked, optionsOf(qzQBVH::eIntersectBackFaces));
  for (std::size_t i = 0; i < count; ++i) {
    const bool isBehind =
        behind[i].t < ahead[i].t || (behind[i].t == ahead[i].t && behind[i].triangle < ahead[i].triangle);
    hits[i] = toHit(isBehind ? behind[i] : ahead[i]);
  }
}

qzRayQuestion askForAny(const MeshIndex& index, qzQBVH::tIntersectionPolicy policy) {
  const auto answer = [&index, policy](const std::vector<qzRay>& rays, std::size_t, qzRayAnswers& answers) {
    std::vector<std::uint8_t> isHit(rays.size());
    index.anyHits(toIndexRays(rays.data(), rays.size()).data(), rays.size(), isHit.data(), optionsOf(policy), 1);
    for (const std::uint8_t one : isHit) {
      answers.add({static_cast<double>(one)});
      answers.countHits(one);
    }
  };
  return {{{"hit", qzColumn::eInteger}}, answer};
}

qzRayQuestion askForCrossings(const MeshIndex& index, qzQBVH::tIntersectionPolicy policy) {
  const auto answer = [&index, policy](const std::vector<qzRay>& rays, std::size_t, qzRayAnswers& answers) {
    std::vector<qzMeshQueries::Crossings> crossings(rays.size());
    index.crossings(toIndexRays(rays.data(), rays.size()).data(), rays.size(), crossings.data(), optionsOf(policy), 1);
    for (const qzMeshQueries::Crossings& one : crossings) {
      answers.add({static_cast<double>(one.front), static_cast<double>(one.back)});
      answers.countHits(one.front + one.back > 0 ? 1 : 0);
    }
  };
  return {{{"front", qzColumn::eInteger}, {"back", qzColumn::eInteger}}, answer};
}

qzRayQuestion askForAll(const MeshIndex& index, const qz::qzTriMesh& mesh, const tHitDetails& details,
                        qzQBVH::tIntersectionPolicy policy) {
  std::vector<qzColumn> columns = hitColumns(details);
  columns.insert(columns.begin(), {"ray", qzColumn::eInteger});
  const auto answer = [&index, &mesh, details, policy](const std::vector<qzRay>& rays, std::size_t firstRay,
                                                       qzRayAnswers& answers) {
    const qzMeshQueries::Lists<qzMeshQueries::Hit> lists =
        index.allHits(toIndexRays(rays.data(), rays.size()).data(), rays.size(), optionsOf(policy), 1);
    std::vector<double> row;
    for (std::size_t i = 0; i < rays.size(); ++i) {
      for (std::size_t k = lists.starts[i]; k < lists.starts[i + 1]; ++k) {
        row = {static_cast<double>(firstRay + i)};
        appendHit(row, mesh, details, toHit(lists.items[k]));
        answers.add(row);
      }
      answers.countHits(lists.starts[i + 1] > lists.starts[i] ? 1 : 0);
    }
  };
  return {columns, answer, nullptr, false};
}

}  // namespace qzToolkit
