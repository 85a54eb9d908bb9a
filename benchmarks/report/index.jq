# What MeshIndex reaches in one file of results: the worst and the mean ratio of each kind of work, and each by scene.
include "common";

def hundredths: . * 100 | round | tostring | if length < 3 then ("00" + .)[-3:] else . end | .[:-2] + "." + .[-2:];
def mean: (map(log) | add) / length | exp;  # geometric

# A row of the figures of a name in the benchmarks that begin with prefix: larger is better.
def reached($work; $prefix; $names; $asked):
  [.results[] | select(.value and (.benchmark | startswith($prefix)) and (.contestant | IN($names[])))] |
  if length == 0 then empty else
    min_by(.value) as $least |
    [$work, ($least.value | hundredths), ($least.benchmark | ltrimstr("index/")) + " " + $least.scene,
     ([.[].value] | mean | hundredths), $asked] | row
  end;

# The same for figures of which smaller is better.
def needed($work; $prefix; $names; $asked):
  [.results[] | select(.value and (.benchmark | startswith($prefix)) and (.contestant | IN($names[])))] |
  if length == 0 then empty else
    max_by(.value) as $most |
    [$work, ($most.value | hundredths), $most.scene, ([.[].value] | mean | hundredths), $asked] | row
  end;

# A row per kind of work, a column per scene, a cell of the figures of all ray sets.
def byScene($work; $prefix; $name; $scenes):
  [.results[] | select(.value and .contestant == $name and (.benchmark | startswith($prefix)))] |
  if length == 0 then empty else
    [$work] + [$scenes[] as $s | [.[] | select(.scene == $s) | .value | hundredths] | join(" ")] | row
  end;

(reduce (.results[] | select(.benchmark | startswith("index/each/")) | .scene) as $s
  ([]; if any(.[]; . == $s) then . else . + [$s] end)) as $scenes |
"",
"**MeshIndex at a glance: rates relative to Embree's best, larger is better; in the last three rows smaller is better**",
"",
(["work", "worst", "where", "mean", "goal"] | row),
([range(5) | "---"] | row),
reached("closest hit one by one, AVX-512"; "index/each/"; ["AVX-512 to Embree"]; "1.15"),
reached("closest hit one by one, AVX2"; "index/each/"; ["AVX2 to Embree"]; "1.05"),
reached("closest hit one by one, SSE4"; "index/each/"; ["SSE4 to Embree"]; ""),
reached("closest hit one by one, against robust"; "index/each/"; ["to robust"]; "1.3"),
reached("batch of closest hits, AVX-512"; "index/batch/"; ["AVX-512 to Embree"]; "1.0, mean 1.4"),
reached("batch of closest hits, AVX2"; "index/batch/"; ["AVX2 to Embree"]; "1.0, mean 1.4"),
reached("batch of any hit, AVX-512"; "index/any/"; ["AVX-512 to Embree"]; "0.9, mean 1.2"),
reached("batch of any hit, AVX2"; "index/any/"; ["AVX2 to Embree"]; "0.9, mean 1.2"),
reached("nearest point one by one, against Embree's point query"; "index/near/"; ["to Embree"]; "2"),
reached("batch of nearest points, against the same"; "index/near/"; ["batch to Embree"]; "3"),
reached("nearest point one by one, against CGAL"; "index/near/"; ["to CGAL"]; "6"),
reached("batch of nearest points, against CGAL"; "index/near/"; ["batch to CGAL"]; "6"),
reached("triangles in a box, against CGAL"; "index/box/"; ["to CGAL"]; "5"),
reached("contains, against CGAL"; "index/contains/"; ["to CGAL"]; "5"),
reached("contains in batches, against CGAL"; "index/contains/"; ["batch to CGAL"]; "5"),
reached("winding number with a boundary, against the plain sum"; "index/winding/"; ["to the plain sum"]; "100"),
reached("the same in batches"; "index/winding/"; ["batch to the plain sum"]; "100"),
reached("build good, against MEDIUM"; "index/build/good"; ["to Embree"]; "1.0"),
reached("build best, against MEDIUM"; "index/build/best"; ["to Embree"]; ""),
reached("build fast, against LOW"; "index/build/fast"; ["to Embree"]; "0.8"),
reached("two threads, build good"; "index/threads/build"; ["to one thread"]; "1.7"),
reached("two threads, batches"; "index/threads/batch"; ["to one thread"]; "1.9"),
reached("two threads, any hit"; "index/threads/any"; ["to one thread"]; "1.9"),
needed("bytes per triangle, finished"; "index/memory"; ["MeshIndex good own count"]; "55"),
needed("bytes per triangle, peak of a build"; "index/memory"; ["MeshIndex good peak"]; "130"),
needed("growth of a closest hit over Embree's"; "index/growth"; ["growth over Embree's"]; "1.0"),
"",
"**Rates of rays relative to Embree's best by scene: camera rays, bounces, chords**",
"",
(["work"] + $scenes | row),
([range($scenes | length + 1) | "---"] | row),
byScene("one by one, AVX-512"; "index/each/"; "AVX-512 to Embree"; $scenes),
byScene("one by one, AVX2"; "index/each/"; "AVX2 to Embree"; $scenes),
byScene("one by one, SSE4"; "index/each/"; "SSE4 to Embree"; $scenes),
byScene("one by one, against robust"; "index/each/"; "to robust"; $scenes),
byScene("qzQBVH, one by one"; "index/each/"; "qzQBVH to Embree"; $scenes),
byScene("batch, AVX-512"; "index/batch/"; "AVX-512 to Embree"; $scenes),
byScene("batch, AVX2"; "index/batch/"; "AVX2 to Embree"; $scenes),
byScene("qzQBVH in turns"; "index/batch/"; "qzQBVH to Embree"; $scenes),
byScene("any hit, AVX-512"; "index/any/"; "AVX-512 to Embree"; $scenes),
byScene("any hit, AVX2"; "index/any/"; "AVX2 to Embree"; $scenes),
""
