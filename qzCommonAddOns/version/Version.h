#pragma once
// qzCommonAddOns::Version: which build of the library is loaded. Constants of the build. Texts are valid while
// the library is loaded and must not be freed. Any thread may call these functions.

#include <qzCommonAddOns/qzApi.h>

namespace qzCommonAddOns {

class QZ_COMMONADDONS_API Version {
 public:
  /// The four numbers of the version: 3, 0, 0 and 1297.
  static unsigned int GetMajor();
  static unsigned int GetMinor();
  static unsigned int GetRelease();
  static unsigned int GetRevision();

  /// Date of the release; the month counts from 1 to 12.
  static unsigned short GetYear();
  static unsigned char GetMonth();

  /// The source revision the library was built from: the first 16 digits of its commit, lower-case hexadecimal. Sixteen
  /// zeros if it is unknown.
  static const char* GetCommitId();

  /// Whether this is a development, debug or beta build. All three are false in a release.
  static bool IsDev();
  static bool IsDebug();
  static bool IsBeta();

  /// The version as text: "3.0", "3.0.0" and "3.0.0.1297", the last one followed by " #" and the commit on request.
  /// secondCopy selects between two constants with the same characters.
  static const char* GetDescStringMajorMinor(bool secondCopy);
  static const char* GetDescStringMajorMinorRelease(bool secondCopy);
  static const char* GetDescStringMajorMinorReleaseRevision(bool secondCopy, bool withCommit);

  /// The longest of these texts, with the commit, then a blank and year-month, the month without a leading zero.
  static const char* GetDescStringMajorMinorReleaseRevisionDate();
};

}  // namespace qzCommonAddOns
