# The detailed tables of MeshIndex in docs/speed.md from one file of results.
include "common";

"",
origin,
(("camera", "bounce", "chord") as $kind
  | rates("Closest hit one by one, \($kind) rays, million per second"; "index/each/\($kind)"; 1e6)),
(("camera", "bounce", "chord") as $kind
  | rates("Batches of closest hits, \($kind) rays, million per second"; "index/batch/\($kind)"; 1e6)),
(("camera", "bounce", "chord") as $kind
  | rates("Batches of any hit, \($kind) rays, million per second"; "index/any/\($kind)"; 1e6)),
(("0.1%", "1%", "uniform", "grid") as $kind
  | rates("Nearest points, \($kind), thousand per second"; "index/near/\($kind)"; 1e3)),
(("0.2%", "1%", "10%") as $kind
  | rates("Triangles in boxes of \($kind) of the diagonal, thousand boxes per second"; "index/box/\($kind)"; 1e3)),
rates("Build with quality good, million triangles per second"; "index/build/good"; 1e6),
rates("Build with quality best, million triangles per second"; "index/build/best"; 1e6),
rates("Build with quality fast, million triangles per second"; "index/build/fast"; 1e6),
rates("Closest hit of chords one by one, by size, million per second"; "index/growth"; 1e6),
figures("Memory in bytes per triangle: the finished index, the peak during the build, and memoryUsed"; "index/memory"),
figures("Two threads: how many times as fast as one"; "index/threads/build"),
figures("The same for batches of closest hits"; "index/threads/batch"),
figures("The same for batches of any hit"; "index/threads/any"),
""
