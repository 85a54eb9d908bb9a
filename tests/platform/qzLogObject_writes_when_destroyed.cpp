#include <doctest/doctest.h>
#include <qzSystem/qzLogObject.h>

#include <new>
#include <type_traits>

#include "support/qzObservers.h"
#include "support/qzStandardStream.h"

using qzTest::LogCapture;
using qzTest::Record;
using qzTest::StandardStream;

TEST_CASE("a record reaches its logger when it is destroyed, not before") {
  LogCapture log;
  {
    qz::qzLogObject record(qz::eLogInfo, "bvh", &log, nullptr, false);
    record << "text";
    CHECK(log.records().empty());
  }
  REQUIRE(log.records().size() == 1);
  CHECK(log.records()[0] == Record{qz::eLogInfo, "bvh", "text"});
}

TEST_CASE("a temporary is complete at the end of its statement") {
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

TEST_CASE("a record without text or category is written all the same") {
  LogCapture log;
  { const qz::qzLogObject record(qz::eLogTrace, "", &log, nullptr, true); }
  REQUIRE(log.records().size() == 1);
  CHECK(log.records()[0] == Record{qz::eLogTrace, "", ""});
}

TEST_CASE("a record goes to the logger it was given, whatever is installed") {
  LogCapture given;
  LogCapture installed;
  qz::qzLogObject(qz::eLogInfo, "bvh", &given, nullptr, false) << "text";
  CHECK(given.records().size() == 1);
  CHECK(installed.records().empty());
}

TEST_CASE("the record itself does not ask whether its type is enabled") {
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

TEST_CASE("an empty category leaves only the text on std::clog") {
  const StandardStream clog(std::clog);
  qz::qzLogObject(qz::eLogError, "", nullptr, nullptr, false) << "text";
  CHECK(clog.text() == "text\n");
}

TEST_CASE("a record is written once: it cannot be copied") {
  CHECK_FALSE(std::is_copy_constructible_v<qz::qzLogObject>);
  CHECK_FALSE(std::is_copy_assignable_v<qz::qzLogObject>);
}

TEST_CASE("a logger that throws loses its record, and the program goes on") {
  struct Thrower : LogCapture {
    void write(qz::qzLogType, const std::string&, const std::string&) override { throw std::bad_alloc(); }
  };
  Thrower log;
  CHECK_NOTHROW(qz::qzLogObject(qz::eLogInfo, "bvh", &log, nullptr, false) << "text");
  CHECK(log.records().empty());
}
