// Meshes of any floats: the linear build, the four-wide hierarchy built from the mesh, rays and hulls, all as in the
// plain forms.

#include "fuzz/qzFuzzCheck.h"
#include "fuzz/qzFuzzInput.h"
#include "fuzz/qzFuzzQueries.h"
#include "support/access/qzBothBuilders.h"
#include "support/scenes/qzBoxScenes.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qzFuzz::useAssertions();
  qzFuzz::Input input(data, size);
  const unsigned int flags = 1 + input.below(3);
  const unsigned int leafSize = input.byte() % 12, bitsPerAxis = input.byte() % 24;
  const qz::qzTriMesh mesh = input.mesh(96);

  qzTest::BothBuilders builders(leafSize);
  builders.build(qzTest::boxesOf(mesh), bitsPerAxis);
  const qzFuzz::BothQBVH converted(flags, builders.tree(), mesh);

  const qzFuzz::BothQBVH hierarchy(flags, mesh, leafSize);
  hierarchy.askAll(input, mesh);
  return 0;
}
