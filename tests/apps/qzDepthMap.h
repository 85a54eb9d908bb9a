#pragma once
// Depth maps that qzquery made.

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace qzTest {

struct DepthMap {
  int width, height;
  std::vector<float> values;  ///< rows from the top
  nlohmann::json answer;      ///< what --json said

  float at(int x, int y) const {
    return values[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
  }

  /// The part of these sizes at a place.
  std::vector<float> part(int left, int top, int partWidth, int partHeight) const;
};

/// The map in the bytes of a .npy file of float32.
DepthMap decodeNumpy(const std::string& file);

/// Renders a mesh with --depth, which has to work: the arguments behind render.
DepthMap measureDepth(std::vector<std::string> arguments);

}  // namespace qzTest
