#include "winapi/handles.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <utility>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/clock.h"
#include "winapi/host/control.h"
#include "winapi/host/handle_table.h"
#include "winapi/host/last_error.h"
#include "winapi/host/live.h"

namespace winapi {
namespace {

using host::KernelObject;
using host::WaitOutcome;

struct HandleTable {
  std::mutex mutex;
  std::uintptr_t lastHandle = 0x1000;
  std::map<std::uintptr_t, std::shared_ptr<KernelObject>> objects;
};

HandleTable& TheHandleTable() {
  static HandleTable& table = *new HandleTable;
  return table;
}

// -1 and -2: the process and the thread themselves, open for ever.
bool IsPseudoHandle(Handle handle) {
  const auto number = reinterpret_cast<std::intptr_t>(handle);
  return number == -1 || number == -2;
}

WaitOutcome WaitInVain(Dword milliseconds) {
  if (milliseconds == kInfinite) {
    // Nothing here will ever signal it: better an end with a reason than a test that hangs.
    (void)std::fputs("host: a wait without end on an object that is never signalled\n", stderr);
    std::abort();
  }
  host::LetPass(milliseconds);
  return {.result = kWaitTimeout};
}

// An object of the test's own.
class Waitable final : public KernelObject {
 public:
  explicit Waitable(WaitOutcome outcome) : m_outcome(outcome) {}
  WaitOutcome Wait(Dword milliseconds) override {
    return m_outcome.result == kWaitTimeout ? WaitInVain(milliseconds) : m_outcome;
  }

 private:
  WaitOutcome m_outcome;
};

WaitOutcome WaitFor(Handle handle, Dword milliseconds) {
  if (IsPseudoHandle(handle)) return WaitInVain(milliseconds);
  const auto object = host::ObjectOf(handle);
  if (object == nullptr) return {.result = kWaitFailed, .error = kErrorInvalidHandle};
  return object->Wait(milliseconds);
}

}  // namespace

WaitOutcome host::KernelObject::Wait(Dword /*milliseconds*/) { return {.result = kWaitObject0}; }

Handle host::OpenHandle(std::shared_ptr<KernelObject> object) {
  HandleTable& table = TheHandleTable();
  const std::lock_guard lock(table.mutex);
  table.lastHandle += 4;  // Windows' handles are multiples of four
  table.objects.emplace(table.lastHandle, std::move(object));
  ++liveCounters.handles;
  return reinterpret_cast<Handle>(table.lastHandle);
}

std::shared_ptr<KernelObject> host::ObjectOf(Handle handle) {
  HandleTable& table = TheHandleTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.objects.find(reinterpret_cast<std::uintptr_t>(handle));
  return found == table.objects.end() ? nullptr : found->second;
}

// The object dies behind the lock: its end may take other locks.
bool host::CloseObject(Handle handle) {
  std::shared_ptr<KernelObject> object;
  HandleTable& table = TheHandleTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.objects.find(reinterpret_cast<std::uintptr_t>(handle));
  if (found == table.objects.end()) return false;
  object = std::move(found->second);
  table.objects.erase(found);
  --liveCounters.handles;
  return true;
}

// The object goes even where the close is made to fail; see FailCall (control.h).
Bool CloseHandle(Handle handle) noexcept {
  host::Call call("CloseHandle");
  call.Argument("handle", handle);
  const auto fault = call.Fault();
  const bool closed = IsPseudoHandle(handle) || host::CloseObject(handle);
  if (fault) return host::FailWith(*fault, Bool{0});
  return closed ? 1 : host::FailWith(kErrorInvalidHandle, Bool{0});
}

Dword WaitForSingleObjectEx(Handle handle, Dword milliseconds, Bool alertable) noexcept {
  host::Call call("WaitForSingleObjectEx");
  call.Argument("handle", handle).Argument("milliseconds", milliseconds);
  call.Argument("alertable", static_cast<Dword>(alertable));
  if (const auto fault = call.Fault()) return host::FailWith(*fault, kWaitFailed);
  const WaitOutcome outcome = WaitFor(handle, milliseconds);
  if (outcome.error != kErrorSuccess) host::SetThreadError(outcome.error);
  return outcome.result;
}

Handle host::MakeWaitable(bool signalled) {
  const SeamMark mark;
  return OpenHandle(
      std::make_shared<Waitable>(WaitOutcome{.result = signalled ? kWaitObject0 : kWaitTimeout}));
}

Handle host::MakeWaitableWithResult(Dword result, Error error) {
  const SeamMark mark;
  return OpenHandle(std::make_shared<Waitable>(WaitOutcome{.result = result, .error = error}));
}

}  // namespace winapi
