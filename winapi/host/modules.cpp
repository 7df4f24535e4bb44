#include "winapi/modules.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <string>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/control.h"
#include "winapi/host/last_error.h"
#include "winapi/host/live.h"
#include "winapi/host/module_table.h"
#include "winapi/host/text.h"

namespace winapi {
namespace {

using host::ModuleEntry;

Module HandleOf(ModuleEntry* entry) { return reinterpret_cast<Module>(entry); }

// The kernel's word, not the command line's: that may name anything. Always by Z:, though the
// program may lie in drive_c.
std::u16string OwnPath() {
  char path[PATH_MAX];
  const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path);
  if (length <= 0) return u"Z:\\unknown";
  std::u16string text = host::ToUtf16(std::string_view(path, static_cast<std::size_t>(length)));
  std::replace(text.begin(), text.end(), u'/', u'\\');
  return u"Z:" + text;
}

// Settled at the first question; a test may set another.
std::u16string& ProgramPath() {
  static std::u16string& path = *new std::u16string(OwnPath());
  return path;
}

std::u16string PathOf(const ModuleEntry& entry) {
  if (entry.name.empty()) return ProgramPath();
  return std::u16string(host::kSystemFolder).append(entry.name);
}

// The module that a name means: a bare file name or one with the full path of the system folder,
// ".dll" added where the name has no full stop; null means the program.
ModuleEntry* FindByName(const char16_t* name) {
  if (name == nullptr) return host::FindModule(u"");
  std::u16string_view file(name);
  if (file.empty()) return nullptr;
  const std::size_t folder = host::kSystemFolder.size();
  if (host::EqualIgnoringCase(file.substr(0, folder), host::kSystemFolder)) {
    file.remove_prefix(folder);
  }
  std::u16string complete(file);
  if (complete.find(u'.') == std::u16string::npos) complete += u".dll";
  return host::FindModule(complete);
}

ModuleEntry* FindLoaded(const char16_t* name) {
  ModuleEntry* entry = FindByName(name);
  return entry != nullptr && entry->IsLoaded() ? entry : nullptr;
}

// Null stands for the program.
ModuleEntry* EntryOf(Module module) {
  return module == nullptr ? host::FindModule(u"") : host::FindModule(module);
}

Module AddReference(ModuleEntry* entry) {
  ++entry->references;
  ++host::liveCounters.moduleReferences;
  return HandleOf(entry);
}

}  // namespace

Module LoadLibraryW(const char16_t* name) noexcept {
  host::Call call("LoadLibraryW");
  call.Argument("name", name);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Module{nullptr});
  if (name == nullptr) return host::FailWith(kErrorInvalidParameter, Module{nullptr});
  ModuleEntry* entry = FindByName(name);
  if (entry == nullptr) return host::FailWith(kErrorModuleNotFound, Module{nullptr});
  return AddReference(entry);
}

Bool FreeLibrary(Module module) noexcept {
  host::Call call("FreeLibrary");
  call.Argument("module", module);
  const auto fault = call.Fault();
  if (module == nullptr) return host::FailWith(fault.value_or(kErrorInvalidHandle), Bool{0});
  ModuleEntry* entry = host::FindModule(module);
  // Windows lets a module that it needs itself be given back any number of times. A reference that
  // was never taken is a mistake of the caller, and shows here.
  if (entry == nullptr || entry->references == 0) {
    return host::FailWith(fault.value_or(kErrorModuleNotFound), Bool{0});
  }
  --entry->references;
  --host::liveCounters.moduleReferences;
  return fault ? host::FailWith(*fault, Bool{0}) : 1;
}

Module GetModuleHandleW(const char16_t* name) noexcept {
  host::Call call("GetModuleHandleW");
  call.Argument("name", name);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Module{nullptr});
  ModuleEntry* entry = FindLoaded(name);
  if (entry == nullptr) return host::FailWith(kErrorModuleNotFound, Module{nullptr});
  return HandleOf(entry);
}

Module GetModuleHandleA(const char* name) noexcept {
  host::Call call("GetModuleHandleA");
  call.Argument("name", name);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Module{nullptr});
  const std::u16string wide = name == nullptr ? std::u16string() : host::ToUtf16(name);
  ModuleEntry* entry = FindLoaded(name == nullptr ? nullptr : wide.c_str());
  if (entry == nullptr) return host::FailWith(kErrorModuleNotFound, Module{nullptr});
  return HandleOf(entry);
}

Bool GetModuleHandleExW(Dword flags, const char16_t* name, Module* module) noexcept {
  host::Call call("GetModuleHandleExW");
  call.Mask("flags", flags).Argument("name", name).Argument("module", module);
  if (module == nullptr) return host::FailWith(kErrorInvalidParameter, Bool{0});
  *module = nullptr;
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  if ((flags & ~kGetModuleHandleExUnchangedRefcount) != 0) {
    return host::FailWith(kErrorInvalidParameter, Bool{0});
  }
  ModuleEntry* entry = FindLoaded(name);
  if (entry == nullptr) return host::FailWith(kErrorModuleNotFound, Bool{0});
  const bool unchanged = (flags & kGetModuleHandleExUnchangedRefcount) != 0;
  *module = unchanged ? HandleOf(entry) : AddReference(entry);
  return 1;
}

Procedure GetProcAddress(Module module, const char* name) noexcept {
  host::Call call("GetProcAddress");
  call.Argument("module", module).Argument("name", name);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Procedure{nullptr});
  ModuleEntry* entry = EntryOf(module);
  if (entry == nullptr) return host::FailWith(kErrorModuleNotFound, Procedure{nullptr});
  const Procedure procedure = host::FindProcedure(*entry, name);
  if (procedure == nullptr) host::SetThreadError(kErrorProcedureNotFound);
  return procedure;
}

Dword GetModuleFileNameW(Module module, char16_t* path, Dword size) noexcept {
  host::Call call("GetModuleFileNameW");
  call.Argument("module", module).Argument("path", static_cast<const void*>(path));
  call.Argument("size", size);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Dword{0});
  ModuleEntry* entry = EntryOf(module);
  if (entry == nullptr) return host::FailWith(kErrorModuleNotFound, Dword{0});
  if (size == 0) return host::FailWith(kErrorInsufficientBuffer, Dword{0});
  const std::u16string text = PathOf(*entry);
  const std::size_t copied = std::min<std::size_t>(text.size(), size - 1);
  std::copy_n(text.begin(), copied, path);
  path[copied] = u'\0';
  if (copied < text.size()) return host::FailWith(kErrorInsufficientBuffer, size);
  return static_cast<Dword>(copied);
}

void host::SetModuleFileName(std::optional<std::u16string> path) {
  const SeamMark mark;
  ProgramPath() = path ? std::move(*path) : OwnPath();
}

}  // namespace winapi
