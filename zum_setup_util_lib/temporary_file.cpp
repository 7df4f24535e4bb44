#include "zum_setup_util_lib/temporary_file.h"

#include <cstddef>

#include "oru/rtl/check.h"
#include "oru/rtl/error_mapping.h"
#include "oru/rtl/exception_guard.h"
#include "platform/util/windows/filesystem/file_operations.h"
#include "platform/util/windows/filesystem/path.h"
#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/handles.h"
#include "zum_setup_util_lib/guid_text.h"
#include "zum_setup_util_lib/temporary_directory.h"

namespace correct_setup::helpers {
namespace {

namespace filesystem = product_platform::filesystem;

// Counted without the terminator here: a path of just this length passes, and is refused by the
// system, which counts it.
constexpr std::size_t kLongestPath = winapi::kMaxPath;

oru::ResultCode AppendUniqueName(std::u16string_view prefix, std::u16string& path) {
  if (path.empty()) path = GetTempDirectory();
  if (path.size() > kLongestPath) return oru::errBufferTooSmall;
  const oru::ResultCode rc = filesystem::TestDirectory(path);
  // A link to a directory is none here: who made it chose where the file would go.
  if (rc == oru::sFalse || rc == oru::errFileNotFound) return oru::errPathNotFound;
  if (ORU_FAILED(rc)) return rc;
  const std::u16string name = std::u16string(prefix) + FormatGuidText(NewGuid());
  path = filesystem::JoinPath(path, name);
  return path.size() > kLongestPath ? oru::errBufferTooSmall : oru::sOk;
}

}  // namespace

oru::ResultCode MakeUniqueFileName(std::u16string_view prefix, std::u16string& path) noexcept {
  try {
    return AppendUniqueName(prefix, path);
  } catch (...) {
    return oru::ExceptionGuard();
  }
}

oru::ResultCode CreateTemporaryFile(std::u16string_view prefix, std::u16string& path) noexcept {
  if (const oru::ResultCode rc = MakeUniqueFileName(prefix, path); ORU_FAILED(rc)) return rc;
  // No access is asked for: the file is only to be made, and never where one of that name is.
  const winapi::Handle file = winapi::CreateFileW(path.c_str(), /*access=*/0, /*share=*/0,
                                                  /*security=*/nullptr, winapi::kCreateNew,
                                                  /*flags=*/0, /*templateFile=*/nullptr);
  if (file == winapi::InvalidHandleValue()) {
    // Before the report, which runs foreign code.
    const winapi::Error error = winapi::GetLastError();
    ORU_CHECK_TEXT(false, "!\"Can't create a temporary file\"");
    const oru::ResultCode rc = oru::Win32ErrorToResult(error);
    // An error of 0 is a success to the caller, which goes on without a file: settled so, and only
    // this tells of it.
    ORU_CHECK(ORU_FAILED(rc));
    return rc;
  }
  // What becomes of the close doesn't matter: the file is there.
  winapi::CloseHandle(file);
  return oru::sOk;
}

}  // namespace correct_setup::helpers
