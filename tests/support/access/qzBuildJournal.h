#pragma once
// The journal of a build: calls to the container, polls and log records, in the order in which they came.

#include "support/qzObservers.h"

#include <cstdint>
#include <vector>

namespace qzTest {

struct Journal {
  std::vector<Event> events;
  std::vector<Record> records;
  std::vector<std::size_t> eventsBeforeRecord;  // one number per record
};

/// A logger that notes every record in a journal.
class JournalLog : public InstalledLog {
 public:
  explicit JournalLog(Journal& journal) : mJournal(journal) {}

  void write(qz::qzLogType type, const std::string& category, const std::string& text) override {
    mJournal.records.push_back({type, category, text});
    mJournal.eventsBeforeRecord.push_back(mJournal.events.size());
  }

 private:
  Journal& mJournal;
};

/// Stands for cancelAt when a build gets no cancel interface.
constexpr std::uint64_t kNoInterface = CancelAtPoll::kNever - 1;

/// Builds and notes everything in journal. Builder and Tree are the library's classes or those of the plain form.
template <class Builder, class Tree>
bool buildWithJournal(Builder& builder, Tree& tree, const std::vector<qzBBox>& boxes, unsigned int bitsPerAxis,
                      std::uint64_t cancelAt, Journal& journal) {
  const JournalLog log(journal);
  const BoxContainer container(boxes, &journal.events);
  const CancelAtPoll cancel(cancelAt, &journal.events);
  return builder.build(container, tree, cancelAt == kNoInterface ? nullptr : &cancel, bitsPerAxis);
}

}  // namespace qzTest
