// The owning holders of keys and kernel handles, and waiting.
#ifndef PLATFORM_UTIL_WINDOWS_UNIQUE_HANDLE_H_
#define PLATFORM_UTIL_WINDOWS_UNIQUE_HANDLE_H_

#include "oru/rtl/check.h"
#include "oru/rtl/last_error_keeper.h"
#include "oru/rtl/result_code.h"
#include "winapi/types.h"

namespace windows_helpers {

// Owns one handle and closes it at its end; null is none. INVALID_HANDLE_VALUE counts as a handle,
// so a holder is to be filled only after a success. Traits gives HandleType, IsValid and Close,
// which leaves the thread's last error as it was whether the handle can be closed or not.
template <typename Traits>
class UniqueHandle {
 public:
  using HandleType = typename Traits::HandleType;

  UniqueHandle() noexcept = default;
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;

  // Reports a handle that can't be closed; the thread's last error stays as it was.
  ~UniqueHandle() {
    if (!IsValid()) return;
    const bool closed = oru::sOk == Traits::Close(m_handle);
    if (closed) return;
    const oru::LastErrorKeeper keeper;  // whoever takes the report is foreign code
    ORU_CHECK_TEXT(closed, "!static_cast<const void *>(\"oru::sOk == Traits::Close(m_handle)\")");
  }

  [[nodiscard]] bool IsValid() const noexcept { return Traits::IsValid(m_handle); }

  // The handle; it stays owned here.
  [[nodiscard]] HandleType GetValue() const noexcept { return m_handle; }

  // Takes over `handle`. The holder must be empty, which is checked: a handle held before isn't
  // closed.
  void Attach(HandleType handle) noexcept {
    ORU_CHECK(!IsValid());
    m_handle = handle;
  }

 private:
  HandleType m_handle = nullptr;
};

struct RegKeyTraits {
  using HandleType = winapi::Key;
  [[nodiscard]] static bool IsValid(winapi::Key h) noexcept { return h != nullptr; }
  [[nodiscard]] static oru::ResultCode Close(winapi::Key h) noexcept;
};

struct KernelHandleTraits {
  using HandleType = winapi::Handle;
  using BaseType = KernelHandleTraits;
  [[nodiscard]] static bool IsValid(winapi::Handle h) noexcept { return h != nullptr; }
  [[nodiscard]] static oru::ResultCode Close(winapi::Handle h) noexcept;
};

using RegKey = UniqueHandle<RegKeyTraits>;
using KernelHandle = UniqueHandle<KernelHandleTraits>;

static_assert(sizeof(RegKey) == sizeof(void*) && sizeof(KernelHandle) == sizeof(void*));

// Waits until the object is signalled or the time has passed: sOk, sFalse for the time-out,
// errWaitAbandoned, or the failure of the wait. winapi::kInfinite sets no limit.
[[nodiscard]] oru::ResultCode WaitForHandle(const KernelHandle& handle,
                                            winapi::Dword milliseconds) noexcept;

}  // namespace windows_helpers

#endif  // PLATFORM_UTIL_WINDOWS_UNIQUE_HANDLE_H_
