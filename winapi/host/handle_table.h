// The open kernel handles of the process and the objects behind them.
#ifndef WINAPI_HOST_HANDLE_TABLE_H_
#define WINAPI_HOST_HANDLE_TABLE_H_

#include <memory>

#include "winapi/types.h"

namespace winapi::host {

// What a wait gives, and the last error that it leaves; 0 leaves it as it was.
struct WaitOutcome {
  Dword result = 0;
  Error error = 0;
};

// A file, a token, a process, a transaction ... Lives for as long as a handle to it is open, or
// somebody else shares it.
class KernelObject {
 public:
  KernelObject() = default;
  KernelObject(const KernelObject&) = delete;
  KernelObject& operator=(const KernelObject&) = delete;
  virtual ~KernelObject() = default;

  // Signalled from the start unless a class says otherwise.
  [[nodiscard]] virtual WaitOutcome Wait(Dword milliseconds);
};

// A new handle, counted as live until CloseHandle. Two handles may share an object. Numbers are
// never given twice, so that the use of a closed handle always shows.
[[nodiscard]] Handle OpenHandle(std::shared_ptr<KernelObject> object);

// Null for a handle that isn't open; the pseudo handles -1 and -2 have no object.
[[nodiscard]] std::shared_ptr<KernelObject> ObjectOf(Handle handle);

// The same, null also for an object of another kind.
template <class Object>
[[nodiscard]] std::shared_ptr<Object> ObjectOf(Handle handle) {
  return std::dynamic_pointer_cast<Object>(ObjectOf(handle));
}

// Lets go of a handle; false for one that isn't open. CloseHandle without the log and the faults.
bool CloseObject(Handle handle);

}  // namespace winapi::host

#endif  // WINAPI_HOST_HANDLE_TABLE_H_
