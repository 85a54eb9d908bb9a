#pragma once
// The options that all subcommands of qzquery take.

#include <qzMeshQueries/MeshTypes.h>

namespace CLI {
class App;
}

namespace qzQuery {

/// What answers questions about rays: a qzMeshQueries::MeshIndex or a qzQBVH.
enum class tEngine { eIndex, eQbvh };
enum class tBuilder { eLinear, eSurfaceArea };

struct tOptions {
  tEngine mEngine = tEngine::eQbvh;
  bool mIsEngineGiven = false;  // by --engine
  qzMeshQueries::Quality mQuality = qzMeshQueries::Quality::good;
  tBuilder mBuilder = tBuilder::eLinear;
  unsigned mLeafSize = 4;  // of the linear builder
  int mNbThreads = 0;      // as many as there are processors
  bool mQuiet = false;
  bool mVerbose = false;
  bool mAsJson = false;
};

/// The words that select them on the command line.
const char* nameOf(tEngine engine);
const char* nameOf(tBuilder builder);
const char* nameOf(qzMeshQueries::Quality quality);

/// Adds --builder, --leaf, --threads, --quiet, --verbose and --json to a subcommand. options must outlive it.
/// hasEngines  adds --engine and --quality as well. Without --engine, the engine is eQbvh if --builder or --leaf is
///             given, else eIndex
void addOptions(CLI::App& command, tOptions& options, bool hasEngines = false);

}  // namespace qzQuery
