#include "qzSvg.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace {

// Rounded to a tenth of a pixel, so that the file is the same on every machine.
std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", value);
  return text;
}

std::string attribute(const char* name, double value) {
  return std::string(" ") + name + "=\"" + number(value) + "\"";
}

}  // namespace

Svg::Svg(int width, int height) {
  const std::string size = std::to_string(width) + " " + std::to_string(height);
  mText = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + std::to_string(width) + "\" height=\"" +
          std::to_string(height) + "\" viewBox=\"0 0 " + size + "\" font-family=\"sans-serif\">\n";
  box({0, 0}, width, height, "fill=\"#fff\"");
}

void Svg::box(Point corner, double width, double height, const std::string& style) {
  mText += "<rect" + attribute("x", corner.x) + attribute("y", corner.y) + attribute("width", width) +
           attribute("height", height) + " " + style + "/>\n";
}

void Svg::line(Point a, Point b, const std::string& style) {
  mText += "<line" + attribute("x1", a.x) + attribute("y1", a.y) + attribute("x2", b.x) + attribute("y2", b.y) + " " +
           style + "/>\n";
}

void Svg::polygon(const std::vector<Point>& corners, const std::string& style) {
  mText += "<polygon points=\"";
  for (const Point& corner : corners) mText += number(corner.x) + "," + number(corner.y) + " ";
  mText += "\" " + style + "/>\n";
}

void Svg::circle(Point center, double radius, const std::string& style) {
  mText +=
      "<circle" + attribute("cx", center.x) + attribute("cy", center.y) + attribute("r", radius) + " " + style + "/>\n";
}

void Svg::words(Point place, const std::string& text, const std::string& anchor, int size, const std::string& style) {
  std::string escaped;
  for (char c : text) escaped += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
  mText += "<text" + attribute("x", place.x) + attribute("y", place.y) + " text-anchor=\"" + anchor +
           "\" font-size=\"" + std::to_string(size) + "\" " + style + ">" + escaped + "</text>\n";
}

void Svg::write(const std::string& name) const {
  std::ofstream file(name, std::ios::binary);
  file << mText << "</svg>\n";
  file.close();
  if (!file) throw std::runtime_error("cannot write " + name);
}
