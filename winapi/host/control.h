// The test face of the host layer: what a test can see of it, and how it makes it misbehave.
//
// Nothing of this exists in the Windows program. All of it belongs to one process and isn't locked:
// a test calls it from the thread that calls the product. Names of operations are those of the
// functions, such as "RegSetValueExW"; a function found by GetProcAddress has its own name too,
// such as "SetDefaultDllDirectories".
#ifndef WINAPI_HOST_CONTROL_H_
#define WINAPI_HOST_CONTROL_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "winapi/guid.h"
#include "winapi/time.h"
#include "winapi/types.h"

namespace winapi::host {

// One call of a seam operation. Arguments stand in the order of the function's parameters, by their
// names, as text: strings as UTF-8 ("(null)" for null), numbers in decimal, masks and handles as 0x
// hexadecimal, data as pairs of hexadecimal digits. Parameters that are only written to are left
// out; a key that was opened stands behind the others as "*result".
struct CallRecord {
  std::string operation;
  std::vector<std::pair<std::string, std::string>> arguments;
  bool failed = false;  // by an injected fault

  // The text of an argument, empty if there is none of that name.
  [[nodiscard]] std::string Argument(std::string_view name) const;
};

// The calls since the process started or since ClearCallLog, in order. The log is off until
// StartCallLog, but counting for faults isn't; calls before the program's entry are kept in any
// case. StartCallLog keeps what is there. The reference is good until the next call of the seam.
void StartCallLog();
void StopCallLog();
void ClearCallLog();
[[nodiscard]] const std::vector<CallRecord>& CallLog();
// The calls of one operation in the log.
[[nodiscard]] std::vector<CallRecord> CallsOf(std::string_view operation);

// Faults. `nth` counts from 1, from the moment of this call. The operation then answers as it does
// on a failure: with `error` as its result where it returns one, else with its failure value and
// `error` as the last error. For kForever each later call fails too. Faults add up: each counts on
// its own, and where two hit the same call the older one gives the error.
//
// A fault changes nothing else, with one exception: a closing operation (such as RegCloseKey) that
// is made to fail has let go of its object all the same. The product did its part, and what stays
// open after a sweep is its leak.
enum class Repeat { kOnce, kForever };
void FailCall(std::string_view operation, std::size_t nth, Error error,
              Repeat repeat = Repeat::kOnce);
// The Nth call of the whole seam, whatever it is. Operations that can't fail aren't counted. Takes
// the place of an earlier FailAnyCall.
void FailAnyCall(std::size_t nth, Error error, Repeat repeat = Repeat::kOnce);
void ClearFaults();
// Calls that can fail since the last FailAnyCall or ClearFaults, and faults injected since
// ClearFaults.
[[nodiscard]] std::size_t FallibleCallCount();
[[nodiscard]] std::size_t InjectedFaultCount();

// Allocation faults: the test program's replaced operator new, malloc and realloc ask this before
// each allocation. Allocations made inside the seam are neither counted nor failed.
void FailAllocation(std::size_t nth, Repeat repeat = Repeat::kOnce);
[[nodiscard]] bool ShouldFailAllocation() noexcept;
[[nodiscard]] std::size_t AllocationCount();  // since the last FailAllocation or ClearFaults
// The calls of the log that came before the first allocation that was failed since then; nullopt
// where none was.
[[nodiscard]] std::optional<std::size_t> CallsBeforeAllocationFault();

// True while a seam operation runs on this thread.
[[nodiscard]] bool InsideSeam() noexcept;

// What is still open: registry keys, kernel and search handles, module references, heap and local
// memory blocks, and states of the trust provider.
struct LiveResources {
  std::size_t keys = 0;
  std::size_t handles = 0;
  std::size_t moduleReferences = 0;
  std::size_t heapBlocks = 0;
  std::size_t localBlocks = 0;
  std::size_t trustStates = 0;
};
[[nodiscard]] LiveResources Live();

// The command line that GetCommandLineW gives; nullopt, and without a call, the process's own.
void SetCommandLine(std::optional<std::u16string> commandLine);

// Process and thread number; 0 means the real one.
void SetIdentity(Dword processId, Dword threadId);

// The program's path that GetModuleFileNameW gives for null; nullopt: the real one.
void SetModuleFileName(std::optional<std::u16string> path);

// Takes functions out of what GetProcAddress finds, and modules out of what can be found or loaded.
void HideProcedure(std::string_view name);
void HideModule(std::string_view name);
void ShowAll();

// The clock stands still at `ticks` (100 ns since 1601) until SetClock(nullopt); Sleep then moves
// it on and doesn't wait. Sleeps() are the milliseconds asked for, since the process started.
void SetClock(std::optional<std::uint64_t> ticks);
[[nodiscard]] const std::vector<Dword>& Sleeps();

// The time zone: a name of the system's zone database ("Europe/Berlin"), or rules of the test's own
// by year, where nullopt makes the asking operation fail with 2; an empty name takes the process's
// TZ again. SetTimeZone puts the name into TZ, so the C library's local time follows, and ends what
// SetTimeZoneRule began.
void SetTimeZone(std::string_view name);
using ZoneRule = std::function<std::optional<TimeZoneInformation>(unsigned year)>;
void SetTimeZoneRule(ZoneRule rule);
// The number by which GetTimeZoneInformation tells what time is on, whatever the rules say; nullopt
// lets it tell the truth again.
void SetTimeZoneId(std::optional<Dword> id);

// How many ticks the local clock of FileTimeToLocalFileTime is behind UTC, whatever the rules say;
// nullopt lets it follow them again.
void SetLocalClockLag(std::optional<std::int64_t> ticks);

// The version that VerifyVersionInfoW compares with; 6.1 service pack 1 at the start.
void SetSystemVersion(Dword major, Dword minor, std::uint16_t servicePack);

// What the next calls of RegQueryValueExW on a value answer, in place of the store: for values that
// change between two reads. The function gets the buffer's size in bytes and gives error, size and
// data.
struct QueryAnswer {
  Error error = 0;
  Dword type = 1;
  Dword size = 0;                  // what the call reports
  std::vector<std::uint8_t> data;  // copied when error is 0 and it fits
};
using QueryScript = std::function<std::optional<QueryAnswer>(std::u16string_view name, Dword size)>;
void SetQueryScript(QueryScript script);

// What the next calls of GetTempPathW, GetCurrentDirectoryW, GetFullPathNameW or
// GetSystemDirectoryW answer, in place of the real paths: for paths that change between two calls.
// The function gets the buffer's size in characters. An empty function lets the operation tell the
// truth again.
struct PathAnswer {
  std::u16string text = {};          // written where it fits; empty: the call gives 0
  std::optional<Dword> length = {};  // what the call gives instead, with nothing written
};
using PathScript = std::function<PathAnswer(Dword size)>;
void SetPathScript(std::string_view operation, PathScript script);

// A waitable object for tests: signalled or not, or one whose wait gives `result` (such as
// kWaitAbandoned) and leaves `error` as the last error, 0 for none. Closed by CloseHandle.
[[nodiscard]] Handle MakeWaitable(bool signalled);
[[nodiscard]] Handle MakeWaitableWithResult(Dword result, Error error);

// The source of CoCreateGuid: fills its argument and gives the result, negative for a failure. Null
// takes the system's random numbers again.
using GuidSource = std::function<std::int32_t(Guid& guid)>;
void SetGuidSource(GuidSource source);

// Files and directories are named by Windows paths here and must exist; false where they don't.
//
// A locked one is held open by somebody else who shares it with nobody: it can't be read, copied
// onto, deleted or removed (32). Its attributes can be asked for.
bool LockFile(std::u16string_view path);
bool UnlockFile(std::u16string_view path);
// A read-only directory lets nobody make, delete or remove anything in it (5), not even root.
bool SetReadOnlyDirectory(std::u16string_view path, bool readOnly);

// What CreateDirectoryW was given as a descriptor, in Windows' binary forms. A list that is present
// and null is told by `control` alone.
struct CapturedDescriptor {
  std::uint16_t control = 0;  // 4: access list present, 16: system list present
  std::optional<std::vector<std::uint8_t>> owner;
  std::optional<std::vector<std::uint8_t>> group;
  std::optional<std::vector<std::uint8_t>> dacl;
  std::optional<std::vector<std::uint8_t>> sacl;
  bool operator==(const CapturedDescriptor&) const = default;
};
// The descriptor of the directory that CreateDirectoryW made last at that path, which may be gone
// by now. nullopt where it made none or was given no descriptor.
[[nodiscard]] std::optional<CapturedDescriptor> DescriptorOf(std::u16string_view path);

// The token of the process: security identifiers in their binary form. At the start the user is
// S-1-5-21-0-0-0-1000 with the high integrity level, S-1-16-12288.
struct TokenContent {
  std::vector<std::uint8_t> user;
  std::optional<std::vector<std::uint8_t>> integrityLevel;  // nullopt: a token without a label
};
void SetToken(TokenContent content);
// Such as MakeSid(5, {18}) for S-1-5-18.
[[nodiscard]] std::vector<std::uint8_t> MakeSid(std::uint8_t authority,
                                                const std::vector<Dword>& subAuthorities);

// The code that GetExitCodeProcess gives for every program that has ended, all 32 bits of it;
// nullopt: the program's own again.
void SetExitCode(std::optional<Dword> code);
// What a wait on a started program gives, without waiting for it, such as kWaitAbandoned; nullopt:
// waits again.
void SetProgramWait(std::optional<Dword> result);
// Programs that CreateProcessW started and that haven't ended.
[[nodiscard]] std::size_t RunningPrograms();

// What the trust provider says of every file that is there: the result of WinVerifyTrust (at the
// start "no signature", for a file that has none), the signer's display name, which counts for a
// result of 0 or above, and whether a refused file stays open, as one that passes does. A helper of
// the provider is made to give null by FailCall, and CertGetNameStringW to give 0.
struct TrustVerdict {
  std::int32_t status = static_cast<std::int32_t>(0x800B0100);  // TRUST_E_NOSIGNATURE
  std::u16string signer = {};
  bool holdsRefusedFile = false;
};
void SetTrustVerdict(TrustVerdict verdict);

// The folder that stands for the machine (ZUM_HOST_ROOT), in UTF-8.
[[nodiscard]] std::string RootFolder();

// The registry behind the seam, for setting up and looking at; paths such as
// u"HKEY_LOCAL_MACHINE\\SOFTWARE\\x", always in the 64-bit view.
struct RegistryValue {
  std::u16string name;  // empty: the default value
  Dword type = 0;
  std::vector<std::uint8_t> data;
  bool operator==(const RegistryValue&) const = default;
};
//
// Keys may have longer names here than Windows' 255 characters, so that an enumeration can meet
// one; an open doesn't take them. The functions that change something give false where they did
// nothing: for a key or value that isn't there, a path that no key can have (an unknown hive, more
// than 512 levels, a zero in a name, a line break where the file can't carry it), and all of them
// when the registry file is damaged.
bool CreateRegistryKey(std::u16string_view path);   // with the keys above it
bool DeleteRegistryTree(std::u16string_view path);  // open handles of these keys then give 1018
bool SetRegistryValue(std::u16string_view path, const RegistryValue& value);
bool DeleteRegistryValue(std::u16string_view path, std::u16string_view name);
// In enumeration order; nullopt when the key isn't there.
[[nodiscard]] std::optional<std::vector<std::u16string>> RegistrySubKeys(std::u16string_view path);
[[nodiscard]] std::optional<std::vector<RegistryValue>> RegistryValues(std::u16string_view path);
// Refuses opens of that key that ask for a right of `rights` (5), until the registry is read again.
// 0 refuses none.
void DenyRegistryRights(std::u16string_view path, Dword rights);
// Writes the registry file now, as at process exit, if something changed; false when it couldn't be
// written or is damaged.
bool FlushRegistry();
// Whether the file's bytes are on the disk when it has been written, as at the start. Without that
// a power cut can lose them: for tests that write it a thousand times.
void SetRegistrySync(bool syncs);
// Forgets what is in memory, unwritten changes too, lets another process have the registry, and
// reads the file again at the next use. No key may be open.
void ReloadRegistry();

// Takes back all that the functions of this header have set and forgets what they have seen, as at
// process start: the log (which is off then), faults, clock, zone, scripts, locks, verdicts and so
// on. The registry is reloaded. What is open stays open, with its count in Live(); so do files and
// exception handlers.
void ResetMachine();

}  // namespace winapi::host

#endif  // WINAPI_HOST_CONTROL_H_
