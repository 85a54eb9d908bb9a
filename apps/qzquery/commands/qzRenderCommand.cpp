// qzquery render: pictures and depth maps of a mesh.

#include <apps/qzquery/commands/qzCommands.h>
#include <apps/qzquery/console/qzChoice.h>
#include <apps/qzquery/console/qzClock.h>
#include <apps/qzquery/console/qzConsole.h>
#include <apps/qzquery/console/qzFormat.h>
#include <apps/qzquery/console/qzOptions.h>
#include <apps/qzquery/console/qzProgramThreads.h>
#include <apps/qzquery/console/qzProgressLine.h>
#include <apps/qzquery/picture/qzRenderer.h>
#include <apps/qzquery/scene/qzJson.h>
#include <apps/qzquery/scene/qzScene.h>
#include <toolkit/base/qzError.h>
#include <toolkit/io/file/qzFile.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

namespace qzQuery {

namespace {

constexpr int kMaxSide = 16384;
constexpr int kMaxPixels = 1 << 26;
constexpr int kMaxViews = 360;
constexpr int kMaxSamples = 16;

struct tRenderArguments {
  std::string mMeshName, mImageName, mDepthName, mSize = "1280x960", mView;
  tShading mShading = tShading::eFacing;
  qzToolkit::qzCamera::tUp mUp = qzToolkit::qzCamera::eUpZ;
  int mNbSamples = 3;
  int mNbViews = 0;  // of the turntable; 0: no turntable
};

/// Summary of a depth map.
struct tDepthRange {
  std::size_t mNbHits = 0;
  double mNearest = std::numeric_limits<double>::infinity(), mFarthest = -mNearest;
};

bool isSize(int width, int height) {
  return width <= kMaxSide && height <= kMaxSide && width * height <= kMaxPixels;
}

std::string limits() {
  return std::to_string(kMaxSide) + " a side and " + std::to_string(kMaxPixels) + " pixels";
}

/// Reads "1280x960"; false for anything else.
bool readSize(const std::string& text, int& width, int& height) {
  const char* const end = text.data() + text.size();
  const auto [cross, widthError] = std::from_chars(text.data(), end, width);
  if (widthError != std::errc() || cross == end || *cross != 'x') return false;
  const auto [stop, heightError] = std::from_chars(cross + 1, end, height);
  return heightError == std::errc() && stop == end && width >= 1 && height >= 1 && isSize(width, height);
}

qzSheet makeSheet(const tRenderArguments& arguments) {
  int width, height;
  readSize(arguments.mSize, width, height);
  const qzSheet sheet(width, height, std::max(1, arguments.mNbViews));
  if (!isSize(sheet.getWidth(), sheet.getHeight())) {
    throw qzToolkit::qzError("--turntable", std::to_string(arguments.mNbViews) + " views of " + arguments.mSize +
                                                " make a sheet of " + std::to_string(sheet.getWidth()) + "x" +
                                                std::to_string(sheet.getHeight()) + "; a picture has up to " +
                                                limits());
  }
  return sheet;
}

/// Whether two names refer to the same file, which need not exist yet.
bool isSameFile(const std::string& a, const std::string& b) {
  const auto resolved = [](const std::string& name) {
    std::error_code failure;
    const std::filesystem::path path = std::filesystem::absolute(name, failure);
    const std::filesystem::path canonical = failure ? path : std::filesystem::weakly_canonical(path, failure);
    return failure ? std::filesystem::path(name) : canonical;
  };
  return resolved(a) == resolved(b);
}

tDepthRange rangeOf(const qzToolkit::qzFloatMap& depths) {
  tDepthRange range;
  for (int y = 0; y < depths.getHeight(); ++y) {
    for (int x = 0; x < depths.getWidth(); ++x) {
      const double depth = depths.getPixel(x, y);
      if (std::isinf(depth)) continue;
      ++range.mNbHits;
      range.mNearest = std::min(range.mNearest, depth);
      range.mFarthest = std::max(range.mFarthest, depth);
    }
  }
  return range;
}

nlohmann::ordered_json describe(const qzToolkit::qzCamera& camera) {
  nlohmann::ordered_json answer;
  const Wm4::Vector3<float> origin = camera.getOrigin();
  answer["origin"] = {origin[0], origin[1], origin[2]};
  answer["right"] = camera.getRight();
  answer["up"] = camera.getUp();
  answer["backward"] = camera.getBackward();
  return answer;
}

void render(const tRenderArguments& arguments, tOptions options, const qzToolkit::tCancel& cancel) {
  if (arguments.mShading == tShading::eCost) {
    if (options.mIsEngineGiven && options.mEngine == tEngine::eIndex) {
      throw qzToolkit::qzError("--shading", "cost is for --engine qbvh, whose nodes it counts");
    }
    options.mEngine = tEngine::eQbvh;
  }
  const qzSheet sheet = makeSheet(arguments);
  const bool wantsDepth = !arguments.mDepthName.empty();
  if (wantsDepth && isSameFile(arguments.mDepthName, arguments.mImageName)) {
    throw qzToolkit::qzError("--depth", "names the same file as --output");
  }
  const qzToolkit::qzCamera::tVector direction = qzToolkit::qzCamera::Direction(arguments.mView, arguments.mUp);
  const qzScene scene(arguments.mMeshName, options, cancel);
  say(options, arguments.mMeshName, scene);
  const double aspect = double(sheet.getViewWidth()) / sheet.getViewHeight();
  const std::vector<qzToolkit::qzCamera> cameras =
      arguments.mNbViews > 0
          ? qzToolkit::qzCamera::FrameTurning(scene.getMesh(), direction, arguments.mUp, aspect, arguments.mNbViews,
                                              &cancel)
          : std::vector{qzToolkit::qzCamera::Frame(scene.getMesh(), direction, arguments.mUp, aspect, &cancel)};
  const qzRenderer renderer(scene.getMesh(), scene.getCaster(qzQBVH::eIntersectBothFaces), scene.getHierarchy(),
                            cameras, arguments.mUp, arguments.mShading);

  const qzProgramThreads pool(options.mNbThreads);
  const qzToolkit::qzThreads& threads = pool.get();
  const auto progressOf = [&](const char* label) {
    return qzProgressLine(label, static_cast<std::size_t>(sheet.getHeight()), !options.mQuiet);
  };
  const qzClock clock;
  qzRenderer::tStatistics statistics;
  const qzToolkit::qzImage image = [&] {
    qzProgressLine progress = progressOf("casting rays");
    return renderer.render(sheet, arguments.mNbSamples, threads, cancel, progress, statistics);
  }();
  const double duration = clock.getSeconds();
  tDepthRange depthRange;
  {
    // Both files are committed only after both are written.
    std::optional<qzToolkit::qzFileWriter> depthFile;
    if (wantsDepth) {
      const qzToolkit::qzFloatMap depths = [&] {
        qzProgressLine progress = progressOf("measuring depth");
        return renderer.measureDepth(sheet, threads, cancel, progress);
      }();
      depthRange = rangeOf(depths);
      depthFile.emplace(arguments.mDepthName, &cancel);
      depthFile->append(depths.encode(arguments.mDepthName));
    }
    qzToolkit::qzFileWriter imageFile(arguments.mImageName, &cancel);
    imageFile.append(image.encodePng(&cancel));
    imageFile.commit();
    if (depthFile) depthFile->commit();
  }

  if (options.mAsJson) {
    nlohmann::ordered_json answer = describeWork(arguments.mMeshName, scene, options, threads.getNbThreads());
    answer["width"] = sheet.getWidth();
    answer["height"] = sheet.getHeight();
    answer["views"] = sheet.getNbViews();
    answer["columns"] = sheet.getNbColumns();
    answer["halfWidth"] = cameras[0].getHalfWidth();
    answer["halfHeight"] = cameras[0].getHalfHeight();
    for (const qzToolkit::qzCamera& camera : cameras) answer["cameras"].push_back(describe(camera));
    answer["cameraRays"] = statistics.mNbRays;
    answer["cameraHits"] = statistics.mNbHits;
    answer["renderSeconds"] = duration;
    if (arguments.mShading == tShading::eCost) {
      answer["meanVisits"] = statistics.mMeanVisits;
      answer["maxPixelVisits"] = statistics.mMaxPixelVisits;
    }
    if (wantsDepth) {
      answer["depth"] = {{"file", arguments.mDepthName}, {"hits", depthRange.mNbHits}};
      if (depthRange.mNbHits > 0) {
        answer["depth"]["nearest"] = depthRange.mNearest;
        answer["depth"]["farthest"] = depthRange.mFarthest;
      }
    }
    writeJson(answer, arguments.mImageName);
    return;
  }
  say(options, "camera rays: " + std::to_string(statistics.mNbRays) + ", " + std::to_string(statistics.mNbHits) +
                   " hit (" + percent(statistics.mNbHits, statistics.mNbRays) + "), rendered in " + seconds(duration) +
                   " by " + countOfThreads(threads.getNbThreads()));
  if (arguments.mShading == tShading::eCost) {
    char text[128];
    std::snprintf(text, sizeof text, "cost: %.1f nodes a ray, %.1f in the brightest pixel", statistics.mMeanVisits,
                  statistics.mMaxPixelVisits);
    say(options, text);
  }
  if (arguments.mNbViews > 0) {
    say(options, "sheet: " + std::to_string(sheet.getNbViews()) + " views in " + std::to_string(sheet.getNbColumns()) +
                     " columns, " + std::to_string(sheet.getWidth()) + "x" + std::to_string(sheet.getHeight()) +
                     " pixels");
  }
  if (wantsDepth) {
    char text[128];
    std::snprintf(text, sizeof text, "depth: %zu pixels hit, from %g to %g", depthRange.mNbHits, depthRange.mNearest,
                  depthRange.mFarthest);
    say(options, depthRange.mNbHits > 0 ? text : "depth: no pixel hit");
  }
}

}  // namespace

void addRenderCommand(CLI::App& app, tOptions& options, const qzToolkit::tCancel& cancel) {
  CLI::App& command = *app.add_subcommand("render", "Render a picture of a mesh");
  const auto arguments = std::make_shared<tRenderArguments>();
  command.add_option("MESH", arguments->mMeshName, "Mesh file; may be compressed (.gz)")->required();
  command.add_option("-o,--output", arguments->mImageName, "PNG file; - is standard output")->required();
  command.add_option("--size", arguments->mSize, "Width and height in pixels, with --turntable of each view")
      ->capture_default_str()
      ->type_name("WxH")
      ->check([](const std::string& text) {
        int width, height;
        return readSize(text, width, height) ? std::string()
                                             : "'" + text + "' is not a size like 1280x960, up to " + limits();
      });
  command
      .add_option(
          "--depth", arguments->mDepthName,
          "Depth map, a .npy or .pfm file: for the centre of every pixel the distance from the camera along its line "
          "of sight, in units of the mesh, or infinity without a hit")
      ->type_name("FILE")
      ->check([](const std::string& name) {
        return qzToolkit::qzFloatMap::IsFormat(name) ? std::string()
                                                     : "'" + name + "' ends neither in .npy nor in .pfm";
      });
  command
      .add_option(
          "--turntable", arguments->mNbViews,
          "Render a sheet of this many views at one scale, rotated about the up axis in equal steps, starting at "
          "--view")
      ->check(CLI::Range(1, kMaxViews));
  command
      .add_option(
          "--view", arguments->mView,
          "Direction to look from: x,y,z or front, back, left, right, top, bottom, iso (default: from the front, "
          "above and the side)")
      ->type_name("FROM");
  addChoice<qzToolkit::qzCamera::tUp>(command, "--up", arguments->mUp,
                                      {{"y", qzToolkit::qzCamera::eUpY}, {"z", qzToolkit::qzCamera::eUpZ}},
                                      "Up axis (default: z)");
  addChoice<tShading>(command, "--shading", arguments->mShading,
                      {{"facing", tShading::eFacing},
                       {"normal", tShading::eNormal},
                       {"depth", tShading::eDepth},
                       {"cost", tShading::eCost}},
                      "What the colours show; cost: nodes of a qbvh visited by the rays of a pixel (default: facing)");
  command
      .add_option("--samples", arguments->mNbSamples, "Rays along each side of a pixel; N gives N x N rays per pixel")
      ->check(CLI::Range(1, kMaxSamples))
      ->capture_default_str();
  addOptions(command, options, true);
  command.callback([arguments, &options, &cancel] { render(*arguments, options, cancel); });
}

}  // namespace qzQuery
