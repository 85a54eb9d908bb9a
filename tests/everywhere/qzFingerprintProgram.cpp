// qzFingerprints, qzQueryFingerprints: run a library on generated scenes and compare hashes of all results with those in
// a file. They depend on the standard library and the toolkit's reader of OBJ files, so that they can be built and run
// wherever the library can.

#include "everywhere/qzFingerprintList.h"
#include "everywhere/qzFingerprints.h"
#include "everywhere/qzRayCaster.h"
#include "everywhere/qzVariantInUse.h"

#include <toolkit/base/qzError.h>
#include <toolkit/io/mesh/qzObjFile.h>
#include <toolkit/io/mesh/qzPolygonMesh.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using namespace qzTest;

namespace {

const char kUsage[] =
    "usage: qzFingerprints FILE [option...]\n"
    "Checks the library against the fingerprints in FILE. Exit code: 0 when all are the same, 1 when not, 2 for bad\n"
    "arguments.\n"
    "  --short               ask the first few queries of every kind\n"
    "  --scene NAME          this scene only; may be repeated\n"
    "  --motorbike OBJ       also the motorbike, which this file is\n"
    "  --variant NAME        fail unless rays run in this variant, AVX or baseline, or these instruction sets\n"
    "  --threads N           cast rays on N threads, if the program was built with the toolkit\n"
    "  --write               write FILE in place of checking it; scenes that were not made keep their lines\n";

struct Arguments {
  std::string file, motorbike, variant;
  std::set<std::string> scenes;
  FingerprintEffort effort;
  bool write = false;
};

class BadArguments : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

const char kMotorbike[] = "motorbike";

Arguments parse(int argc, char** argv) {
  Arguments arguments;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const auto value = [&] {
      if (++i == argc) throw BadArguments(word + " needs a value");
      return std::string(argv[i]);
    };
    if (word == "--short") {
      arguments.effort.isShort = true;
    } else if (word == "--scene") {
      arguments.scenes.insert(value());
    } else if (word == "--motorbike") {
      arguments.motorbike = value();
    } else if (word == "--variant") {
      arguments.variant = value();
    } else if (word == "--threads") {
      const std::string number = value();
      arguments.effort.nbThreads = std::atoi(number.c_str());
      if (arguments.effort.nbThreads < 1 || arguments.effort.nbThreads > kMaxCastingThreads) {
        throw BadArguments("this program casts on 1 to " + std::to_string(kMaxCastingThreads) + " threads, not " +
                           number);
      }
    } else if (word == "--write") {
      arguments.write = true;
    } else if (arguments.file.empty() && word.compare(0, 2, "--") != 0) {
      arguments.file = word;
    } else {
      throw BadArguments("unknown argument " + word);
    }
  }
  if (arguments.file.empty()) throw BadArguments("which file are the fingerprints in?");
  if (arguments.write && arguments.effort.isShort) throw BadArguments("--short takes too few fingerprints to --write");
  for (const std::string& name : arguments.scenes) {
    const auto& names = sceneNames();
    if (name != kMotorbike && std::find(names.begin(), names.end(), name) == names.end()) {
      throw BadArguments("there is no scene called " + name);
    }
  }
  return arguments;
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  if (!file) throw std::runtime_error("cannot read " + path);
  return text.str();
}

/// Compares scene after scene with the list, and counts.
class Check {
 public:
  explicit Check(const Arguments& arguments) : mArguments(arguments) {
    if (!arguments.write || std::ifstream(arguments.file)) mList = FingerprintList::read(arguments.file);
  }

  bool wants(const std::string& scene) const { return mArguments.scenes.empty() || mArguments.scenes.count(scene); }

  void check(const EverywhereScene& scene) {
    const FingerprintResult result = takeFingerprints(scene, mArguments.effort);
    ++mNbScenes;
    mNbRays += result.nbRays;
    mNbRegions += result.nbRegions;
    mNbHashes += result.fingerprints.size();
    std::set<std::string> parts;
    for (const Fingerprint& fingerprint : result.fingerprints) {
      parts.insert(fingerprint.part);
      compare(scene.name, fingerprint);
    }
    // Every entry of the list for this scene must have been compared, but for the queries that a short run leaves out.
    const auto isLeftOut = [&](const std::string& part) {
      const auto endsIn = [&](std::size_t count) {
        const std::string end = "-" + std::to_string(count);
        return part.size() > end.size() && part.compare(part.size() - end.size(), end.size(), end) == 0;
      };
      return mArguments.effort.isShort && (endsIn(kAllRays) || endsIn(kAllRegions));
    };
    for (auto entry = mList.hashes.begin(); entry != mList.hashes.end();) {
      const auto& [name, part] = entry->first;
      if (name != scene.name || parts.count(part) || isLeftOut(part)) {
        ++entry;
      } else if (mArguments.write) {
        entry = mList.hashes.erase(entry);
      } else {
        tell(name, part, "is in the file and was not made");
        ++entry;
      }
    }
    std::printf("%-14s %8u triangles %8zu rays, %zu hits\n", scene.name.c_str(), scene.nbTriangles(), result.nbRays,
                result.nbHits);
    std::fflush(stdout);
  }

  int finish() {
    const std::string variant = variantInUse();
    if (!mArguments.variant.empty() && variant != mArguments.variant) {
      tell("rays", "variant", "is " + variant + ", not " + mArguments.variant);
    }
    if (mArguments.write) mList.write(mArguments.file);
    std::printf("%zu scenes, %zu rays, %zu regions, %zu hashes, variant %s: %s\n", mNbScenes, mNbRays, mNbRegions,
                mNbHashes, variant.c_str(), mNbDifferences == 0 ? "same" : "DIFFERENT");
    return mNbDifferences == 0 ? 0 : 1;
  }

 private:
  void compare(const std::string& scene, const Fingerprint& fingerprint) {
    const FingerprintList::Key key(scene, fingerprint.part);
    if (mArguments.write) {
      mList.hashes[key] = fingerprint.hash;
      return;
    }
    const auto entry = mList.hashes.find(key);
    if (entry == mList.hashes.end()) {
      tell(scene, fingerprint.part, "is not in the file");
    } else if (entry->second != fingerprint.hash) {
      tell(scene, fingerprint.part,
           "has " + hexadecimal(fingerprint.hash) + ", the file has " + hexadecimal(entry->second));
    }
  }

  void tell(const std::string& scene, const std::string& part, const std::string& what) {
    ++mNbDifferences;
    std::printf("different: %s %s %s\n", scene.c_str(), part.c_str(), what.c_str());
  }

  const Arguments& mArguments;
  FingerprintList mList;
  std::size_t mNbScenes = 0, mNbRays = 0, mNbRegions = 0, mNbHashes = 0, mNbDifferences = 0;
};

int run(const Arguments& arguments) {
  Check check(arguments);
  for (const std::string& name : sceneNames()) {
    if (check.wants(name)) check.check(makeScene(name));
  }
  if (check.wants(kMotorbike)) {
    if (arguments.motorbike.empty()) {
      std::printf("%-14s skipped: its file was not given\n", kMotorbike);
    } else {
      qzToolkit::qzPolygonMesh polygons = qzToolkit::readObj(arguments.motorbike, readFile(arguments.motorbike));
      check.check(sceneOf(kMotorbike, polygons.triangulate()));
    }
  }
  return check.finish();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(parse(argc, argv));
  } catch (const BadArguments& error) {
    std::fprintf(stderr, "qzFingerprints: %s\n%s", error.what(), kUsage);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qzFingerprints: %s\n", error.what());
  }
  return 2;
}
