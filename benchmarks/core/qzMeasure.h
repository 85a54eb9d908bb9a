#pragma once
// Timing: one pinned thread, the processor time of the process, and all contestants of a comparison in turn, round
// after round. The speed of a machine drifts; the ratio of two contestants in the same round cancels most of the drift.

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace qzBench {

/// Seconds since construction: processor time of the whole process, processor time of this thread, or wall time.
class qzStopwatch {
 public:
  enum tClock { eProcessorTime, eThreadTime, eWallTime };
  explicit qzStopwatch(tClock clock = eProcessorTime);
  double getSeconds() const;

 private:
  int mClock;
  double mStart;
};

/// Time of a piece of work on several threads: wall time, and the processor time of the thread that worked longest. On an
/// idle machine both are the same, as long as some thread works at any time.
class qzThreadWatch {
 public:
  qzThreadWatch();
  double getWallSeconds() const { return mWall.getSeconds(); }
  double getLongestSeconds() const;

 private:
  qzStopwatch mWall{qzStopwatch::eWallTime};
  std::map<int, double> mBefore;  // processor times by thread number of the system
};

/// One side of a comparison.
struct qzContestant {
  std::string mName;
  double mItems;                            ///< triangles, rays or queries per run
  std::function<double()> mRun;             ///< does the work once, returns the seconds of the timed part
  std::function<double()> mAgreement = {};  ///< after the runs: share of answers equal to the first contestant's
  std::string mDetail = {};                 ///< what the name does not say, such as the mode of a peer
};

struct qzTiming {
  std::vector<double> mSecondsPerItem;  ///< one per round

  double getMedian() const;
  double getSpread() const;  ///< median absolute deviation, relative to the median
};

/// Runs every contestant once per round, in the order of the list. Returns one timing per contestant.
std::vector<qzTiming> runInTurn(const std::vector<qzContestant>& contestants, int rounds);

/// Speed of own relative to other: the median over the rounds of other's time per item divided by own's.
double timesAsFast(const qzTiming& own, const qzTiming& other);

double median(std::vector<double> values);

/// Pins this thread, and those it starts, to the processor it runs on now; false when the system refuses.
bool pinToOneProcessor();
/// Undoes pinToOneProcessor.
void allowAllProcessors();

/// Throws std::logic_error unless the floating-point mode is the default one: rounding to nearest, denormals kept. The
/// library is measured in that mode, whatever its peers set.
void expectDefaultFloatMode();

}  // namespace qzBench
