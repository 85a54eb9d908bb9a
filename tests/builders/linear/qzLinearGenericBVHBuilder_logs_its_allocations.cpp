// The four log records of a build: their sizes, which of them a cancelled build writes, and where they go.

#include "support/access/qzBothBuilders.h"
#include "support/access/qzSameTrees.h"
#include "support/qzStandardStream.h"
#include "support/scenes/qzBoxScenes.h"

#include <doctest/doctest.h>

using namespace qzTest;

namespace {

// A container of count equal boxes, of which it stores one.
class SameBoxes : public qzLinearGenericBVHBuilder::tPrimitiveContainerInterface {
 public:
  explicit SameBoxes(unsigned int count) : mCount(count), mBox(Wm4::Vector3<float>(1.0f, 2.0f, 3.0f)) {}
  const qzBBox* getBBox(unsigned int) const override { return &mBox; }
  unsigned int getQuantity() const override { return mCount; }

 private:
  unsigned int mCount;
  qzBBox mBox;
};

// The texts of the records of a build of count equal boxes, cancelled at its first poll.
std::vector<std::string> recordsOfCancelledBuild(unsigned int count) {
  LogCapture log;
  qzLinearGenericBVHBuilder builder;
  qzGenericBVH tree;
  const CancelAtPoll cancel(0);
  CHECK_FALSE(builder.build(SameBoxes(count), tree, &cancel, 10));
  std::vector<std::string> texts;
  for (const Record& record : log.records()) texts.push_back(record.text);
  return texts;
}

// A logger that enables the first count records only.
class Quota : public InstalledLog {
 public:
  explicit Quota(std::size_t count) : mCount(count) {}

  bool isLogTypeEnabled(qz::qzLogType type) const override { return type == qz::eLogInfo && mTexts.size() < mCount; }
  void write(qz::qzLogType, const std::string&, const std::string& text) override { mTexts.push_back(text); }
  const std::vector<std::string>& texts() const { return mTexts; }

 private:
  std::size_t mCount;
  std::vector<std::string> mTexts;
};

}  // namespace

TEST_CASE("sizes in records have at most one decimal below 100 and none above, halves rounded down") {
  struct Expected {
    unsigned int nbPrimitives;
    const char* size;
  };
  const Expected kExpected[] = {
      {1, "4B"},          {2, "8B"},          {3, "12B"},       {25, "100B"},      {255, "1020B"},
      {256, "1kB"},       {320, "1.2kB"},     {321, "1.3kB"},   {384, "1.5kB"},    {448, "1.7kB"},
      {449, "1.8kB"},     {1000, "3.9kB"},    {1024, "4kB"},    {2560, "10kB"},    {2586, "10.1kB"},
      {25587, "99.9kB"},  {25588, "100kB"},   {25600, "100kB"}, {25728, "100kB"},  {25729, "101kB"},
      {261887, "1023kB"}, {262143, "1024kB"}, {262144, "1MB"},  {393216, "1.5MB"}, {1000000, "3.8MB"},
  };
  for (const Expected& expected : kExpected) {
    const std::vector<std::string> texts = recordsOfCancelledBuild(expected.nbPrimitives);
    REQUIRE(texts.size() == 2);
    CHECK(texts[0] == std::string("qzLinearGenericBVHBuilder : allocate ") + expected.size + " for " +
                          std::to_string(expected.nbPrimitives) + " primitives indexes");
    CHECK(texts[1] == "qzLinearGenericBVHBuilder : allocate 0B of working buffer");
  }
}

TEST_CASE("the plain form's sizes equal those worked by hand, for all prefixes") {
  struct Expected {
    std::int64_t value;
    const char* text;
  };
  const std::int64_t k = 1024, m = k * k, g = k * m, t = k * g, p = k * t, e = k * p;
  const Expected kExpected[] = {
      {0, "0"},
      {1, "1"},
      {9, "9"},
      {10, "10"},
      {99, "99"},
      {100, "100"},
      {1000, "1000"},
      {1023, "1023"},
      {k, "1k"},
      {1075, "1k"},
      {1076, "1.1k"},
      {1280, "1.2k"},
      {1281, "1.3k"},
      {1536, "1.5k"},
      {4000, "3.9k"},
      {4096, "4k"},
      {10 * k, "10k"},
      {102348, "99.9k"},
      {102349, "100k"},
      {100 * k + 512, "100k"},
      {100 * k + 513, "101k"},
      {m - 1, "1024k"},
      {m, "1M"},
      {m + m / 20, "1M"},
      {m + m / 20 + 1, "1.1M"},
      {10 * m - 1, "10M"},
      {100 * m, "100M"},
      {g, "1G"},
      {5 * g / 2, "2.5G"},
      {t, "1T"},
      {p, "1P"},
      {e, "1E"},
      {3 * e / 2, "1.5E"},
      {std::int64_t(-1), "16E"},
      {std::numeric_limits<std::int64_t>::max(), "8E"},
      {std::numeric_limits<std::int64_t>::min(), "8E"},
  };
  for (const Expected& expected : kExpected) CHECK(qzPlain::formatByteSize(expected.value) == expected.text);
}

TEST_CASE("the sizes in records of 1 to 3000 primitives equal the plain form's") {
  for (unsigned int count = 1; count <= 3000; ++count) {
    const std::string size = qzPlain::formatByteSize(4 * std::int64_t(count)) + "B for ";
    CHECK(recordsOfCancelledBuild(count)[0].find("allocate " + size) != std::string::npos);
  }
}

TEST_CASE("a cancelled build logs its working buffer: 0 bytes before the levels are counted, its size after") {
  const std::vector<qzBBox> corners =
      boxesInCells({{1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}}, 1);
  const std::string indexes = "qzLinearGenericBVHBuilder : allocate 32B for 8 primitives indexes";
  const std::string none = "qzLinearGenericBVHBuilder : allocate 0B of working buffer";
  const std::string sized = "qzLinearGenericBVHBuilder : allocate 120B of working buffer";
  const std::string nodes = "qzLinearGenericBVHBuilder : allocate 512B for 16 result nodes";
  struct Expected {
    std::uint64_t cancelAt, nbPolls;
    std::vector<std::string> texts;
  };
  const Expected kExpected[] = {
      {0, 2, {indexes, none}},   // codes made: the second poll comes after the record
      {1, 3, {indexes, none}},   // sorted
      {2, 4, {indexes, sized}},  // counted
      {3, 4, {indexes, sized}},  // listed: no further poll
      {4, 5, {indexes, sized, nodes}},
  };
  for (const Expected& expected : kExpected) {
    INFO("cancelled at poll ", expected.cancelAt);
    BothBuilders both;
    CHECK_FALSE(both.build(corners, 1, expected.cancelAt));
    CHECK(both.recordTexts() == expected.texts);
    CHECK(both.nbPolls() == expected.nbPolls);
  }
}

TEST_CASE("with the record type disabled nothing is logged, and the tree is the same") {
  const std::vector<qzBBox> boxes = randomBoxes(100, 0.1f, 50);
  BothBuilders both;
  CHECK(both.build(boxes, 20));
  LogCapture log(false);
  qzLinearGenericBVHBuilder builder;
  qzGenericBVH tree;
  CHECK(builder.build(BoxContainer(boxes), tree, nullptr, 20));
  CHECK(log.records().empty());
  CHECK(sameTree(tree, both.tree()));
}

TEST_CASE("isLogTypeEnabled is called for every record") {
  for (std::size_t count = 0; count <= 4; ++count) {
    const Quota quota(count);
    qzLinearGenericBVHBuilder builder;
    qzGenericBVH tree;
    CHECK(builder.build(BoxContainer(randomBoxes(10, 0.1f, 51)), tree, nullptr, 20));
    CHECK(quota.texts().size() == count);
  }
}

TEST_CASE("without a logger the records go to std::clog") {
  REQUIRE(qz::qzLog::msInstance == nullptr);
  const auto textOf = [](auto build) {
    const StandardStream clog(std::clog);
    build();
    return clog.text();
  };
  const BoxContainer container(randomBoxes(10, 0.1f, 52));
  const std::string library = textOf([&] {
    qzLinearGenericBVHBuilder builder;
    qzGenericBVH tree;
    builder.build(container, tree, nullptr, 20);
  });
  const std::string plain = textOf([&] {
    qzPlain::LinearBuilder builder;
    qzPlain::Tree tree;
    builder.build(container, tree, nullptr, 20);
  });
  CHECK(library == plain);
  CHECK(library.find("qzLinearGenericBVHBuilder : allocate 40B for 10 primitives indexes") != std::string::npos);
}
