#include "platform/util/windows/registry_transacted.h"

#include "platform/util/windows/modules.h"

namespace windows_helpers {

winapi::Error OpenKeyTransacted(RegKey& newKey, const KernelHandle& transaction, winapi::Key hive,
                                const char16_t* path, winapi::Dword access) noexcept {
  // Looked up since a static import would keep the program from starting where it is missing.
  winapi::Procedure procedure = nullptr;
  if (const winapi::Error missing =
          FindProcedure(u"advapi32.dll", "RegOpenKeyTransactedW", procedure)) {
    return missing;
  }
  const auto open = reinterpret_cast<winapi::RegOpenKeyTransactedWFunction>(procedure);
  winapi::Key opened = nullptr;
  const winapi::Error error = open(hive, path, /*options=*/0, access, &opened,
                                   transaction.GetValue(), /*reserved=*/nullptr);
  if (error == winapi::kErrorSuccess) newKey.Attach(opened);
  return error;
}

}  // namespace windows_helpers
