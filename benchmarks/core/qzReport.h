#pragma once
// The results: a table for people as it comes, a JSON file for the rest.

#include <functional>
#include <string>
#include <vector>

#include <benchmarks/core/qzMeasure.h>

namespace qzBench {

/// What a comparison is about.
struct qzSubject {
  std::string mBenchmark;  ///< "ray/chord"
  std::string mScene;
  long long mSize;    ///< of the scene, in triangles or points
  std::string mUnit;  ///< what is timed: "triangle", "ray", "query"
  int mRounds;
  double mAgreement = 0.0;  ///< the share of answers that the contestants should have in common
};

class qzReport {
 public:
  /// What a figure means nothing without.
  struct tCircumstances {
    std::string mProcessor, mCompiler, mFlags, mCommit, mDate;
  };
  explicit qzReport(const tCircumstances& circumstances);

  /// Runs the contestants in turn and adds a line for each. The first one is what the others are held against; check
  /// is the hash of its answers, asked for after the runs. Returns the timings.
  std::vector<qzTiming> compare(const qzSubject& subject, const std::vector<qzContestant>& contestants,
                                const std::function<std::string()>& check);

  /// A line that is no comparison: bytes per triangle, say.
  void addFigure(const std::string& benchmark, const std::string& scene, long long size, const std::string& name,
                 double value, const std::string& unit);

  /// Lines whose answers agree less than expected.
  int getNbDisagreements() const { return mNbDisagreements; }
  std::string getJson() const;

 private:
  tCircumstances mCircumstances;
  void beginLine(const std::string& block);

  std::vector<std::string> mLines;  // each a JSON object
  std::string mLastBlock;
  int mNbDisagreements = 0;
};

/// The processor of this machine by name.
std::string processorName();

}  // namespace qzBench
