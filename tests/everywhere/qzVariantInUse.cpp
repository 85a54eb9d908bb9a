#include "everywhere/qzVariantInUse.h"

#include "support/scenes/qzTestMeshes.h"

#include <qzCommonAddOns/qbvh/qzQBVH.h>

#include <cstdint>
#include <cstring>

#include "support/qzObservers.h"

namespace qzTest {

const char* variantInUse() {
#if defined(__x86_64__)
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("avx")) return "baseline";  // AVX instructions would have ended the program

  qzQBVH hierarchy;
  {
    const LogCapture quiet(false);
    hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, soupMesh(500, 1), 4);
  }
  const Wm4::Vector3<float> origin(-3.0f, 0.1f, 0.2f), direction(1.0f, 0.01f, -0.02f);
  Wm4::Vector2<float> weights;
  unsigned int triangle;
  // The first call lets the loader find the function, which may use any register. The number among the arguments
  // comes in register 0 or 3.
  constexpr int kNbRegisters = 14;
  alignas(32) std::uint32_t registers[kNbRegisters][8];
  for (int round = 0; round < 2; ++round) {
    float t = 100.0f;
    std::memset(registers, 0xFF, sizeof registers);
    asm volatile(
        "vmovaps 0x000(%0), %%ymm1\n"
        "vmovaps 0x020(%0), %%ymm2\n"
        "vmovaps 0x040(%0), %%ymm4\n"
        "vmovaps 0x060(%0), %%ymm5\n"
        "vmovaps 0x080(%0), %%ymm6\n"
        "vmovaps 0x0a0(%0), %%ymm7\n"
        "vmovaps 0x0c0(%0), %%ymm8\n"
        "vmovaps 0x0e0(%0), %%ymm9\n"
        "vmovaps 0x100(%0), %%ymm10\n"
        "vmovaps 0x120(%0), %%ymm11\n"
        "vmovaps 0x140(%0), %%ymm12\n"
        "vmovaps 0x160(%0), %%ymm13\n"
        "vmovaps 0x180(%0), %%ymm14\n"
        "vmovaps 0x1a0(%0), %%ymm15"
        :
        : "r"(registers)
        : "xmm1", "xmm2", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12", "xmm13", "xmm14",
          "xmm15", "memory");
    hierarchy.intersectRay(origin, direction, 0.0f, t, weights, triangle, qzQBVH::eIntersectBothFaces);
    asm volatile(
        "vmovaps %%ymm1, 0x000(%0)\n"
        "vmovaps %%ymm2, 0x020(%0)\n"
        "vmovaps %%ymm4, 0x040(%0)\n"
        "vmovaps %%ymm5, 0x060(%0)\n"
        "vmovaps %%ymm6, 0x080(%0)\n"
        "vmovaps %%ymm7, 0x0a0(%0)\n"
        "vmovaps %%ymm8, 0x0c0(%0)\n"
        "vmovaps %%ymm9, 0x0e0(%0)\n"
        "vmovaps %%ymm10, 0x100(%0)\n"
        "vmovaps %%ymm11, 0x120(%0)\n"
        "vmovaps %%ymm12, 0x140(%0)\n"
        "vmovaps %%ymm13, 0x160(%0)\n"
        "vmovaps %%ymm14, 0x180(%0)\n"
        "vmovaps %%ymm15, 0x1a0(%0)\n"
        "vzeroupper"
        :
        : "r"(registers)
        : "memory");
  }
  for (const auto& lanes : registers) {
    if (lanes[4] == 0) return "AVX";
  }
#endif
  return "baseline";
}

}  // namespace qzTest
