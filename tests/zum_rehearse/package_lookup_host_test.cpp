#include <gtest/gtest.h>

#include <string>

#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/host/control.h"
#include "zum_rehearse/package_lookup.h"

namespace {

namespace host = winapi::host;
using zum_rehearse::LookForPackage;
using zum_rehearse::PackageAnswer;
using zum_rehearse::PackageState;

PackageAnswer LookWith(winapi::Error error, const std::u16string& path = u"C:\\a.msi") {
  host::FailCall("GetFileAttributesW", 1, error);
  const PackageAnswer answer = LookForPackage(path);
  host::ClearFaults();
  return answer;
}

// 21 a drive without its disk, 32 a sharing violation, 53 a server that isn't found, 1326 a logon
// that the server refuses.
TEST(LookForPackageOnHost, OnlyWhatSaysThatThereIsNoFileMakesItMissing) {
  for (const winapi::Error error : {2U, 3U, 123U, 161U, 267U}) {
    EXPECT_EQ(LookWith(error).state, PackageState::kMissing) << error;
  }
  for (const winapi::Error error : {5U, 21U, 32U, 53U, 64U, 67U, 206U, 1326U}) {
    const PackageAnswer answer = LookWith(error);
    EXPECT_EQ(answer.state, PackageState::kUnreadable) << error;
    EXPECT_EQ(answer.error, error);
  }
}

TEST(LookForPackageOnHost, APathThatIsTooLongToBeLookedAtSaysNothing) {
  const std::u16string path = u"C:\\" + std::u16string(winapi::kMaxPath - 3, u'a');
  const PackageAnswer answer = LookWith(winapi::kErrorPathNotFound, path);
  EXPECT_EQ(answer.state, PackageState::kUnreadable);
  EXPECT_EQ(answer.error, winapi::kErrorFilenameTooLong);
  const std::u16string shorter = path.substr(0, path.size() - 1);
  EXPECT_EQ(LookWith(winapi::kErrorPathNotFound, shorter).state, PackageState::kMissing);
  const std::u16string prefixed = u"\\\\?\\" + path;
  EXPECT_EQ(LookWith(winapi::kErrorPathNotFound, prefixed).state, PackageState::kMissing);
}

}  // namespace
