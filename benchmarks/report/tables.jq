# The tables of docs/speed.md from one file of results, those of MeshIndex excepted.
include "common";

"",
origin,
rates("Build, million triangles per second"; "build"; 1e6),
rates("Build by the surface-area builder, million triangles per second"; "build/SAH"; 1e6),
(("camera", "bounce", "chord") as $kind
  | rates("Closest hit, \($kind) rays, million per second"; "ray/\($kind)"; 1e6)),
(("camera", "bounce", "chord") as $kind
  | rates("Closest hit on hierarchies of the surface-area builder, \($kind) rays, million per second"; "ray/\($kind)/SAH"; 1e6)),
((["0.2% surface", "boxes of 0.2 % of the diagonal near the surface"], ["1% anywhere", "boxes of 1 % anywhere"],
  ["10% anywhere", "boxes of 10 % anywhere"], ["frusta", "thin frusta from outside"]) as $kind
  | rates("Regions of six planes, \($kind[1]), thousand per second"; "hull/\($kind[0])"; 1e3)),
figures("Memory in bytes per triangle: the finished structure, and the peak during the build"; "memory"),
rates("Linear build with and without a cancel interface, million triangles per second"; "cancel"; 1e6),
rates("Two threads on one hierarchy, by wall time, million rays per second"; "threads/wall"; 1e6),
rates("The same by processor time of the slower thread, million rays per second"; "threads/longest"; 1e6),
rates("Build in two dimensions, million points per second"; "build 2D"; 1e6),
""
