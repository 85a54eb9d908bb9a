#pragma once
// Pictures that qzquery made.

#include <array>
#include <string>
#include <vector>

namespace qzTest {

struct Picture {
  int width, height;
  std::vector<unsigned char> bytes;

  std::array<int, 3> at(int x, int y) const {
    const unsigned char* pixel = &bytes[3 * static_cast<std::size_t>(y * width + x)];
    return {pixel[0], pixel[1], pixel[2]};
  }
  int brightness(int x, int y) const { return at(x, y)[0] + at(x, y)[1] + at(x, y)[2]; }

  /// The part of these sizes at a place.
  Picture part(int left, int top, int partWidth, int partHeight) const;
};

/// The picture in the bytes of a PNG file.
Picture decode(const std::string& file);

/// Renders a mesh to standard output, which has to work: the arguments behind render.
Picture render(std::vector<std::string> arguments);

}  // namespace qzTest
