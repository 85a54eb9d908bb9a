# Draws docs/images/speed-index*.png from out/plot/index.tsv. Needs the variable processor.
set datafile separator "\t"
set grid ytics lc rgb "#dddddd"
set border 3
set tics nomirror
set xtics font ",9"

# Bars of one benchmark and figure, one group per scene.
bars(benchmark, name) = sprintf( \
  "< for s in motorbike buildings dragon terrain1M terrain10M; do awk -F'\\t' -v OFS='\\t' -v s=$s '$1 == \"%s\" && $2 == \"%s\" && $3 == s {print s, $5}' out/plot/index.tsv; done", \
  benchmark, name)
set terminal pngcairo size 1600, 520 font "sans,11"
set output "docs/images/speed-index.png"
set multiplot layout 1, 3 title "Rate of MeshIndex relative to Embree's best, same triangles and rays\n{/*0.8 ".processor.", one thread}"
set style data histogram
set style histogram clustered gap 1
set style fill solid 0.9 noborder
set yrange [0:*]
set ylabel "relative rate"
set key below horizontal maxrows 2 samplen 1 spacing 1
set arrow 1 from graph 0, first 1 to graph 1, first 1 nohead lc rgb "#444444" dt 2
six = "plot bars(prefix.'camera', 'AVX-512 to Embree') using 2:xtic(1) title 'camera, AVX-512' lc rgb '#08519c', \
            bars(prefix.'camera', 'AVX2 to Embree') using 2 title 'AVX2' lc rgb '#9ecae1', \
            bars(prefix.'bounce', 'AVX-512 to Embree') using 2 title 'bounce, AVX-512' lc rgb '#a63603', \
            bars(prefix.'bounce', 'AVX2 to Embree') using 2 title 'AVX2' lc rgb '#fdae6b', \
            bars(prefix.'chord', 'AVX-512 to Embree') using 2 title 'chord, AVX-512' lc rgb '#006d2c', \
            bars(prefix.'chord', 'AVX2 to Embree') using 2 title 'AVX2' lc rgb '#a1d99b'"
prefix = "index/each/"
set title "closest hit one by one"
@six
prefix = "index/batch/"
set title "batch of closest hits"
@six
prefix = "index/any/"
set title "batch of any hit"
@six
unset multiplot
unset arrow 1

times(contestant) = sprintf( \
  "< awk -F'\\t' -v OFS='\\t' '$1 == \"index/growth\" && $2 == \"%s\" {print $4, $5}' out/plot/index.tsv | sort -n", \
  contestant)
memory(name) = sprintf( \
  "< for s in motorbike buildings dragon terrain1M terrain10M; do awk -F'\\t' -v OFS='\\t' -v s=$s '$1 == \"index/memory\" && $2 == \"%s\" && $3 == s {print s, $5}' out/plot/index.tsv; done", \
  name)
set terminal pngcairo size 1600, 480 font "sans,11"
set output "docs/images/speed-index-sizes.png"
set multiplot layout 1, 3 title "MeshIndex: builds, growth, memory\n{/*0.8 ".processor.", one thread}"
set title "rate of builds relative to Embree"
set arrow 1 from graph 0, first 1 to graph 1, first 1 nohead lc rgb "#444444" dt 2
plot bars("index/build/good", "to Embree") using 2:xtic(1) title "good to MEDIUM" lc rgb "#08519c", \
     bars("index/build/fast", "to Embree") using 2 title "fast to LOW" lc rgb "#fdae6b"
unset arrow 1
set title "closest hit of chords in terrains"
set ylabel "ns per ray"
set xlabel "triangles"
set logscale x
set format x "10^{%L}"
set xrange [7e3:1.4e7]
plot times("MeshIndex good") with linespoints lc rgb "#7b3294" lw 3 pt 13 ps 1.4 title "MeshIndex", \
     times("Embree MEDIUM avx2") with linespoints lc rgb "#1f78b4" lw 2 pt 5 title "Embree MEDIUM avx2", \
     times("Embree MEDIUM avx512") with linespoints lc rgb "#6a9fc8" lw 2 pt 5 dt 2 title "Embree MEDIUM avx512", \
     times("qzQBVH surface-area") with linespoints lc rgb "#d95f02" lw 2 pt 7 title "qzQBVH surface-area"
unset logscale x
unset xlabel
set format x
set xrange [*:*]
set title "bytes per triangle"
set ylabel "bytes"
plot memory("MeshIndex good") using 2:xtic(1) title "finished" lc rgb "#08519c", \
     memory("MeshIndex good peak") using 2 title "peak" lc rgb "#9ecae1", \
     memory("Embree MEDIUM") using 2 title "Embree MEDIUM" lc rgb "#a63603", \
     memory("Embree MEDIUM peak") using 2 title "peak" lc rgb "#fdae6b"
unset multiplot
