#include "zum_rehearse/package_lookup.h"

#include "winapi/errors.h"
#include "winapi/files.h"

namespace zum_rehearse {
namespace {

bool SaysThatItIsMissing(winapi::Error error) {
  switch (error) {
    case winapi::kErrorFileNotFound:
    case winapi::kErrorPathNotFound:
    case winapi::kErrorInvalidName:
    case winapi::kErrorBadPathname:
    case winapi::kErrorNotADirectory:
      return true;
    default:
      return false;
  }
}

// The system says of such a path that its folder is missing.
bool IsTooLong(const std::u16string& path) {
  return path.size() >= winapi::kMaxPath && !path.starts_with(u"\\\\?\\");
}

}  // namespace

PackageAnswer LookForPackage(const std::u16string& path) {
  const winapi::Dword attributes = winapi::GetFileAttributesW(path.c_str());
  if (attributes != winapi::kInvalidFileAttributes) {
    const bool isFile = (attributes & winapi::kFileAttributeDirectory) == 0;
    return {isFile ? PackageState::kPresent : PackageState::kMissing};
  }
  winapi::Error error = winapi::GetLastError();
  if (error == winapi::kErrorPathNotFound && IsTooLong(path)) error = winapi::kErrorFilenameTooLong;
  if (SaysThatItIsMissing(error)) return {PackageState::kMissing};
  return {PackageState::kUnreadable, error};
}

}  // namespace zum_rehearse
