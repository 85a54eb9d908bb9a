# Draws docs/images/edges.png from out/edges.tsv, which qzEdges writes.
set datafile separator "\t"
set style line 1 lc rgb "#d95f02" lw 3 pt 7 ps 1.2
set style line 2 lc rgb "#1f78b4" lw 2 pt 5
set style line 3 lc rgb "#6a9fc8" lw 2 pt 5 dt 2
set style line 4 lc rgb "#33a02c" lw 2 pt 9 ps 1.4
set style line 5 lc rgb "#7b3294" lw 3 pt 13 ps 1.4
set grid ytics lc rgb "#dddddd"
set border 3
set tics nomirror
set terminal pngcairo size 1200, 480 font "sans,11"
set output "docs/images/edges.png"
set multiplot layout 1, 2 title "Rays aimed at edges: share that slips through a closed mesh"
set logscale xy
# Zero has no place on a logarithmic axis: it is drawn at the bottom.
none = 3e-6
set yrange [none * 0.7:50]
set ytics ("none" none, "0.001 %%" 1e-5, "0.01 %%" 1e-4, "0.1 %%" 1e-3, "1 %%" 1e-2, "10 %%" 1e-1, "100 %%" 1)
shown(x) = x > 0 ? x : none

lines(kind) = "< awk -F'\\t' -v OFS='\\t' '$1 == \"".kind."\"' out/edges.tsv"
set key top center horizontal maxrows 2 samplen 2
set title "spheres of radius 1, by edge length"
set xlabel "edge length"
set xrange [0.003:0.4]
plot lines("size") using 2:(shown($3)) with linespoints ls 5 title "MeshIndex", \
     lines("size") using 2:(shown($4)) with linespoints ls 1 title "qzQBVH", \
     lines("size") using 2:(shown($5)) with linespoints ls 2 title "Embree", \
     lines("size") using 2:(shown($6)) with linespoints ls 3 title "Embree robust"
set title "sphere of 20,480 triangles, by distance from the origin"
set xlabel "distance in box sizes"
set xrange [0.7:1.4e6]
set format x "10^{%L}"
far = "< awk -F'\\t' -v OFS='\\t' '$1 == \"far\" && $2 == \"sphere20,480\" && $3 > 0' out/edges.tsv"
plot far using 3:(shown($4)) with linespoints ls 5 title "MeshIndex", \
     far using 3:(shown($5)) with linespoints ls 1 title "qzQBVH", \
     far using ($3 >= 100 ? $3 : NaN):(shown($6)) with linespoints ls 4 title "qzQBVH, moved back", \
     far using 3:(shown($7)) with linespoints ls 2 title "Embree", \
     far using 3:(shown($8)) with linespoints ls 3 title "Embree robust"
unset multiplot
