// The modules that the host has and the functions that can be found in them.
#ifndef WINAPI_HOST_MODULE_TABLE_H_
#define WINAPI_HOST_MODULE_TABLE_H_

#include <cstddef>
#include <string_view>
#include <vector>

#include "winapi/types.h"

namespace winapi::host {

inline constexpr std::u16string_view kSystemFolder = u"C:\\Windows\\System32\\";

struct NamedProcedure {
  std::string_view name;
  Procedure address;
};

// Its address is the module's handle.
struct ModuleEntry {
  std::u16string_view name;  // in lower case, with its extension; empty for the program itself
  std::vector<NamedProcedure> procedures;
  bool isResident = true;      // loaded from the start, without a reference
  std::size_t references = 0;  // those that LoadLibraryW and GetModuleHandleExW gave

  [[nodiscard]] bool IsLoaded() const { return isResident || references != 0; }
};

// Null for a module that isn't there or is hidden; it needn't be loaded. Names ignore case.
[[nodiscard]] ModuleEntry* FindModule(std::u16string_view name);
// Null for what isn't a handle of a loaded module.
[[nodiscard]] ModuleEntry* FindModule(Module handle);
// Null for a function that isn't there or is hidden. Names heed case.
[[nodiscard]] Procedure FindProcedure(const ModuleEntry& entry, const char* name);

}  // namespace winapi::host

#endif  // WINAPI_HOST_MODULE_TABLE_H_
