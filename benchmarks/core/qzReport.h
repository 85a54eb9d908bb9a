#pragma once
// Results of the benchmarks: a table printed line by line, and a JSON file.

#include <functional>
#include <string>
#include <vector>

#include <benchmarks/core/qzMeasure.h>

namespace qzBench {

/// What a comparison measures.
struct qzSubject {
  std::string mBenchmark;  ///< "ray/chord"
  std::string mScene;
  long long mSize;    ///< triangles or points of the scene
  std::string mUnit;  ///< of the times: "triangle", "ray", "region"
  int mRounds;
  double mAgreement = 0.0;  ///< least share of equal answers
};

class qzReport {
 public:
  /// Where the figures come from.
  struct tEnvironment {
    std::string mProcessor, mCompiler, mFlags, mCommit, mDate;
  };
  explicit qzReport(const tEnvironment& environment);

  /// Runs the contestants in turn and adds a line for each. The others are compared with the first one; check returns
  /// the hash of its answers and is called after the runs. Returns the timings.
  std::vector<qzTiming> compare(const qzSubject& subject, const std::vector<qzContestant>& contestants,
                                const std::function<std::string()>& check);

  /// The same for contestants that have run.
  void add(const qzSubject& subject, const std::vector<qzContestant>& contestants, const std::vector<qzTiming>& timings,
           const std::function<std::string()>& check);

  /// Adds a line that is not a comparison, bytes per triangle for example.
  void addFigure(const std::string& benchmark, const std::string& scene, long long size, const std::string& name,
                 double value, const std::string& unit);

  /// Lines with less agreement than required.
  int getNbDisagreements() const { return mNbDisagreements; }
  std::string getJson() const;

 private:
  void beginLine(const std::string& block);  // an empty line before each block

  tEnvironment mEnvironment;
  std::vector<std::string> mLines;  // each a JSON object
  std::string mLastBlock;
  int mNbDisagreements = 0;
};

/// Model name, family and model number of the processor.
std::string processorName();

/// The date in UTC, as "2026-01-31".
std::string today();

}  // namespace qzBench
