#pragma once
// Everything that a build lets its caller see, in one order: calls to the container, polls and log records.

#include "support/qzObservers.h"

#include <cstdint>
#include <vector>

namespace qzTest {

struct Journal {
  std::vector<Event> events;
  std::vector<Record> records;
  std::vector<std::size_t> eventsBeforeRecord;  // one number per record
};

/// The logger while it lives; notes every record in a journal.
class JournalLog : public qz::qzLog {
 public:
  explicit JournalLog(Journal& journal) : mJournal(journal), mPrevious(msInstance) { msInstance = this; }
  ~JournalLog() override { msInstance = mPrevious; }
  JournalLog(const JournalLog&) = delete;
  JournalLog& operator=(const JournalLog&) = delete;

  bool isLogTypeEnabled(qz::qzLogType) const override { return true; }
  void write(qz::qzLogType type, const std::string& category, const std::string& text) override {
    mJournal.records.push_back({type, category, text});
    mJournal.eventsBeforeRecord.push_back(mJournal.events.size());
  }

 private:
  Journal& mJournal;
  qz::qzLog* mPrevious;
};

/// cancelAt of a build that gets no cancel interface at all.
constexpr std::uint64_t kNoInterface = CancelAtPoll::kNever - 1;

/// One build with everything noted. Builder and Tree are the library's classes or those of the plain form.
template <class Builder, class Tree>
bool buildWithJournal(Builder& builder, Tree& tree, const std::vector<qzBBox>& boxes, unsigned int bitsPerAxis,
                      std::uint64_t cancelAt, Journal& journal) {
  const JournalLog log(journal);
  const BoxContainer container(boxes, &journal.events);
  const CancelAtPoll cancel(cancelAt, &journal.events);
  return builder.build(container, tree, cancelAt == kNoInterface ? nullptr : &cancel, bitsPerAxis);
}

}  // namespace qzTest
