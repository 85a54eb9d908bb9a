#include "apps/qzDepthMap.h"

#include <doctest/doctest.h>
#include <toolkit/io/table/qzNumpyArray.h>

#include "apps/qzProcess.h"
#include "support/qzTemporaryFolder.h"

namespace qzTest {

std::vector<float> DepthMap::part(int left, int top, int partWidth, int partHeight) const {
  std::vector<float> result;
  for (int y = top; y < top + partHeight; ++y) {
    const auto start = values.begin() + y * width + left;
    result.insert(result.end(), start, start + partWidth);
  }
  return result;
}

DepthMap decodeNumpy(const std::string& file) {
  CHECK(file.find("{'descr': '<f4', ") == 10);
  const qzToolkit::qzNumpyArray array("depth", file);
  DepthMap map = {static_cast<int>(array.getNbColumns()), static_cast<int>(array.getNbRows()), {}, {}};
  for (std::size_t y = 0; y < array.getNbRows(); ++y) {
    for (std::size_t x = 0; x < array.getNbColumns(); ++x) {
      map.values.push_back(static_cast<float>(array.getElement(y, x)));
    }
  }
  return map;
}

DepthMap measureDepth(std::vector<std::string> arguments) {
  const TemporaryFolder folder;
  arguments.insert(arguments.begin(), "render");
  arguments.insert(arguments.end(), {"-o", folder.path("a.png"), "--depth", folder.path("a.npy"), "--json"});
  const Outcome outcome = runQuery(arguments);
  REQUIRE(outcome.exitCode == 0);
  CHECK(outcome.error.empty());
  CHECK(folder.names() == std::set<std::string>{"a.npy", "a.png"});
  DepthMap map = decodeNumpy(folder.read("a.npy"));
  map.answer = nlohmann::json::parse(outcome.output);
  CHECK(map.answer["width"] == map.width);
  CHECK(map.answer["height"] == map.height);
  CHECK(map.answer["depth"]["file"] == folder.path("a.npy"));
  return map;
}

}  // namespace qzTest
