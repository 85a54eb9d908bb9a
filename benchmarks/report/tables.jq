# The tables of docs/speed.md from one file of results.

# Three significant digits, or about as many.
def short:
  if . >= 100 then round
  elif . >= 10 then . * 10 | round / 10
  elif . >= 0.1 then . * 100 | round / 100
  else . * 10000 | round / 10000
  end | tostring;

def row: "| " + join(" | ") + " |";

# A table of one benchmark: a row per scene, a column per contestant. A cell is a rate in units of perSecond, and in
# brackets the speed of the first contestant relative to this one.
def rates($title; $benchmark; $perSecond):
  [.results[] | select(.benchmark == $benchmark and .median)] as $lines |
  if $lines | length == 0 then empty else
    (reduce $lines[].contestant as $c ([]; if index([$c]) then . else . + [$c] end)) as $columns |
    "", "**" + $title + "**", "",
    (["scene", "size"] + $columns | row),
    ([range($columns | length + 2) | "---"] | row),
    (reduce $lines[].scene as $s ([]; if index([$s]) then . else . + [$s] end) | .[]
      | . as $scene | [$lines[] | select(.scene == $scene)]
      | group_by(.size)[] | . as $own
      | [$scene, ($own[0].size | tostring)] + [$columns[] as $c | ([$own[] | select(.contestant == $c)][0]) as $line
          | if $line == null then "" else
              (1e9 / $line.median / $perSecond | short)
              + (if $line.firstIsTimesAsFast then " (" + ($line.firstIsTimesAsFast | short) + ")" else "" end)
            end] | row)
  end;

def figures($title; $benchmark):
  [.results[] | select(.benchmark == $benchmark and .value != null)] as $lines |
  if $lines | length == 0 then empty else
    (reduce $lines[].contestant as $c ([]; if index([$c]) then . else . + [$c] end)) as $columns |
    "", "**" + $title + "**", "",
    (["scene", "size"] + $columns | row),
    ([range($columns | length + 2) | "---"] | row),
    (reduce $lines[].scene as $s ([]; if index([$s]) then . else . + [$s] end) | .[]
      | . as $scene | [$lines[] | select(.scene == $scene)]
      | [$scene, (.[0].size | tostring)] + [$columns[] as $c | .[] | select(.contestant == $c) | .value | short] | row)
  end;

"",
"Processor \(.processor); compiler \(.compiler), flags \(.flags | sub("^ +"; "")); commit \(.commit), \(.date).",
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
