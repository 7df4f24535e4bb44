#include "platform/util/windows/transactions.h"

#include "platform/util/windows/system_library.h"
#include "platform/winapi/winapi/errors.h"
#include "platform/winapi/winapi/transactions.h"

namespace windows_helpers {
namespace {

constinit SystemLibrary ktmw32(u"ktmw32.dll");

}  // namespace

winapi::Handle CreateTransaction(char16_t* description) noexcept {
  winapi::Procedure procedure = nullptr;
  if (const winapi::Error error = ktmw32.Find("CreateTransaction", procedure)) {
    winapi::SetLastError(error);
    return winapi::InvalidHandleValue();
  }
  return reinterpret_cast<winapi::CreateTransactionFunction>(procedure)(
      /*security=*/nullptr, /*unitOfWork=*/nullptr, /*createOptions=*/0, /*isolationLevel=*/0,
      /*isolationFlags=*/0, /*timeout=*/winapi::kInfinite, description);
}

winapi::Bool CommitTransaction(winapi::Handle transaction) noexcept {
  winapi::Procedure procedure = nullptr;
  if (const winapi::Error error = ktmw32.Find("CommitTransaction", procedure)) {
    winapi::SetLastError(error);
    return 0;
  }
  return reinterpret_cast<winapi::CommitTransactionFunction>(procedure)(transaction);
}

}  // namespace windows_helpers
