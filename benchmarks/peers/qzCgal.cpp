#include <benchmarks/peers/qzCgal.h>

#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/AABB_triangle_primitive.h>
#include <CGAL/Simple_cartesian.h>

#include <cmath>
#include <limits>

#include <benchmarks/core/qzMeasure.h>

namespace qzBench {

namespace {

using tKernel = CGAL::Simple_cartesian<double>;
using tTriangles = std::vector<tKernel::Triangle_3>;
using tPrimitive = CGAL::AABB_triangle_primitive<tKernel, tTriangles::const_iterator>;
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

}  // namespace qzBench
