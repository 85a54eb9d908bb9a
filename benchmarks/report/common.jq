# What the tables of docs/speed.md share.

# Three significant digits, or about as many.
def short:
  if . >= 100 then round
  elif . >= 10 then . * 10 | round / 10
  elif . >= 0.1 then . * 100 | round / 100
  else . * 10000 | round / 10000
  end | tostring;

def row: "| " + join(" | ") + " |";

# A table of one benchmark: a row per scene, a column per contestant. A cell is a rate in units of perSecond, and in
# brackets the speed of the first contestant relative to this one; then, say, the mode of a peer.
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
              + (if $line.detail then ", " + ($line.detail | ltrimstr("Embree MEDIUM ")) else "" end)
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

# Where the figures come from.
def origin: "Processor \(.processor); compiler \(.compiler), flags \(.flags | sub("^ +"; "")); commit \(.commit), \(.date).";
