#include <doctest/doctest.h>
#include <qzSystem/qzLog.h>

#include <memory>
#include <string>
#include <type_traits>

#include "support/access/qzVirtualSlots.h"

namespace {

class Sink : public qz::qzLog {
 public:
  explicit Sink(bool& destroyed) : mDestroyed(destroyed) {}
  ~Sink() override { mDestroyed = true; }
  bool isLogTypeEnabled(qz::qzLogType) const override { return true; }
  void write(qz::qzLogType, const std::string&, const std::string&) override {}

 private:
  bool& mDestroyed;
};

}  // namespace

TEST_CASE("no sink is installed at start") {
  CHECK(qz::qzLog::msInstance == nullptr);
}

TEST_CASE("log types are the integers 0, 1 and 2") {
  CHECK(std::is_same_v<std::underlying_type_t<qz::qzLogType>, int>);
  CHECK((qz::eLogTrace == 0 && qz::eLogInfo == 1 && qz::eLogError == 2));
}

TEST_CASE("qzLog is an abstract class with a virtual destructor") {
  CHECK(std::is_abstract_v<qz::qzLog>);
  CHECK(std::has_virtual_destructor_v<qz::qzLog>);
}

TEST_CASE("a log sink can be destroyed through its base") {
  bool destroyed = false;
  std::unique_ptr<qz::qzLog> sink = std::make_unique<Sink>(destroyed);
  sink.reset();
  CHECK(destroyed);
}

#if defined(__GNUC__)
TEST_CASE("after the destructor the virtual functions are isLogTypeEnabled and write") {
  CHECK(qzTest::virtualSlotOf(&qz::qzLog::isLogTypeEnabled) == 1);
  CHECK(qzTest::virtualSlotOf(&qz::qzLog::write) == 2);
}
#endif
