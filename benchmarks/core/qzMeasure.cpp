#include <benchmarks/core/qzMeasure.h>

#include <sched.h>
#include <time.h>
#include <xmmintrin.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <stdexcept>

namespace qzBench {

namespace {

double readClock(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

}  // namespace

qzStopwatch::qzStopwatch(tClock clock)
    : mClock(clock == eProcessorTime ? CLOCK_PROCESS_CPUTIME_ID
             : clock == eThreadTime  ? CLOCK_THREAD_CPUTIME_ID
                                     : CLOCK_MONOTONIC),
      mStart(readClock(mClock)) {}

double qzStopwatch::getSeconds() const {
  return readClock(mClock) - mStart;
}

namespace {

/// Processor times of this process's threads.
std::map<int, double> threadTimes() {
  std::map<int, double> times;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
    const int thread = std::stoi(entry.path().filename().string());
    // The kernel's number of the clock of a thread, as pthread_getcpuclockid makes it.
    times[thread] = readClock(static_cast<clockid_t>((~static_cast<unsigned>(thread) << 3) | 6u));
  }
  return times;
}

}  // namespace

qzThreadWatch::qzThreadWatch() : mBefore(threadTimes()) {}

double qzThreadWatch::getLongestSeconds() const {
  double longest = 0.0;
  for (const auto& [thread, seconds] : threadTimes()) {
    const auto before = mBefore.find(thread);
    longest = std::max(longest, seconds - (before == mBefore.end() ? 0.0 : before->second));
  }
  return longest;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) * 0.5;
}

double qzTiming::getMedian() const {
  return median(mSecondsPerItem);
}

double qzTiming::getSpread() const {
  const double middle = getMedian();
  std::vector<double> deviations;
  for (double seconds : mSecondsPerItem) deviations.push_back(std::fabs(seconds - middle));
  return median(deviations) / middle;
}

std::vector<qzTiming> runInTurn(const std::vector<qzContestant>& contestants, int rounds) {
  std::vector<qzTiming> timings(contestants.size());
  for (int round = 0; round < rounds; ++round)
    for (std::size_t i = 0; i < contestants.size(); ++i)
      timings[i].mSecondsPerItem.push_back(contestants[i].mRun() / contestants[i].mItems);
  return timings;
}

double timesAsFast(const qzTiming& own, const qzTiming& other) {
  std::vector<double> ratios;
  for (std::size_t round = 0; round < own.mSecondsPerItem.size(); ++round)
    ratios.push_back(other.mSecondsPerItem[round] / own.mSecondsPerItem[round]);
  return median(ratios);
}

bool pinToOneProcessor() {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(static_cast<std::size_t>(std::max(sched_getcpu(), 0)), &set);
  return sched_setaffinity(0, sizeof set, &set) == 0;
}

void allowAllProcessors() {
  cpu_set_t set;
  CPU_ZERO(&set);
  for (std::size_t processor = 0; processor < CPU_SETSIZE; ++processor) CPU_SET(processor, &set);
  sched_setaffinity(0, sizeof set, &set);  // the system ignores those that do not exist
}

void expectDefaultFloatMode() {
  constexpr unsigned kStatusFlags = 0x3Fu, kDefault = 0x1F80u;
  if ((_mm_getcsr() & ~kStatusFlags) != kDefault) throw std::logic_error("a peer left the floating-point mode changed");
}

}  // namespace qzBench
