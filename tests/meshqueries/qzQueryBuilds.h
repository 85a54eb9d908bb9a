#pragma once
// All builds of an index that must answer alike, and all instruction sets. For programs that link the internals of the
// mesh queries.

#include <doctest/doctest.h>

#include <qzMeshQueries/MeshIndex.h>
#include <qzMeshQueries/walk/Walks.h>

#include <string>
#include <vector>

namespace qzTest {

inline const std::vector<qzMeshQueries::Quality>& allQualities() {
  static const std::vector<qzMeshQueries::Quality> all = {qzMeshQueries::Quality::fast, qzMeshQueries::Quality::good,
                                                          qzMeshQueries::Quality::best};
  return all;
}

inline std::string nameOf(qzMeshQueries::Quality quality) {
  static const char* const kNames[] = {"fast", "good", "best"};
  return kNames[static_cast<int>(quality)];
}

/// Queries use this instruction set while it lives.
class UsedInstructionSet {
 public:
  explicit UsedInstructionSet(const std::string& name) : mBefore(qzMeshQueries::detail::walks().name) {
    REQUIRE(qzMeshQueries::detail::useInstructionSet(name));
  }
  ~UsedInstructionSet() { qzMeshQueries::detail::useInstructionSet(mBefore); }
  UsedInstructionSet(const UsedInstructionSet&) = delete;
  UsedInstructionSet& operator=(const UsedInstructionSet&) = delete;

 private:
  std::string mBefore;
};

/// Calls work(index, what) for an index of every quality and for every instruction set; what names both.
template <class Work>
void forEachIndex(const qzMeshQueries::Mesh& mesh, qzMeshQueries::BuildOptions options, Work work) {
  for (const qzMeshQueries::Quality quality : allQualities()) {
    options.quality = quality;
    const qzMeshQueries::MeshIndex index(mesh, options);
    for (const std::string& name : qzMeshQueries::detail::instructionSets()) {
      const UsedInstructionSet used(name);
      const std::string what = nameOf(quality) + ", " + name;
      work(index, what);
    }
  }
}

}  // namespace qzTest
