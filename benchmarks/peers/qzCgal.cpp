#include <benchmarks/peers/qzCgal.h>

#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/AABB_triangle_primitive.h>
#include <CGAL/Polygon_mesh_processing/orient_polygon_soup.h>
#include <CGAL/Polygon_mesh_processing/polygon_soup_to_polygon_mesh.h>
#include <CGAL/Side_of_triangle_mesh.h>
#include <CGAL/Simple_cartesian.h>
#include <CGAL/Surface_mesh.h>

#include <array>
#include <cmath>
#include <iterator>
#include <limits>

#include <benchmarks/core/qzMeasure.h>

namespace qzBench {

namespace {

using tKernel = CGAL::Simple_cartesian<double>;
using tTriangles = std::vector<tKernel::Triangle_3>;
using tPrimitive = CGAL::AABB_triangle_primitive<tKernel, tTriangles::const_iterator>;
using tSurface = CGAL::Surface_mesh<tKernel::Point_3>;
using tCgalTree = CGAL::AABB_tree<CGAL::AABB_traits<tKernel, tPrimitive>>;

tKernel::Point_3 point(const tVector& v) {
  return tKernel::Point_3(v[0], v[1], v[2]);
}

}  // namespace

struct qzCgal::tTree {
  tTriangles mTriangles;
  std::unique_ptr<tCgalTree> mTree;
};

qzCgal::qzCgal(const qzScene& scene) : mTree(std::make_unique<tTree>()) {
  for (int triangle = 0; triangle < scene.getNbTriangles(); ++triangle)
    mTree->mTriangles.emplace_back(point(scene.getVertex(triangle, 0)), point(scene.getVertex(triangle, 1)),
                                   point(scene.getVertex(triangle, 2)));
}

qzCgal::~qzCgal() = default;

double qzCgal::build() {
  release();
  const qzStopwatch watch;
  mTree->mTree = std::make_unique<tCgalTree>(mTree->mTriangles.begin(), mTree->mTriangles.end());
  mTree->mTree->build();
  return watch.getSeconds();
}

void qzCgal::release() {
  mTree->mTree.reset();
}

double qzCgal::trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers) const {
  const qzStopwatch watch;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const tKernel::Point_3 origin = point(rays[i].mOrigin);
    const tVector& direction = rays[i].mDirection;
    const auto hit = mTree->mTree->first_intersection(
        tKernel::Ray_3(origin, tKernel::Vector_3(direction[0], direction[1], direction[2])));
    answers[i] = {std::numeric_limits<float>::infinity(), 0xFFFFFFFFu};
    if (!hit) continue;
    answers[i].mTriangle = static_cast<unsigned>(hit->second - mTree->mTriangles.begin());
    if (const tKernel::Point_3* place = boost::get<tKernel::Point_3>(&hit->first))
      answers[i].mDistance = static_cast<float>(std::sqrt((*place - origin).squared_length()));
  }
  return watch.getSeconds();
}

void qzCgal::prepareNearest() {
  mTree->mTree->accelerate_distance_queries();
}

double qzCgal::findNearest(const std::vector<qzPlace>& places, std::vector<qzNearest>& answers) const {
  const qzStopwatch watch;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const tKernel::Point_3 place(places[i][0], places[i][1], places[i][2]);
    const auto closest = mTree->mTree->closest_point_and_primitive(place);
    answers[i] = {static_cast<float>(std::sqrt((closest.first - place).squared_length())),
                  static_cast<unsigned>(closest.second - mTree->mTriangles.begin())};
  }
  return watch.getSeconds();
}

double qzCgal::countInBoxes(const std::vector<qzAxisBox>& boxes, std::vector<unsigned>& counts) const {
  const qzStopwatch watch;
  std::vector<tTriangles::const_iterator> found;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    const qzAxisBox& box = boxes[i];
    found.clear();
    mTree->mTree->all_intersected_primitives(
        tKernel::Iso_cuboid_3(tKernel::Point_3(box.mMin[0], box.mMin[1], box.mMin[2]),
                              tKernel::Point_3(box.mMax[0], box.mMax[1], box.mMax[2])),
        std::back_inserter(found));
    counts[i] = static_cast<unsigned>(found.size());
  }
  return watch.getSeconds();
}

struct qzCgalSides::tSides {
  tSurface mSurface;
  std::unique_ptr<CGAL::Side_of_triangle_mesh<tSurface, tKernel>> mSide;
};

qzCgalSides::qzCgalSides(const qzScene& scene) : mScene(scene) {}

qzCgalSides::~qzCgalSides() = default;

void qzCgalSides::build() {
  std::vector<tKernel::Point_3> points;
  std::vector<std::array<std::size_t, 3>> triangles;
  for (int i = 0; i < mScene.getNbVertices(); ++i)
    points.push_back(point(mScene.mPositions[static_cast<std::size_t>(i)]));
  for (int i = 0; i < mScene.getNbTriangles(); ++i) {
    const int* const corners = mScene.getIndices() + 3 * i;
    triangles.push_back({std::size_t(corners[0]), std::size_t(corners[1]), std::size_t(corners[2])});
  }
  // Vertices and edges that are not manifold become several, as this kind of mesh cannot have them.
  CGAL::Polygon_mesh_processing::orient_polygon_soup(points, triangles);
  mSides = std::make_unique<tSides>();
  CGAL::Polygon_mesh_processing::polygon_soup_to_polygon_mesh(points, triangles, mSides->mSurface);
  mSides->mSide = std::make_unique<CGAL::Side_of_triangle_mesh<tSurface, tKernel>>(mSides->mSurface);
  (*mSides->mSide)(point(mScene.mCentre));  // builds the tree
}

double qzCgalSides::findContained(const std::vector<qzPlace>& places, std::vector<std::uint32_t>& answers) const {
  const qzStopwatch watch;
  for (std::size_t i = 0; i < answers.size(); ++i)
    answers[i] = (*mSides->mSide)(tKernel::Point_3(places[i][0], places[i][1], places[i][2])) == CGAL::ON_BOUNDED_SIDE;
  return watch.getSeconds();
}

}  // namespace qzBench
