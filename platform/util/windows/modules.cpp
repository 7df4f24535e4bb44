#include "platform/util/windows/modules.h"

#include "winapi/errors.h"
#include "winapi/modules.h"

namespace windows_helpers {

winapi::Error LastErrorOr(winapi::Error fallback) noexcept {
  // Some calls fail without setting it, and an older 0 stands there then.
  const winapi::Error error = winapi::GetLastError();
  return error != winapi::kErrorSuccess ? error : fallback;
}

winapi::Error FindProcedure(winapi::Module module, const char* name,
                            winapi::Procedure& procedure) noexcept {
  procedure = winapi::GetProcAddress(module, name);
  return procedure != nullptr ? winapi::kErrorSuccess
                              : LastErrorOr(winapi::kErrorProcedureNotFound);
}

winapi::Error FindProcedure(const char16_t* module, const char* name,
                            winapi::Procedure& procedure) noexcept {
  procedure = nullptr;
  // Adds no reference, so there is none to give back; that is why the module has to be one that
  // stays. Nothing is loaded here: that goes by a full path, in SystemLibrary.
  const winapi::Module loaded = winapi::GetModuleHandleW(module);
  if (loaded == nullptr) return LastErrorOr(winapi::kErrorModuleNotFound);
  return FindProcedure(loaded, name, procedure);
}

}  // namespace windows_helpers
