#pragma once
// How things are timed here: on one pinned thread, with the processor-time clock of the process, all contestants of a
// comparison in turn, round after round. Machines drift; what holds is the ratio of two contestants in the same round.

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace qzBench {

/// Seconds since it was made: of processor time of all threads of this process, of this thread alone, or on the wall.
class qzStopwatch {
 public:
  enum tClock { eProcessorTime, eThreadTime, eWallTime };
  explicit qzStopwatch(tClock clock = eProcessorTime);
  double getSeconds() const;

 private:
  int mClock;
  double mStart;
};

/// Somebody who does the work of a comparison.
struct qzContestant {
  std::string mName;
  double mItems;                            ///< how many triangles, rays or queries one run works through
  std::function<double()> mRun;             ///< does the work once, returns the seconds of the part that counts
  std::function<double()> mAgreement = {};  ///< after the runs: share of answers that are those of the first contestant
};

struct qzTiming {
  std::vector<double> mSecondsPerItem;  ///< one per round

  double getMedian() const;
  double getSpread() const;  ///< median deviation from the median, as a share of it
};

/// Runs every contestant once per round, the first one first. One timing per contestant.
std::vector<qzTiming> runInTurn(const std::vector<qzContestant>& contestants, int rounds);

/// How many times as fast as the other one is a contestant: the median over the rounds of the other's time per item
/// over its own.
double timesAsFast(const qzTiming& own, const qzTiming& other);

double median(std::vector<double> values);

/// Keeps this thread, and those it starts, on the processor it runs on now; false when the system refuses.
bool pinToOneProcessor();
void allowAllProcessors();

/// Order-dependent hash of words, the same on every machine.
class qzFingerprint {
 public:
  void add(const void* bytes, std::size_t size);  ///< size must be a multiple of 4
  std::string getText() const;                    ///< 8 hexadecimal digits

 private:
  unsigned long long mState = 14695981039346656037ull;
};

}  // namespace qzBench
