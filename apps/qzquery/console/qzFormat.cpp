#include <apps/qzquery/console/qzFormat.h>

#include <cstdio>

namespace qzQuery {

namespace {

constexpr double kMegabytesPerByte = 1e-6;

std::string format(const char* pattern, double value) {
  char text[64];
  std::snprintf(text, sizeof text, pattern, value);
  return text;
}

}  // namespace

std::string percent(std::size_t part, std::size_t whole) {
  return format("%.3g %%", whole == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole));
}

std::string seconds(double duration) {
  return format("%.3f s", duration);
}

std::string megabytes(double bytes) {
  return format("%.1f MB", kMegabytesPerByte * bytes);
}

std::string countOfThreads(int count) {
  return std::to_string(count) + (count == 1 ? " thread" : " threads");
}

}  // namespace qzQuery
