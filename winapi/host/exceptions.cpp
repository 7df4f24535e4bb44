#include "winapi/exceptions.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <vector>

#include "winapi/host/call.h"
#include "winapi/host/last_error.h"

namespace winapi {
namespace {

// In the order in which they are asked.
struct Chain {
  struct Entry {
    std::uintptr_t number;  // never used twice, so a stale handle finds nothing
    VectoredHandler handler;
  };
  std::mutex mutex;
  std::uintptr_t lastNumber = 0;
  std::vector<Entry> entries;
};

Chain& TheChain() {
  static Chain& chain = *new Chain;
  return chain;
}

// A handler may add and remove handlers, so the chain is copied, and none runs inside the seam:
// they are the product's.
std::vector<Chain::Entry> LoggedCopyOfChain(Dword code, Dword flags, Dword count,
                                            const std::uintptr_t* parameters) {
  host::Call call("RaiseException");
  call.Mask("code", code).Mask("flags", flags).Argument("count", count);
  call.Argument("parameters", static_cast<const void*>(parameters));
  const std::lock_guard lock(TheChain().mutex);
  return TheChain().entries;
}

constexpr Dword kNoncontinuable = 1;  // EXCEPTION_NONCONTINUABLE

ExceptionRecord MakeRecord(Dword code, Dword flags, Dword count, const std::uintptr_t* parameters,
                           void* address) {
  ExceptionRecord record{};
  record.ExceptionCode = code;
  record.ExceptionFlags = flags & kNoncontinuable;  // the only flag that a caller can set
  record.ExceptionAddress = address;
  if (parameters != nullptr) {
    record.NumberParameters = std::min(count, kExceptionMaximumParameters);
    std::copy_n(parameters, record.NumberParameters, record.ExceptionInformation);
  }
  return record;
}

// What Windows does with an exception that nobody takes; the buffers of the streams stay unwritten
// there too.
[[noreturn]] void EndUnhandled(Dword code) {
  char line[64];
  const int length = std::snprintf(line, sizeof line, "host: unhandled exception 0x%08x\n", code);
  // Nothing is left to be done when the line can't be written.
  [[maybe_unused]] const auto written =
      ::write(STDERR_FILENO, line, static_cast<std::size_t>(length));
  ::_exit((code & 0xFF) == 0 ? 1 : static_cast<int>(code & 0xFF));
}

}  // namespace

void* AddVectoredExceptionHandler(Dword first, VectoredHandler handler) noexcept {
  host::Call call("AddVectoredExceptionHandler");
  call.Argument("first", first);
  call.Argument("handler", reinterpret_cast<const void*>(handler));
  if (const auto fault = call.Fault()) {
    return host::FailWith(*fault, static_cast<void*>(nullptr));
  }
  Chain& chain = TheChain();
  const std::lock_guard lock(chain.mutex);
  const auto place = first != 0 ? chain.entries.begin() : chain.entries.end();
  chain.entries.insert(place, {++chain.lastNumber, handler});
  return reinterpret_cast<void*>(chain.lastNumber);
}

Dword RemoveVectoredExceptionHandler(void* handle) noexcept {
  host::Call call("RemoveVectoredExceptionHandler");
  call.Argument("handle", handle);
  const auto fault = call.Fault();
  Chain& chain = TheChain();
  const std::lock_guard lock(chain.mutex);
  const auto number = reinterpret_cast<std::uintptr_t>(handle);
  const auto removed = std::erase_if(
      chain.entries, [number](const Chain::Entry& entry) { return entry.number == number; });
  if (fault) return host::FailWith(*fault, Dword{0});
  return removed == 0 ? 0 : 1;
}

void RaiseException(Dword code, Dword flags, Dword count,
                    const std::uintptr_t* parameters) noexcept {
  const auto entries = LoggedCopyOfChain(code, flags, count, parameters);
  ExceptionRecord record = MakeRecord(code, flags, count, parameters, __builtin_return_address(0));
  ExceptionPointers pointers{.Record = &record, .Context = nullptr};
  for (const Chain::Entry& entry : entries) {
    if (entry.handler(&pointers) == kExceptionContinueExecution) return;
  }
  EndUnhandled(code);
}

}  // namespace winapi
