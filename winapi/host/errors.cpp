#include "winapi/errors.h"

#include <algorithm>
#include <cstring>

#include "winapi/host/blocks.h"
#include "winapi/host/call.h"
#include "winapi/host/error_texts.h"
#include "winapi/host/last_error.h"
#include "winapi/host/live.h"

namespace winapi {
namespace {

// Each thread's own, 0 at its start. Only the operations here set it: the host's errno is another
// thing.
constinit thread_local Error lastError = kErrorSuccess;

constexpr Error kResourceLanguageNotFound = 1815;  // ERROR_RESOURCE_LANG_NOT_FOUND

// Apart from the process heap: LocalFree must not take what HeapAlloc gave.
host::Blocks& LocalHeap() {
  static host::Blocks& heap = *new host::Blocks(host::liveCounters.localBlocks);
  return heap;
}

// Neutral, user default, English, U.S. English.
bool IsEnglish(Dword languageId) {
  return languageId == 0 || languageId == 0x400 || languageId == 9 || languageId == 0x409;
}

// A Windows error in HRESULT form has the text of the error.
Dword WithoutHresultForm(Dword messageId) {
  return (messageId & 0xFFFF0000) == 0x80070000 ? messageId & 0xFFFF : messageId;
}

}  // namespace

void host::SetThreadError(Error error) noexcept { lastError = error; }

Error GetLastError() noexcept {
  const host::Call call("GetLastError");
  return lastError;
}

void SetLastError(Error error) noexcept {
  host::Call call("SetLastError");
  call.Argument("error", error);
  lastError = error;
}

Dword FormatMessageW(Dword flags, const void* source, Dword messageId, Dword languageId,
                     char16_t** buffer, Dword size, void* arguments) noexcept {
  constexpr Dword kSupportedFlags =
      kFormatMessageAllocateBuffer | kFormatMessageIgnoreInserts | kFormatMessageFromSystem;
  host::Call call("FormatMessageW");
  call.Mask("flags", flags).Argument("source", source).Argument("messageId", messageId);
  call.Argument("languageId", languageId).Argument("buffer", buffer).Argument("size", size);
  call.Argument("arguments", arguments);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Dword{0});
  if (flags != kSupportedFlags || source != nullptr || buffer == nullptr || size != 0 ||
      arguments != nullptr) {
    return host::FailWith(kErrorInvalidParameter, Dword{0});
  }
  *buffer = nullptr;
  if (!IsEnglish(languageId)) return host::FailWith(kResourceLanguageNotFound, Dword{0});
  const std::u16string_view text = host::SystemErrorText(WithoutHresultForm(messageId));
  if (text.empty()) return host::FailWith(kErrorMessageIdNotFound, Dword{0});
  void* block = LocalHeap().Allocate((text.size() + 1) * sizeof(char16_t));
  if (block == nullptr) return host::FailWith(kErrorNotEnoughMemory, Dword{0});
  *buffer = static_cast<char16_t*>(block);
  std::copy(text.begin(), text.end(), *buffer);
  return static_cast<Dword>(text.size());
}

void* LocalAlloc(Dword flags, std::size_t bytes) noexcept {
  host::Call call("LocalAlloc");
  call.Mask("flags", flags).Argument("bytes", bytes);
  void* const none = nullptr;
  if (const auto fault = call.Fault()) return host::FailWith(*fault, none);
  if (flags != kLmemFixed) return host::FailWith(kErrorInvalidParameter, none);
  void* memory = LocalHeap().Allocate(bytes);
  if (memory == nullptr) return host::FailWith(kErrorNotEnoughMemory, none);
  // Never zeros, on which code could come to rely; of a large block the head is enough.
  std::memset(memory, 0xCD, std::min<std::size_t>(bytes, 4096));
  return memory;
}

void* LocalFree(void* memory) noexcept {
  host::Call call("LocalFree");
  call.Argument("memory", memory);
  const auto fault = call.Fault();
  const bool released = memory == nullptr || LocalHeap().Release(memory);
  // A failure gives the pointer back; only its value is passed on, though the block may be gone.
  if (fault) return host::FailWith(*fault, memory);  // NOLINT(clang-analyzer-unix.Malloc)
  return released ? nullptr : host::FailWith(kErrorInvalidHandle, memory);
}

}  // namespace winapi
