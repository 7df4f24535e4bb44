#include "platform/winapi/winapi/handles.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>

#include "platform/winapi/host/call.h"
#include "platform/winapi/host/clock.h"
#include "platform/winapi/host/control.h"
#include "platform/winapi/host/last_error.h"
#include "platform/winapi/host/live.h"
#include "platform/winapi/winapi/errors.h"

namespace winapi {
namespace {

// What a wait on an object gives.
struct Object {
  Dword waitResult = kWaitObject0;
  Error error = kErrorSuccess;
};

struct Table {
  std::mutex mutex;
  std::uintptr_t lastHandle = 0x1000;  // grows for ever, so a closed handle is never open again
  std::map<std::uintptr_t, Object> objects;
};

Table& TheTable() {
  static Table& table = *new Table;
  return table;
}

// -1 and -2: the process and the thread themselves, open for ever.
bool IsPseudoHandle(Handle handle) {
  const auto number = reinterpret_cast<std::intptr_t>(handle);
  return number == -1 || number == -2;
}

Handle Open(Object object) {
  const host::SeamMark mark;
  Table& table = TheTable();
  const std::lock_guard lock(table.mutex);
  table.lastHandle += 4;  // Windows' handles are multiples of four
  table.objects.emplace(table.lastHandle, object);
  ++host::liveCounters.handles;
  return reinterpret_cast<Handle>(table.lastHandle);
}

bool Close(Handle handle) {
  Table& table = TheTable();
  const std::lock_guard lock(table.mutex);
  if (table.objects.erase(reinterpret_cast<std::uintptr_t>(handle)) == 0) return false;
  --host::liveCounters.handles;
  return true;
}

std::optional<Object> Find(Handle handle) {
  if (IsPseudoHandle(handle)) return Object{.waitResult = kWaitTimeout};
  Table& table = TheTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.objects.find(reinterpret_cast<std::uintptr_t>(handle));
  return found == table.objects.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace

Bool CloseHandle(Handle handle) noexcept {
  host::Call call("CloseHandle");
  call.Argument("handle", handle);
  const auto fault = call.Fault();
  const bool closed = IsPseudoHandle(handle) || Close(handle);
  if (fault) return host::FailWith(*fault, Bool{0});
  return closed ? 1 : host::FailWith(kErrorInvalidHandle, Bool{0});
}

Dword WaitForSingleObjectEx(Handle handle, Dword milliseconds, Bool alertable) noexcept {
  host::Call call("WaitForSingleObjectEx");
  call.Argument("handle", handle).Argument("milliseconds", milliseconds);
  call.Argument("alertable", static_cast<Dword>(alertable));
  if (const auto fault = call.Fault()) return host::FailWith(*fault, kWaitFailed);
  const std::optional<Object> object = Find(handle);
  if (!object) return host::FailWith(kErrorInvalidHandle, kWaitFailed);
  if (object->waitResult == kWaitTimeout) {
    if (milliseconds == kInfinite) {
      // Nothing here will ever signal it: better an end with a reason than a test that hangs.
      std::fputs("host: a wait without end on an object that is never signalled\n", stderr);
      std::abort();
    }
    host::LetPass(milliseconds);
  }
  if (object->error != kErrorSuccess) host::SetThreadError(object->error);
  return object->waitResult;
}

Handle host::MakeWaitable(bool signalled) {
  return Open({.waitResult = signalled ? kWaitObject0 : kWaitTimeout});
}

Handle host::MakeWaitableWithResult(Dword result, Error error) {
  return Open({.waitResult = result, .error = error});
}

}  // namespace winapi
