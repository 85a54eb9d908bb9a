# The timed results as tab-separated columns for plot.gp: benchmark, contestant, scene, size, ns, times as fast.
.results[] | select(.median) | [.benchmark, .contestant, .scene, .size, .median, (.firstIsTimesAsFast // 1)] | @tsv
