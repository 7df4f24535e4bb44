#include "platform/util/windows/transactions.h"

#include <string>

#include "platform/util/windows/system_library.h"
#include "platform/winapi/winapi/errors.h"
#include "platform/winapi/winapi/transactions.h"

namespace windows_helpers {
namespace {

constinit SystemLibrary ktmw32(u"ktmw32.dll");

winapi::Handle FailCreation(winapi::Error error) noexcept {
  winapi::SetLastError(error);
  return winapi::InvalidHandleValue();
}

winapi::Handle Create(winapi::CreateTransactionFunction create, std::u16string description) {
  return create(/*security=*/nullptr, /*unitOfWork=*/nullptr, /*createOptions=*/0,
                /*isolationLevel=*/0, /*isolationFlags=*/0, /*timeout=*/winapi::kInfinite,
                description.data());
}

}  // namespace

winapi::Handle CreateTransaction(const char16_t* description) noexcept {
  winapi::Procedure procedure = nullptr;
  if (const winapi::Error error = ktmw32.Find("CreateTransaction", procedure)) {
    return FailCreation(error);
  }
  const auto create = reinterpret_cast<winapi::CreateTransactionFunction>(procedure);
  try {
    return Create(create, description);
  } catch (...) {
    return FailCreation(winapi::kErrorNotEnoughMemory);
  }
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
