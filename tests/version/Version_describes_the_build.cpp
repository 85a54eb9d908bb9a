#include <doctest/doctest.h>
#include <qzCommonAddOns/version/Version.h>

#include <cstdlib>
#include <string>
#include <type_traits>
#include <vector>

using qzCommonAddOns::Version;

namespace {

const std::string kCommitId = Version::GetCommitId();

std::vector<const char*> allTexts() {
  std::vector<const char*> texts = {Version::GetCommitId(), Version::GetDescStringMajorMinorReleaseRevisionDate()};
  for (const bool secondCopy : {false, true}) {
    texts.push_back(Version::GetDescStringMajorMinor(secondCopy));
    texts.push_back(Version::GetDescStringMajorMinorRelease(secondCopy));
    for (const bool withCommit : {false, true}) {
      texts.push_back(Version::GetDescStringMajorMinorReleaseRevision(secondCopy, withCommit));
    }
  }
  return texts;
}

}  // namespace

TEST_CASE("this is release 3.0.0, revision 1297, of February 2026") {
  CHECK(Version::GetMajor() == 3);
  CHECK(Version::GetMinor() == 0);
  CHECK(Version::GetRelease() == 0);
  CHECK(Version::GetRevision() == 1297);
  CHECK(Version::GetYear() == 2026);
  CHECK(int(Version::GetMonth()) == 2);
}

TEST_CASE("the functions return the documented types") {
  CHECK(std::is_same_v<decltype(Version::GetMajor()), unsigned int>);
  CHECK(std::is_same_v<decltype(Version::GetMinor()), unsigned int>);
  CHECK(std::is_same_v<decltype(Version::GetRelease()), unsigned int>);
  CHECK(std::is_same_v<decltype(Version::GetRevision()), unsigned int>);
  CHECK(std::is_same_v<decltype(Version::GetYear()), unsigned short>);
  CHECK(std::is_same_v<decltype(Version::GetMonth()), unsigned char>);
  CHECK(std::is_same_v<decltype(Version::GetCommitId()), const char*>);
  CHECK(std::is_same_v<decltype(Version::IsDev()), bool>);
  CHECK(std::is_empty_v<Version>);
}

TEST_CASE("a release is not a development, debug or beta build") {
  CHECK_FALSE(Version::IsDev());
  CHECK_FALSE(Version::IsDebug());
  CHECK_FALSE(Version::IsBeta());
}

TEST_CASE("the commit id has 16 lower-case hexadecimal digits") {
  CHECK(kCommitId.size() == 16);
  CHECK(kCommitId.find_first_not_of("0123456789abcdef") == std::string::npos);
}

#if defined(QZ_GIT)
TEST_CASE("the commit id names a commit of the checkout") {
  const std::string command = "\"" QZ_GIT "\" -C \"" QZ_SOURCE_DIR "\" log -1 --format= " + kCommitId + " --";
  CHECK(std::system(command.c_str()) == 0);
}
#endif

TEST_CASE("major, minor and release are joined by points, and the first argument has no visible effect") {
  for (const bool secondCopy : {false, true}) {
    CHECK(Version::GetDescStringMajorMinor(secondCopy) == std::string("3.0"));
    CHECK(Version::GetDescStringMajorMinorRelease(secondCopy) == std::string("3.0.0"));
    CHECK(Version::GetDescStringMajorMinorReleaseRevision(secondCopy, false) == std::string("3.0.0.1297"));
    CHECK(Version::GetDescStringMajorMinorReleaseRevision(secondCopy, true) == "3.0.0.1297 #" + kCommitId);
  }
}

TEST_CASE("the date follows the commit id, the month without a leading zero") {
  CHECK(Version::GetDescStringMajorMinorReleaseRevisionDate() == "3.0.0.1297 #" + kCommitId + " 2026-2");
}

TEST_CASE("the first argument selects between two distinct constants of the same text") {
  CHECK(Version::GetDescStringMajorMinor(false) != Version::GetDescStringMajorMinor(true));
  CHECK(Version::GetDescStringMajorMinorRelease(false) != Version::GetDescStringMajorMinorRelease(true));
  for (const bool withCommit : {false, true}) {
    CHECK(Version::GetDescStringMajorMinorReleaseRevision(false, withCommit) !=
          Version::GetDescStringMajorMinorReleaseRevision(true, withCommit));
  }
}

TEST_CASE("the address and contents of a text do not change with later calls") {
  const std::vector<const char*> texts = allTexts();
  const std::vector<std::string> copies(texts.begin(), texts.end());
  CHECK(bool(allTexts() == texts));
  CHECK(bool(std::vector<std::string>(texts.begin(), texts.end()) == copies));
}
