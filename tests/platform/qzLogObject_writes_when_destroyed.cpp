#include <doctest/doctest.h>
#include <qzSystem/qzLogObject.h>

#include <new>
#include <type_traits>

#include "support/qzObservers.h"
#include "support/qzStandardStream.h"

using qzTest::LogCapture;
using qzTest::Record;
using qzTest::StandardStream;

TEST_CASE("a record is written to its logger by its destructor") {
  LogCapture log;
  {
    qz::qzLogObject record(qz::eLogInfo, "bvh", &log, nullptr, false);
    record << "text";
    CHECK(log.records().empty());
  }
  REQUIRE(log.records().size() == 1);
  CHECK(log.records()[0] == Record{qz::eLogInfo, "bvh", "text"});
}

TEST_CASE("a temporary record is written at the end of its statement") {
  LogCapture log;
  qz::qzLogObject(qz::eLogError, "category", &log, nullptr, false) << "one"
                                                                   << " and "
                                                                   << "two";
  REQUIRE(log.records().size() == 1);
  CHECK(log.records()[0] == Record{qz::eLogError, "category", "one and two"});
}

TEST_CASE("appending returns the record itself") {
  LogCapture log;
  qz::qzLogObject record(qz::eLogTrace, "", &log, nullptr, false);
  CHECK(&(record << "text") == &record);
}

TEST_CASE("a record without text or category is written too") {
  LogCapture log;
  { const qz::qzLogObject record(qz::eLogTrace, "", &log, nullptr, true); }
  REQUIRE(log.records().size() == 1);
  CHECK(log.records()[0] == Record{qz::eLogTrace, "", ""});
}

TEST_CASE("a record goes to the logger it was given, not to the installed one") {
  LogCapture given;
  LogCapture installed;
  qz::qzLogObject(qz::eLogInfo, "bvh", &given, nullptr, false) << "text";
  CHECK(given.records().size() == 1);
  CHECK(installed.records().empty());
}

TEST_CASE("a record does not check whether its type is enabled") {
  LogCapture log(false);
  qz::qzLogObject(qz::eLogTrace, "bvh", &log, nullptr, false) << "text";
  CHECK(log.records().size() == 1);
}

TEST_CASE("without a logger the record is a line on std::clog") {
  const StandardStream clog(std::clog);
  {
    qz::qzLogObject record(qz::eLogInfo, "bvh", nullptr, nullptr, false);
    record << "some "
           << "text";
    CHECK(clog.text().empty());
  }
  CHECK(clog.text() == "bvh: some text\n");
}

TEST_CASE("without a category std::clog gets the text alone") {
  const StandardStream clog(std::clog);
  qz::qzLogObject(qz::eLogError, "", nullptr, nullptr, false) << "text";
  CHECK(clog.text() == "text\n");
}

TEST_CASE("a record cannot be copied") {
  CHECK_FALSE(std::is_copy_constructible_v<qz::qzLogObject>);
  CHECK_FALSE(std::is_copy_assignable_v<qz::qzLogObject>);
}

TEST_CASE("an exception of the logger is caught, and the record lost") {
  struct Thrower : LogCapture {
    void write(qz::qzLogType, const std::string&, const std::string&) override { throw std::bad_alloc(); }
  };
  Thrower log;
  CHECK_NOTHROW(qz::qzLogObject(qz::eLogInfo, "bvh", &log, nullptr, false) << "text");
  CHECK(log.records().empty());
}
