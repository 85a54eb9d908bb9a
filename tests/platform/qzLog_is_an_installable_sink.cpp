#include <doctest/doctest.h>
#include <qzSystem/qzLog.h>

#include <type_traits>

#include "support/qzObservers.h"

using qzTest::LogCapture;

TEST_CASE("no sink is installed at start") {
  CHECK(qz::qzLog::msInstance == nullptr);
}

TEST_CASE("a sink is installed by setting the instance and taken out by setting it back") {
  {
    LogCapture log;
    CHECK(qz::qzLog::msInstance == &log);
    CHECK(qz::qzLog::msInstance->isLogTypeEnabled(qz::eLogInfo));
    qz::qzLog::msInstance->write(qz::eLogInfo, "bvh", "text");
    CHECK(log.records().size() == 1);
  }
  CHECK(qz::qzLog::msInstance == nullptr);
}

TEST_CASE("a sink says itself which types it takes") {
  const LogCapture quiet(false);
  CHECK_FALSE(qz::qzLog::msInstance->isLogTypeEnabled(qz::eLogError));
}

TEST_CASE("log types are the integers 0, 1 and 2") {
  CHECK(std::is_same_v<std::underlying_type_t<qz::qzLogType>, int>);
  CHECK((qz::eLogTrace == 0 && qz::eLogInfo == 1 && qz::eLogError == 2));
}

TEST_CASE("a sink is an abstract class with a virtual destructor") {
  CHECK(std::is_abstract_v<qz::qzLog>);
  CHECK(std::has_virtual_destructor_v<qz::qzLog>);
}
