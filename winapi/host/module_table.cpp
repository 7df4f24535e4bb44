#include "winapi/host/module_table.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <set>
#include <string>

#include "winapi/errors.h"
#include "winapi/host/access_lists.h"
#include "winapi/host/call.h"
#include "winapi/host/control.h"
#include "winapi/host/last_error.h"
#include "winapi/host/text.h"
#include "winapi/host/time_zone.h"
#include "winapi/host/transacted_registry.h"
#include "winapi/host/transactions.h"
#include "winapi/host/trust.h"
#include "winapi/modules.h"

namespace winapi::host {
namespace {

Bool WINAPI_STDCALL SetDefaultDllDirectories(Dword flags) noexcept {
  constexpr Dword kSearchFlags = 0x1F00;       // the five LOAD_LIBRARY_SEARCH_... that there are
  constexpr Dword kDllLoadDirectory = 0x0100;  // means something to LoadLibraryExW only
  Call call("SetDefaultDllDirectories");
  call.Mask("flags", flags);
  if (const auto fault = call.Fault()) return FailWith(*fault, Bool{0});
  if (flags == 0 || (flags & ~(kSearchFlags & ~kDllLoadDirectory)) != 0) {
    return FailWith(kErrorInvalidParameter, Bool{0});
  }
  return 1;  // nothing to be done: the host loads system modules only
}

// Functions that the tool looks up and never calls. Each has an address of its own, so that a test
// can tell them apart.
template <int kNumber>
void NeverCalled() {
  (void)std::fprintf(stderr, "host: call of placeholder function %d\n", kNumber);
  std::abort();
}

template <class Function>
Procedure AddressOf(Function* function) {
  return reinterpret_cast<Procedure>(function);
}

// Functions by the modules that Windows has them in. Those that the product calls are the host's
// own; the others are only looked up, for the entry tables. `isResident`: what every Windows
// process has from its start, so that it is found without having been loaded. A deque, so that the
// addresses, which are the handles, stay.
std::deque<ModuleEntry> MakeModules() {
  return {
      {.name = u"", .procedures = {}},
      {.name = u"kernel32.dll",
       .procedures = {{"SetDefaultDllDirectories", AddressOf(SetDefaultDllDirectories)},
                      {"GetTimeZoneInformationForYear", AddressOf(GetTimeZoneInformationForYear)},
                      {"GetThreadDescription", NeverCalled<1>},
                      {"SetThreadDescription", NeverCalled<2>},
                      {"InitializeProcThreadAttributeList", NeverCalled<3>},
                      {"UpdateProcThreadAttribute", NeverCalled<4>}}},
      {.name = u"ntdll.dll",
       .procedures = {{"NtSuspendProcess", NeverCalled<5>},
                      {"NtResumeProcess", NeverCalled<6>},
                      {"NtQueryInformationProcess", NeverCalled<7>},
                      {"NtSetInformationProcess", NeverCalled<8>},
                      {"NtQueryInformationThread", NeverCalled<9>},
                      {"NtSetInformationThread", NeverCalled<10>},
                      {"RtlNtStatusToDosError", NeverCalled<11>}}},
      {.name = u"advapi32.dll",
       .procedures = {{"RegOpenKeyTransactedW", AddressOf(RegOpenKeyTransactedW)},
                      {"AddMandatoryAce", AddressOf(AddMandatoryAce)}}},
      {.name = u"wintrust.dll",
       .procedures = {{"WinVerifyTrust", AddressOf(WinVerifyTrust)},
                      {"WTHelperProvDataFromStateData", AddressOf(WTHelperProvDataFromStateData)},
                      {"WTHelperGetProvSignerFromChain", AddressOf(WTHelperGetProvSignerFromChain)},
                      {"WTHelperGetProvCertFromChain", AddressOf(WTHelperGetProvCertFromChain)}},
       .isResident = false},
      {.name = u"crypt32.dll",
       .procedures = {{"CertGetNameStringW", AddressOf(CertGetNameStringW)}},
       .isResident = false},
      {.name = u"ktmw32.dll",
       .procedures = {{"CreateTransaction", AddressOf(CreateTransaction)},
                      {"CommitTransaction", AddressOf(CommitTransaction)}},
       .isResident = false},
  };
}

struct ModuleState {
  std::deque<ModuleEntry> modules = MakeModules();
  std::set<std::string, std::less<>> hiddenProcedures;
  std::set<std::u16string, std::less<>> hiddenModules;  // upper case
};

ModuleState& TheModuleState() {
  static ModuleState& state = *new ModuleState;
  return state;
}

}  // namespace

ModuleEntry* FindModule(std::u16string_view name) {
  ModuleState& state = TheModuleState();
  if (state.hiddenModules.contains(Upcase(name))) return nullptr;
  const auto found = std::find_if(
      state.modules.begin(), state.modules.end(),
      [name](const ModuleEntry& entry) { return EqualIgnoringCase(entry.name, name); });
  return found == state.modules.end() ? nullptr : &*found;
}

ModuleEntry* FindModule(Module handle) {
  ModuleState& state = TheModuleState();
  const auto found =
      std::find_if(state.modules.begin(), state.modules.end(), [handle](const ModuleEntry& entry) {
        return entry.IsLoaded() &&
               reinterpret_cast<std::uintptr_t>(&entry) == reinterpret_cast<std::uintptr_t>(handle);
      });
  return found == state.modules.end() ? nullptr : &*found;
}

Procedure FindProcedure(const ModuleEntry& entry, const char* name) {
  if (name == nullptr || TheModuleState().hiddenProcedures.contains(std::string_view(name))) {
    return nullptr;
  }
  const auto found =
      std::find_if(entry.procedures.begin(), entry.procedures.end(),
                   [name](const NamedProcedure& procedure) { return procedure.name == name; });
  return found == entry.procedures.end() ? nullptr : found->address;
}

void HideProcedure(std::string_view name) {
  const SeamMark mark;
  TheModuleState().hiddenProcedures.emplace(name);
}

void HideModule(std::string_view name) {
  const SeamMark mark;
  TheModuleState().hiddenModules.insert(Upcase(ToUtf16(name)));
}

void ShowAll() {
  const SeamMark mark;
  TheModuleState().hiddenProcedures.clear();
  TheModuleState().hiddenModules.clear();
}

}  // namespace winapi::host
