# Ratios to Embree and times by size as tab-separated columns for index-plot.gp: benchmark, contestant, scene, size, value.
.results[] | select(.benchmark | startswith("index/")) | select(.value or .median)
  | [.benchmark, .contestant, .scene, .size, (.value // .median)] | @tsv
