#include <qzCommonAddOns/version/Version.h>

#include "qzCommitId.h"  // generated: QZ_COMMIT_ID

// The first three numbers are the project's own and come with the compile command.
#define QZ_VERSION_REVISION 1297
#define QZ_VERSION_YEAR 2026
#define QZ_VERSION_MONTH 2

#define QZ_QUOTE(text) #text
#define QZ_TEXT(number) QZ_QUOTE(number)
#define QZ_MAJOR_MINOR QZ_TEXT(QZ_VERSION_MAJOR) "." QZ_TEXT(QZ_VERSION_MINOR)
#define QZ_MAJOR_MINOR_RELEASE QZ_MAJOR_MINOR "." QZ_TEXT(QZ_VERSION_RELEASE)
#define QZ_FOUR_PARTS QZ_MAJOR_MINOR_RELEASE "." QZ_TEXT(QZ_VERSION_REVISION)
#define QZ_FOUR_PARTS_COMMIT QZ_FOUR_PARTS " #" QZ_COMMIT_ID
#define QZ_FOUR_PARTS_COMMIT_DATE QZ_FOUR_PARTS_COMMIT " " QZ_TEXT(QZ_VERSION_YEAR) "-" QZ_TEXT(QZ_VERSION_MONTH)

namespace qzCommonAddOns {

namespace {

// Two copies of every text, as arrays, so that the linker cannot merge them.
constexpr char kMajorMinor[2][sizeof(QZ_MAJOR_MINOR)] = {QZ_MAJOR_MINOR, QZ_MAJOR_MINOR};
constexpr char kMajorMinorRelease[2][sizeof(QZ_MAJOR_MINOR_RELEASE)] = {QZ_MAJOR_MINOR_RELEASE, QZ_MAJOR_MINOR_RELEASE};
constexpr char kFourParts[2][sizeof(QZ_FOUR_PARTS)] = {QZ_FOUR_PARTS, QZ_FOUR_PARTS};
constexpr char kFourPartsCommit[2][sizeof(QZ_FOUR_PARTS_COMMIT)] = {QZ_FOUR_PARTS_COMMIT, QZ_FOUR_PARTS_COMMIT};
static_assert(sizeof(QZ_COMMIT_ID) == 16 + 1, "a commit id has 16 digits");

}  // namespace

unsigned int Version::GetMajor() {
  return QZ_VERSION_MAJOR;
}

unsigned int Version::GetMinor() {
  return QZ_VERSION_MINOR;
}

unsigned int Version::GetRelease() {
  return QZ_VERSION_RELEASE;
}

unsigned int Version::GetRevision() {
  return QZ_VERSION_REVISION;
}

unsigned short Version::GetYear() {
  return QZ_VERSION_YEAR;
}

unsigned char Version::GetMonth() {
  return QZ_VERSION_MONTH;
}

const char* Version::GetCommitId() {
  return QZ_COMMIT_ID;
}

bool Version::IsDev() {
  return false;
}

bool Version::IsDebug() {
  return false;
}

bool Version::IsBeta() {
  return false;
}

const char* Version::GetDescStringMajorMinor(bool secondCopy) {
  return kMajorMinor[secondCopy];
}

const char* Version::GetDescStringMajorMinorRelease(bool secondCopy) {
  return kMajorMinorRelease[secondCopy];
}

const char* Version::GetDescStringMajorMinorReleaseRevision(bool secondCopy, bool withCommit) {
  return withCommit ? kFourPartsCommit[secondCopy] : kFourParts[secondCopy];
}

const char* Version::GetDescStringMajorMinorReleaseRevisionDate() {
  return QZ_FOUR_PARTS_COMMIT_DATE;
}

}  // namespace qzCommonAddOns
