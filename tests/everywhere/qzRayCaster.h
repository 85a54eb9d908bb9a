#pragma once
// Casts the rays of a batch. There are two of these, and a program for each: a loop over the library's queries, and the
// toolkit's loop on threads.

#include "everywhere/qzEverywhereScenes.h"

#include <qzCommonAddOns/qbvh/qzQBVH.h>

#include <vector>

namespace qzTest {

/// The largest number of threads for castAll.
extern const int kMaxCastingThreads;

/// The answers to the first count rays of batch, or all if it has fewer.
std::vector<RayAnswer> castAll(const qzQBVH& hierarchy, const RayBatch& batch, std::size_t count, int nbThreads);

}  // namespace qzTest
