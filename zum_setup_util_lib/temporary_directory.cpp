#include "zum_setup_util_lib/temporary_directory.h"

#include "oru/rtl/exception.h"
#include "platform/util/windows/filesystem/growing_buffer.h"
#include "winapi/files.h"

namespace correct_setup::helpers {
namespace {

// The position names the unit that callers know, whichever file of it this is.
constexpr char kSourceFile[] = "zum_setup_util_lib/helpers";

}  // namespace

// The system goes by TMP, TEMP and the user's profile, whoever may write there: what is put below
// it needs a directory of its own.
std::u16string GetTempDirectory() {
  std::u16string directory;
  const oru::ResultCode rc = product_platform::filesystem::CallWithGrowingBuffer(
      directory,
      [](winapi::Dword size, char16_t* buffer) { return winapi::GetTempPathW(size, buffer); });
  if (ORU_FAILED(rc)) {
    throw oru::CheckResultFailedException(kSourceFile, __LINE__, rc);
  }
  return directory;
}

}  // namespace correct_setup::helpers
