# Draws docs/images/ from out/plot/results.tsv. Needs the variable processor.
set datafile separator "\t"
set style line 1 lc rgb "#d95f02" lw 3 pt 7 ps 1.4
set style line 2 lc rgb "#1f78b4" lw 2 pt 5
set style line 3 lc rgb "#6a9fc8" lw 2 pt 5 dt 2
set style line 4 lc rgb "#33a02c" lw 2 pt 9
set style line 5 lc rgb "#888888" lw 2 pt 11
set grid ytics lc rgb "#dddddd"
set border 3
set tics nomirror

# Lines of one benchmark and contestant over the size of scenes whose name begins with kind, sorted by size.
lines(benchmark, contestant, kind) = sprintf( \
  "< awk -F'\\t' -v OFS='\\t' '$1 == \"%s\" && $2 == \"%s\" && $3 ~ /^%s/ {print $4, $5}' out/plot/results.tsv | sort -n", \
  benchmark, contestant, kind)

set terminal pngcairo size 1500, 500 font "sans,11"
set output "docs/images/speed-growth.png"
set multiplot layout 1, 3 title "Build time per triangle or point, by size\n{/*0.8 ".processor.", one thread}"
set logscale x
set format x "10^{%L}"
set xlabel "triangles"
set ylabel "ns per triangle"
set xrange [7e3:1.4e7]
set yrange [0:*]
set key top left
do for [kind in "terrain soup"] {
  set title kind
  plot lines("build", "qzQBVH", kind) with linespoints ls 1 title "qzQBVH", \
       lines("build", "Embree LOW", kind) with linespoints ls 2 title "Embree LOW", \
       lines("build", "Embree LOW sse4.2", kind) with linespoints ls 3 title "Embree LOW sse4.2", \
       lines("build", "Embree MEDIUM", kind) with linespoints ls 4 title "Embree MEDIUM", \
       lines("build", "CGAL", kind) with linespoints ls 5 title "CGAL"
}
set title "points in two dimensions"
set xlabel "points"
set ylabel "ns per point"
plot lines("build 2D", "2D linear builder", "points") with linespoints ls 1 title "qzLinearGenericBVH2DBuilder"
unset multiplot

# Rates relative to a peer's, one group of bars per scene.
bars(benchmark, contestant) = sprintf( \
  "< for s in motorbike dragon terrain1M terrain10M; do awk -F'\\t' -v OFS='\\t' -v s=$s '$1 == \"%s\" && $2 == \"%s\" && $3 == s {print s, $6}' out/plot/results.tsv; done", \
  benchmark, contestant)
set output "docs/images/speed-ratios.png"
set multiplot layout 1, 3 title "Rate of qzQBVH relative to Embree, same triangles and rays\n{/*0.8 ".processor.", one thread}"
unset logscale x
set format x
set xrange [*:*]
unset xlabel
set ylabel "relative rate"
set style data histogram
set style histogram clustered gap 1
set style fill solid 0.9 noborder
set yrange [0:*]
set key below horizontal maxrows 1 samplen 1 spacing 1
set arrow 1 from graph 0, first 1 to graph 1, first 1 nohead lc rgb "#444444" dt 2
ratios = "plot bars('build'.kind, contestant) using 2:xtic(1) title 'build' lc rgb '#d95f02', \
               bars('ray/camera'.kind, contestant) using 2 title 'camera rays' lc rgb '#1f78b4', \
               bars('ray/bounce'.kind, contestant) using 2 title 'bounces' lc rgb '#6a9fc8', \
               bars('ray/chord'.kind, contestant) using 2 title 'chords' lc rgb '#33a02c'"
kind = ""
contestant = "Embree LOW sse4.2"
set title "qzQBVH relative to ".contestant
@ratios
contestant = "Embree MEDIUM"
set title "qzQBVH relative to ".contestant
@ratios
kind = "/SAH"
contestant = "Embree MEDIUM sse4.2"
set title "qzQBVH surface-area relative to ".contestant
@ratios
unset multiplot
unset arrow 1

hulls(contestant) = sprintf( \
  "< awk -F'\\t' -v OFS='\\t' '$1 ~ /^hull/ && $2 ~ /^%s/ {print substr($1, 6) \"\\\\n\" $3, 1e6 / $5}' out/plot/results.tsv", \
  contestant)
set terminal pngcairo size 1600, 520 font "sans,11"
set output "docs/images/speed-hulls.png"
set title "Queries: does the mesh intersect a region of six planes?\n{/*0.8 ".processor.", one thread}"
set ylabel "thousand regions per second"
set logscale y
set yrange [*:*]
set xtics font ",10"
set bmargin 4  # two lines of labels

set key outside top center horizontal
plot hulls("qzQBVH") using 2:xtic(1) title "qzQBVH" lc rgb "#d95f02", \
     hulls("FCL") using 2 title "FCL" lc rgb "#1f78b4", \
     hulls("Bullet by triangles") using 2 title "Bullet by triangles" lc rgb "#33a02c", \
     hulls("Bullet by contacts") using 2 title "Bullet by contacts" lc rgb "#888888"
