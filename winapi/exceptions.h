// Structured exceptions and first-chance handlers.
#ifndef WINAPI_EXCEPTIONS_H_
#define WINAPI_EXCEPTIONS_H_

#include <cstdint>

#include "winapi/types.h"

namespace winapi {

inline constexpr Dword kExceptionMaximumParameters = 15;  // EXCEPTION_MAXIMUM_PARAMETERS

// EXCEPTION_RECORD.
struct ExceptionRecord {
  Dword ExceptionCode;
  Dword ExceptionFlags;
  ExceptionRecord* Next;
  void* ExceptionAddress;
  Dword NumberParameters;
  std::uintptr_t ExceptionInformation[kExceptionMaximumParameters];
};

// EXCEPTION_POINTERS.
struct ExceptionPointers {
  ExceptionRecord* Record;
  void* Context;
};

inline constexpr std::int32_t kExceptionContinueExecution = -1;  // EXCEPTION_CONTINUE_EXECUTION
inline constexpr std::int32_t kExceptionContinueSearch = 0;      // EXCEPTION_CONTINUE_SEARCH

using VectoredHandler = std::int32_t(WINAPI_STDCALL*)(ExceptionPointers* pointers);

// Adds a first-chance handler, at the head of the chain when `first` isn't 0. Gives what
// RemoveVectoredExceptionHandler takes, or null.
[[nodiscard]] void* AddVectoredExceptionHandler(Dword first, VectoredHandler handler) noexcept;

// 0 when the handler isn't there.
Dword RemoveVectoredExceptionHandler(void* handle) noexcept;

// Raises an exception: the handlers are asked in order, and execution goes on behind the call when
// one answers kExceptionContinueExecution. When none does the process ends with `code` as its exit
// status.
void RaiseException(Dword code, Dword flags, Dword count,
                    const std::uintptr_t* parameters) noexcept;

}  // namespace winapi

#endif  // WINAPI_EXCEPTIONS_H_
