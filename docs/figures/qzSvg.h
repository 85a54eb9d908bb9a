#pragma once
// An SVG file of lines, boxes and texts. Coordinates are pixels from the upper left corner.

#include <string>
#include <vector>

struct Point {
  double x, y;
};

class Svg {
 public:
  Svg(int width, int height);

  /// style: further attributes of the SVG element.
  void box(Point corner, double width, double height, const std::string& style);
  void line(Point a, Point b, const std::string& style);
  void polygon(const std::vector<Point>& corners, const std::string& style);
  void circle(Point center, double radius, const std::string& style);
  /// anchor: which part of the text is at the place, start, middle or end.
  void words(Point place, const std::string& text, const std::string& anchor, int size = 13,
             const std::string& style = "fill=\"#222\"");

  /// Writes the file; throws std::runtime_error when it cannot.
  void write(const std::string& name) const;

 private:
  std::string mText;
};
