// Signatures and constness, on which callers depend, and members that a 2D box must not have.

#include <doctest/doctest.h>
#include <qzCommonAddOns/geometry/qzBBox2D.h>

#include <type_traits>

#include "support/access/qzHasMember.h"

using Point = Wm4::Vector2<float>;
using Box = qzBBox2D;

// Whether a member, or one of its overloads, has exactly this type; otherwise the conversion does not compile.
template <class Type>
constexpr bool is(Type) {
  return true;
}

static_assert(std::is_default_constructible_v<Box> && std::is_constructible_v<Box, const Point&>);

static_assert(is<Box (*)(const Point&, const Point&)>(&Box::Make));
static_assert(is<Box (*)(float, float, float, float)>(&Box::Make));
static_assert(is<Box (*)(const Point&, const Point&)>(&Box::RobustMake));
static_assert(is<Box (*)(float, float, float, float)>(&Box::RobustMake));
static_assert(is<const Point& (Box::*)() const>(&Box::getMinPoint));
static_assert(is<const Point& (Box::*)() const>(&Box::getMaxPoint));
static_assert(is<float (Box::*)() const>(&Box::xMin));
static_assert(is<float (Box::*)() const>(&Box::yMin));
static_assert(is<float (Box::*)() const>(&Box::xMax));
static_assert(is<float (Box::*)() const>(&Box::yMax));
static_assert(is<float (Box::*)() const>(&Box::extentX));
static_assert(is<float (Box::*)() const>(&Box::extentY));
static_assert(is<float (Box::*)() const>(&Box::area));
static_assert(is<Point (Box::*)() const>(&Box::getCenter));
static_assert(is<bool (Box::*)() const>(&Box::isEmpty));
static_assert(is<bool (Box::*)() const>(&Box::hasExtent));
static_assert(is<bool (Box::*)(const Point&) const>(&Box::contains));
static_assert(is<bool (Box::*)(const Point&) const>(&Box::strictlyContains));
static_assert(is<bool (Box::*)(const Box&) const>(&Box::overlaps));
static_assert(is<bool (Box::*)(const Box&) const>(&Box::strictlyOverlaps));
static_assert(is<bool (Box::*)(const Point&, const Point&) const>(&Box::intersectSegment));
static_assert(is<Point (Box::*)(const Point&) const>(&Box::projectOntoBBox));
static_assert(is<Box (Box::*)(const Box&) const>(&Box::bboxUnion));
static_assert(is<Box& (Box::*)(const Box&)>(&Box::selfUnion));
static_assert(is<Box (Box::*)(const Box&) const>(&Box::bboxIntersection));
static_assert(is<Box& (Box::*)(const Box&)>(&Box::selfIntersection));
static_assert(is<Box (Box::*)(const Point&) const>(&Box::expand));
static_assert(is<Box& (Box::*)(const Point&)>(&Box::selfExpand));
static_assert(is<Box (Box::*)(float) const>(&Box::grow));
static_assert(is<Box& (Box::*)(float)>(&Box::selfGrow));

QZ_TEST_HAS_MEMBER(volume)
QZ_TEST_HAS_MEMBER(halfArea)
QZ_TEST_HAS_MEMBER(overlapsPlane)
QZ_TEST_HAS_MEMBER(overlapsSphere)
QZ_TEST_HAS_MEMBER(overlapsTriangle)
QZ_TEST_HAS_MEMBER(intersectRay)
QZ_TEST_HAS_MEMBER(split)
QZ_TEST_HAS_MEMBER(splitLeft)
QZ_TEST_HAS_MEMBER(splitRight)
QZ_TEST_HAS_MEMBER(getExtent)
QZ_TEST_HAS_MEMBER(getMaxExtent)
QZ_TEST_HAS_MEMBER(getMinExtent)
QZ_TEST_HAS_MEMBER(convert)
QZ_TEST_HAS_MEMBER(area)

template <class B, class = void>
constexpr bool hasContainsBox = false;
template <class B>
constexpr bool hasContainsBox<B, std::void_t<decltype(std::declval<const B&>().contains(std::declval<const B&>()))>> =
    true;

TEST_CASE("a 2D box has no box-in-box contains, volume, plane, sphere, triangle or ray test, split or conversion") {
  CHECK(has_area<Box>);  // the macro does find members
  CHECK_FALSE(hasContainsBox<Box>);
  CHECK_FALSE(has_volume<Box>);
  CHECK_FALSE(has_halfArea<Box>);
  CHECK_FALSE(has_overlapsPlane<Box>);
  CHECK_FALSE(has_overlapsSphere<Box>);
  CHECK_FALSE(has_overlapsTriangle<Box>);
  CHECK_FALSE(has_intersectRay<Box>);
  CHECK_FALSE(has_split<Box>);
  CHECK_FALSE(has_splitLeft<Box>);
  CHECK_FALSE(has_splitRight<Box>);
  CHECK_FALSE(has_getExtent<Box>);
  CHECK_FALSE(has_getMaxExtent<Box>);
  CHECK_FALSE(has_getMinExtent<Box>);
  CHECK_FALSE(has_convert<Box>);
}
