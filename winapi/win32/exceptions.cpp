#include "winapi/exceptions.h"

#include <windows.h>

#include <cstddef>

namespace winapi {

static_assert(kExceptionMaximumParameters == EXCEPTION_MAXIMUM_PARAMETERS);
static_assert(kExceptionContinueExecution == EXCEPTION_CONTINUE_EXECUTION);
static_assert(kExceptionContinueSearch == EXCEPTION_CONTINUE_SEARCH);

static_assert(sizeof(ExceptionRecord) == sizeof(EXCEPTION_RECORD));
static_assert(offsetof(ExceptionRecord, ExceptionCode) ==
              offsetof(EXCEPTION_RECORD, ExceptionCode));
static_assert(offsetof(ExceptionRecord, ExceptionFlags) ==
              offsetof(EXCEPTION_RECORD, ExceptionFlags));
static_assert(offsetof(ExceptionRecord, Next) == offsetof(EXCEPTION_RECORD, ExceptionRecord));
static_assert(offsetof(ExceptionRecord, ExceptionAddress) ==
              offsetof(EXCEPTION_RECORD, ExceptionAddress));
static_assert(offsetof(ExceptionRecord, NumberParameters) ==
              offsetof(EXCEPTION_RECORD, NumberParameters));
static_assert(offsetof(ExceptionRecord, ExceptionInformation) ==
              offsetof(EXCEPTION_RECORD, ExceptionInformation));
static_assert(sizeof(ExceptionPointers) == sizeof(EXCEPTION_POINTERS));
static_assert(offsetof(ExceptionPointers, Record) == offsetof(EXCEPTION_POINTERS, ExceptionRecord));
static_assert(offsetof(ExceptionPointers, Context) == offsetof(EXCEPTION_POINTERS, ContextRecord));
static_assert(sizeof(std::uintptr_t) == sizeof(ULONG_PTR));

void* AddVectoredExceptionHandler(Dword first, VectoredHandler handler) noexcept {
  return ::AddVectoredExceptionHandler(first,
                                       reinterpret_cast<PVECTORED_EXCEPTION_HANDLER>(handler));
}

Dword RemoveVectoredExceptionHandler(void* handle) noexcept {
  return ::RemoveVectoredExceptionHandler(handle);
}

void RaiseException(Dword code, Dword flags, Dword count,
                    const std::uintptr_t* parameters) noexcept {
  ::RaiseException(code, flags, count, reinterpret_cast<const ULONG_PTR*>(parameters));
}

}  // namespace winapi
