# Timed results as tab-separated columns for plot.gp: benchmark, contestant, scene, size, ns, and the speed of the first
# contestant relative to this one.
.results[] | select(.median) | [.benchmark, .contestant, .scene, .size, .median, (.firstIsTimesAsFast // 1)] | @tsv
