#include "platform/util/windows/transactions.h"

#include "platform/util/windows/system_library.h"
#include "winapi/errors.h"
#include "winapi/transactions.h"

namespace windows_helpers {
namespace {

constinit SystemLibrary ktmw32(u"ktmw32.dll");

}  // namespace

// Both fail as the system's own would, by a value and the last error.
winapi::Handle CreateTransaction(char16_t* description) noexcept {
  winapi::CreateTransactionFunction create = nullptr;
  if (const winapi::Error error = ktmw32.Find("CreateTransaction", create)) {
    winapi::SetLastError(error);
    return winapi::InvalidHandleValue();
  }
  return create(/*security=*/nullptr, /*unitOfWork=*/nullptr, /*createOptions=*/0,
                /*isolationLevel=*/0, /*isolationFlags=*/0, /*timeout=*/winapi::kInfinite,
                description);
}

winapi::Bool CommitTransaction(winapi::Handle transaction) noexcept {
  winapi::CommitTransactionFunction commit = nullptr;
  if (const winapi::Error error = ktmw32.Find("CommitTransaction", commit)) {
    winapi::SetLastError(error);
    return 0;
  }
  return commit(transaction);
}

}  // namespace windows_helpers
