#pragma once
// Observers of a build: loggers, a cancel interface and a container that note how they are called.

#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzSceneGraph/qzCancelInterfaceReadOnly.h>
#include <qzSystem/qzLog.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qzTest {

struct Record {
  qz::qzLogType type;
  std::string category, text;
  bool operator==(const Record& o) const { return type == o.type && category == o.category && text == o.text; }
};

/// A logger that is installed while it lives. Every type of record is enabled.
class InstalledLog : public qz::qzLog {
 public:
  InstalledLog() : mPrevious(msInstance) { msInstance = this; }
  ~InstalledLog() override { msInstance = mPrevious; }
  InstalledLog(const InstalledLog&) = delete;
  InstalledLog& operator=(const InstalledLog&) = delete;

  bool isLogTypeEnabled(qz::qzLogType) const override { return true; }

 private:
  qz::qzLog* mPrevious;
};

/// Keeps every record.
class LogCapture : public InstalledLog {
 public:
  explicit LogCapture(bool enabled = true) : mEnabled(enabled) {}

  bool isLogTypeEnabled(qz::qzLogType) const override { return mEnabled; }
  void write(qz::qzLogType type, const std::string& category, const std::string& text) override {
    mRecords.push_back({type, category, text});
  }
  const std::vector<Record>& records() const { return mRecords; }

 private:
  bool mEnabled;
  std::vector<Record> mRecords;
};

/// Enables records of one type only, and notes which types it was asked about.
class LogOfOneType : public LogCapture {
 public:
  explicit LogOfOneType(int type) : mType(type) {}

  bool isLogTypeEnabled(qz::qzLogType type) const override {
    mAsked.push_back(type);
    return type == mType;
  }
  const std::vector<int>& asked() const { return mAsked; }

 private:
  int mType;
  mutable std::vector<int> mAsked;
};

/// Counts the records and keeps none, so it does not allocate.
class RecordCount : public InstalledLog {
 public:
  void write(qz::qzLogType, const std::string&, const std::string&) override { ++mNbRecords; }
  int nbRecords() const { return mNbRecords; }

 private:
  int mNbRecords = 0;
};

/// While it lives, no logger is installed.
class NoLog {
 public:
  NoLog() : mPrevious(qz::qzLog::msInstance) { qz::qzLog::msInstance = nullptr; }
  ~NoLog() { qz::qzLog::msInstance = mPrevious; }
  NoLog(const NoLog&) = delete;
  NoLog& operator=(const NoLog&) = delete;

 private:
  qz::qzLog* mPrevious;
};

/// One call that a build made: getBBox(number) or getQuantity() of the container, or a poll of the cancel interface.
struct Event {
  enum Kind : std::uint8_t { eBox, eQuantity, ePoll } kind;
  std::uint32_t number;
  bool operator==(const Event& o) const { return kind == o.kind && number == o.number; }
};

/// Cancels at poll number cancelAt (the first is 0) and at every later one. Counts the polls, and appends them to events
/// if there are any.
class CancelAtPoll : public qz::qzCancelInterfaceReadOnly {
 public:
  static constexpr std::uint64_t kNever = ~std::uint64_t(0);

  explicit CancelAtPoll(std::uint64_t cancelAt, std::vector<Event>* events = nullptr)
      : mCancelAt(cancelAt), mEvents(events) {}
  bool isCanceled() const override {
    if (mEvents != nullptr) mEvents->push_back({Event::ePoll, 0});
    return mPolls++ >= mCancelAt;
  }
  std::uint64_t polls() const { return mPolls; }

 private:
  std::uint64_t mCancelAt;
  std::vector<Event>* mEvents;
  mutable std::uint64_t mPolls = 0;
};

/// A container of the given boxes. Appends the calls to events, if there are any.
class BoxContainer : public qzLinearGenericBVHBuilder::tPrimitiveContainerInterface {
 public:
  explicit BoxContainer(std::vector<qzBBox> boxes, std::vector<Event>* events = nullptr)
      : mBoxes(std::move(boxes)), mEvents(events) {}
  const qzBBox* getBBox(unsigned int i) const override {
    if (mEvents != nullptr) mEvents->push_back({Event::eBox, i});
    return &mBoxes[i];
  }
  unsigned int getQuantity() const override {
    if (mEvents != nullptr) mEvents->push_back({Event::eQuantity, 0});
    return static_cast<unsigned int>(mBoxes.size());
  }

 private:
  std::vector<qzBBox> mBoxes;
  std::vector<Event>* mEvents;
};

}  // namespace qzTest
