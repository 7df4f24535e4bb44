#include "zum_setup_util_lib/self_defense.h"

#include <cstdint>
#include <exception>
#include <string>

#include "oru/rtl/exception.h"
#include "oru/rtl/trace.h"
#include "platform/util/windows/filesystem/file_operations.h"
#include "zum_setup_util_lib/repeat_execution.h"
#include "zum_setup_util_lib/stage.h"
#include "zum_setup_util_lib/temporary_file.h"
#include "zum_setup_util_lib/tool_result_codes.h"

namespace correct_setup::detail {
namespace {

namespace filesystem = product_platform::filesystem;

// Fixed: neither the environment nor the registry is asked for it.
constexpr char16_t kProductDataPath[] = u"c:\\ProgramData\\Quorvanta\\ZUM\\Data";

// Some 10 seconds for a defence that is being switched off.
constexpr std::uint16_t kRepeatCount = 100;
constexpr helpers::Milliseconds kDelay{100};

// Asked once: a directory that isn't there won't come by waiting.
void RequireDataDirectory() {
  const std::u16string path = kProductDataPath;
  if (filesystem::TestDirectory(path) == oru::sOk) return;
  throw oru::CheckFailedException(kStageSourceFile, __LINE__)
      << u"[correct_setup::detail::CheckSelfDefense] " << u"path is not exists: path = " << path;
}

// Every attempt starts from the directory and not from the name of the last one.
void CreateProbeFile(std::u16string& tempFile) {
  tempFile = kProductDataPath;
  const oru::ResultCode rc = helpers::CreateTemporaryFile(u"", tempFile);
  if (!ORU_FAILED(rc)) return;
  throw oru::CheckResultFailedException(kStageSourceFile, __LINE__, rc)
      << u"[correct_setup::detail::CheckSelfDefense::<lambda_55d4e313ff881600db388e2b646f2faf>"
         u"::operator ()] "
      << u"path = " << tempFile;
}

}  // namespace

void CheckSelfDefense() {
  oru::TraceScope scope;
  ORU_TRACE_SCOPE(scope, oru::kTraceLevelInfo,
                  u"setup\t[correct_setup::detail::CheckSelfDefense] ");
  try {
    RequireDataDirectory();
    std::u16string tempFile;
    helpers::TryExecuteWithRepeat([&tempFile] { CreateProbeFile(tempFile); }, kRepeatCount, kDelay);
    // A probe file that can't be deleted stays behind, without a failure.
    (void)filesystem::RemoveFile(tempFile);
  } catch (const std::exception&) {
    FailStage("setup\t[correct_setup::detail::CheckSelfDefense] ", __LINE__, rcInvalidSelfDefense);
  }
}

}  // namespace correct_setup::detail
