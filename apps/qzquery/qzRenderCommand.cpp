// qzquery render: a picture of a mesh.

#include <toolkit/qzFile.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "qzChoice.h"
#include "qzCommands.h"
#include "qzJson.h"
#include "qzRenderer.h"
#include "qzScene.h"

namespace qzQuery {

namespace {

constexpr int kMaxSide = 16384;
constexpr int kMaxPixels = 1 << 26;

struct tRenderArguments {
  std::string mMeshName, mImageName, mSize = "1280x960", mView;
  tShading mShading = tShading::eFacing;
  qzToolkit::qzCamera::tUp mUp = qzToolkit::qzCamera::eUpZ;
  int mNbSamples = 3;
};

/// Reads "1280x960"; false for anything else.
bool readSize(const std::string& text, int& width, int& height) {
  const char* const end = text.data() + text.size();
  const auto [cross, widthError] = std::from_chars(text.data(), end, width);
  if (widthError != std::errc() || cross == end || *cross != 'x') return false;
  const auto [stop, heightError] = std::from_chars(cross + 1, end, height);
  return heightError == std::errc() && stop == end && width >= 1 && height >= 1 && width <= kMaxSide &&
         height <= kMaxSide && width * height <= kMaxPixels;
}

void render(const tRenderArguments& arguments, const tOptions& options) {
  int width, height;
  readSize(arguments.mSize, width, height);
  const qzToolkit::qzCamera::tVector direction = qzToolkit::qzCamera::Direction(arguments.mView, arguments.mUp);
  const qzScene scene(arguments.mMeshName, options);
  const auto camera = qzToolkit::qzCamera::Frame(scene.getMesh(), direction, arguments.mUp, double(width) / height);
  const qzRenderer renderer(scene.getMesh(), scene.getHierarchy(), camera, arguments.mUp, arguments.mShading);

  const qzToolkit::qzThreads threads(options.mNbThreads);
  const double start = now();
  qzRenderer::tStatistics statistics;
  const qzToolkit::qzImage image =
      renderer.render(width, height, arguments.mNbSamples, threads, !options.mQuiet, statistics);
  const double duration = now() - start;
  qzToolkit::writeFile(arguments.mImageName, image.encodePng());

  if (options.mAsJson) {
    nlohmann::ordered_json answer = describeWork(arguments.mMeshName, scene, options, threads.getNbThreads());
    answer["width"] = width;
    answer["height"] = height;
    answer["cameraRays"] = statistics.mNbRays;
    answer["cameraHits"] = statistics.mNbHits;
    answer["renderSeconds"] = duration;
    if (arguments.mShading == tShading::eCost) {
      answer["meanVisits"] = statistics.mMeanVisits;
      answer["maxPixelVisits"] = statistics.mMaxPixelVisits;
    }
    writeJson(answer, arguments.mImageName);
    return;
  }
  say(options, "camera rays: " + std::to_string(statistics.mNbRays) + ", " + std::to_string(statistics.mNbHits) +
                   " hit (" + percent(statistics.mNbHits, statistics.mNbRays) + "), rendered in " + seconds(duration) +
                   " by " + std::to_string(threads.getNbThreads()) +
                   (threads.getNbThreads() == 1 ? " thread" : " threads"));
  if (arguments.mShading == tShading::eCost) {
    char text[128];
    std::snprintf(text, sizeof text, "cost: %.1f nodes a ray, %.1f in the brightest pixel", statistics.mMeanVisits,
                  statistics.mMaxPixelVisits);
    say(options, text);
  }
}

}  // namespace

void addRenderCommand(CLI::App& app, tOptions& options) {
  CLI::App& command = *app.add_subcommand("render", "Make a picture of a mesh");
  const auto arguments = std::make_shared<tRenderArguments>();
  command.add_option("MESH", arguments->mMeshName, "Mesh file, perhaps with .gz behind its name")->required();
  command.add_option("-o,--output", arguments->mImageName, "Picture, a PNG file; - is standard output")->required();
  command.add_option("--size", arguments->mSize, "Width and height in pixels")
      ->capture_default_str()
      ->type_name("WxH")
      ->check([](const std::string& text) {
        int width, height;
        return readSize(text, width, height)
                   ? std::string()
                   : "'" + text + "' is not a size like 1280x960, up to " + std::to_string(kMaxSide) + " a side and " +
                         std::to_string(kMaxPixels) + " pixels";
      });
  command
      .add_option("--view", arguments->mView,
                  "Where to look from: x,y,z or front, back, left, right, top, bottom, iso; without it from the front, "
                  "above and to the side")
      ->type_name("FROM");
  addChoice<qzToolkit::qzCamera::tUp>(command, "--up", arguments->mUp,
                                      {{"y", qzToolkit::qzCamera::eUpY}, {"z", qzToolkit::qzCamera::eUpZ}},
                                      "The axis that points up; z without it");
  addChoice<tShading>(command, "--shading", arguments->mShading,
                      {{"facing", tShading::eFacing},
                       {"normal", tShading::eNormal},
                       {"depth", tShading::eDepth},
                       {"cost", tShading::eCost}},
                      "What colours show, cost being the nodes that a pixel's rays visit; facing without it");
  command.add_option("--samples", arguments->mNbSamples, "Rays across a pixel, so the square of it in a pixel")
      ->check(CLI::Range(1, 16))
      ->capture_default_str();
  addOptions(command, options);
  command.callback([arguments, &options] { render(*arguments, options); });
}

}  // namespace qzQuery
