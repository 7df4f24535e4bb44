#include "winapi/modules.h"

#include <windows.h>

#include "winapi/win32/shape.h"
#include "winapi/win32/wide.h"

namespace winapi {

static_assert(kGetModuleHandleExUnchangedRefcount == GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT);
static_assert(sizeof(Module) == sizeof(HMODULE));

static_assert(
    win32::kSameShape<SetDefaultDllDirectoriesFunction, decltype(&::SetDefaultDllDirectories)>);

Module LoadLibraryW(const char16_t* name) noexcept {
  return reinterpret_cast<Module>(::LoadLibraryW(win32::Wide(name)));
}

Bool FreeLibrary(Module module) noexcept { return ::FreeLibrary(win32::Wide(module)); }

Module GetModuleHandleW(const char16_t* name) noexcept {
  return reinterpret_cast<Module>(::GetModuleHandleW(win32::Wide(name)));
}

Module GetModuleHandleA(const char* name) noexcept {
  return reinterpret_cast<Module>(::GetModuleHandleA(name));
}

Bool GetModuleHandleExW(Dword flags, const char16_t* name, Module* module) noexcept {
  return ::GetModuleHandleExW(flags, win32::Wide(name), reinterpret_cast<HMODULE*>(module));
}

Procedure GetProcAddress(Module module, const char* name) noexcept {
  return reinterpret_cast<Procedure>(::GetProcAddress(win32::Wide(module), name));
}

Dword GetModuleFileNameW(Module module, char16_t* path, Dword size) noexcept {
  return ::GetModuleFileNameW(win32::Wide(module), win32::Wide(path), size);
}

}  // namespace winapi
