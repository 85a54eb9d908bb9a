#pragma once
// All public classes of qzCommonAddOns.

#include <qzCommonAddOns/builders/qzBVHMeshContainer.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzGenericBVHBuilder.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVH2DBuilder.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/builders/qzSAHFunctionoid.h>
#include <qzCommonAddOns/bvh/qzGNode.h>
#include <qzCommonAddOns/bvh/qzGNode2D.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/bvh/qzGenericBVH2D.h>
#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzCommonAddOns/geometry/qzBBox2D.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/version/Version.h>
