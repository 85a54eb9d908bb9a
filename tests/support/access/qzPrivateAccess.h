#pragma once
// Private members for tests: an explicit instantiation may name members that it has no access to.
//
//   namespace qzTest {
//   struct Indices {
//     using Type = std::vector<unsigned int> qzLinearGenericBVHBuilder::*;
//     friend Type privateMember(Indices);
//   };
//   template struct PrivateAccess<Indices, &qzLinearGenericBVHBuilder::mIndices>;
//   }
//   ...
//   builder.*privateMember(Indices())

namespace qzTest {

template <class Tag, typename Tag::Type kMember>
struct PrivateAccess {
  friend typename Tag::Type privateMember(Tag) { return kMember; }
};

}  // namespace qzTest
