#pragma once
// What a build lets its caller see: log records, polls of the cancel interface, calls to the container.

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

/// Installs itself as the logger while it lives and keeps every record.
class LogCapture : public qz::qzLog {
 public:
  explicit LogCapture(bool enabled = true) : mEnabled(enabled), mPrevious(msInstance) { msInstance = this; }
  ~LogCapture() override { msInstance = mPrevious; }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  bool isLogTypeEnabled(qz::qzLogType) const override { return mEnabled; }
  void write(qz::qzLogType type, const std::string& category, const std::string& text) override {
    mRecords.push_back({type, category, text});
  }
  const std::vector<Record>& records() const { return mRecords; }

 private:
  bool mEnabled;
  qz::qzLog* mPrevious;
  std::vector<Record> mRecords;
};

/// Installs itself as the logger while it lives, has every record made and keeps none: takes nothing from the heap.
class RecordCount : public qz::qzLog {
 public:
  RecordCount() : mPrevious(msInstance) { msInstance = this; }
  ~RecordCount() override { msInstance = mPrevious; }
  RecordCount(const RecordCount&) = delete;
  RecordCount& operator=(const RecordCount&) = delete;

  bool isLogTypeEnabled(qz::qzLogType) const override { return true; }
  void write(qz::qzLogType, const std::string&, const std::string&) override { ++mNbRecords; }
  int nbRecords() const { return mNbRecords; }

 private:
  int mNbRecords = 0;
  qz::qzLog* mPrevious;
};

/// One thing that a build asked of its caller: box i of the container, the quantity, or a poll.
struct Event {
  enum Kind : std::uint8_t { eBox, eQuantity, ePoll } kind;
  std::uint32_t number;
  bool operator==(const Event& o) const { return kind == o.kind && number == o.number; }
};

/// Says "cancel" at poll number mCancelAt (the first is 0) and ever after. Counts polls, and notes them if given a
/// list.
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

/// A list of boxes as primitives; notes the calls if given a list.
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
