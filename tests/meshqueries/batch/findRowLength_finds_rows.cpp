// The rows of a picture among rays. What is found decides on time only; here it is checked that it is found.

#include <doctest/doctest.h>
#include <qzMeshQueries/batch/Batches.h>

#include <limits>

#include "meshqueries/qzQueryBuilds.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

TEST_CASE("a picture's rows have its width") {
  const QueryMesh mesh = icosphereMesh(1);
  QueryRays source(mesh, 791);
  for (const int width : {8, 9, 16, 100, 333}) {
    INFO(width);
    const std::vector<Ray> rays = source.camera(width, 5);
    CHECK(detail::findRowLength(rays.data(), rays.size()) == std::size_t(width));
  }
}

TEST_CASE("rays without rows have none") {
  const QueryMesh mesh = icosphereMesh(1);
  QueryRays source(mesh, 792);
  std::vector<Ray> rays;
  while (rays.size() < 1000) rays.push_back(source.chord());
  std::size_t nbFound = 0;
  for (std::size_t first = 0; first + 100 <= rays.size(); first += 100)
    nbFound += detail::findRowLength(&rays[first], 100) != 0 ? 1 : 0;
  CHECK(nbFound <= 3);  // chance may look like a row

  CHECK(detail::findRowLength(nullptr, 0) == 0);
  CHECK(detail::findRowLength(rays.data(), 15) == 0);
  const std::vector<Ray> row = source.camera(900, 1);
  CHECK(detail::findRowLength(row.data(), row.size()) == 0);
  const std::vector<Ray> same(500, rays[0]);
  CHECK(detail::findRowLength(same.data(), same.size()) == 0);
  Ray notANumber = rays[0];
  notANumber.direction[1] = std::numeric_limits<float>::quiet_NaN();
  const std::vector<Ray> invalid(500, notANumber);
  CHECK(detail::findRowLength(invalid.data(), invalid.size()) == 0);
}

TEST_CASE("threads take whole rows of tiles") {
  for (const std::size_t row : {4, 7, 100, 512, 513, 5000, 16000}) {
    INFO(row);
    CHECK(detail::chunkOf(row) % (4 * row) == 0);
    CHECK(detail::chunkOf(row) >= detail::kChunk);
    CHECK(detail::chunkOf(row) < detail::kChunk + 4 * row);
  }
  CHECK(detail::chunkOf(0) == detail::kChunk);
}
