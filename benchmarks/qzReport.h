#pragma once
// The results: a table for people as it comes, a JSON file for the rest.

#include <string>
#include <vector>

#include "qzMeasure.h"

namespace qzBench {

/// One line of the table.
struct qzLine {
  std::string mBenchmark, mScene;
  long long mTriangles;
  std::string mContestant;
  std::string mUnit;  ///< what is counted: "triangle", "ray", "query"
  qzTiming mTiming;
  double mTimesAsFast = 0.0;  ///< of ours against this contestant; 0: no such figure
  double mAgreement = -1.0;   ///< share of answers that are ours; below 0: no such figure
  double mAgreementExpected = 0.0;
  std::string mCheck = {};  ///< hash of our answers
};

class qzReport {
 public:
  /// What a figure means nothing without.
  struct tCircumstances {
    std::string mProcessor, mCompiler, mFlags, mCommit, mDate;
  };
  explicit qzReport(const tCircumstances& circumstances);

  void add(const qzLine& line);
  /// A figure that is no time: bytes per triangle, say.
  void addFigure(const std::string& benchmark, const std::string& scene, long long triangles,
                 const std::string& contestant, double value, const std::string& unit);

  /// Lines whose answers agree less than expected.
  int getNbDisagreements() const { return mNbDisagreements; }
  std::string getJson() const;

 private:
  tCircumstances mCircumstances;
  std::vector<std::string> mLines;  // each a JSON object
  std::string mLastBenchmark;
  int mNbDisagreements = 0;
};

/// The processor of this machine by name.
std::string processorName();

}  // namespace qzBench
