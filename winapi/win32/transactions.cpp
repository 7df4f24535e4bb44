// Only comparisons with the headers: nothing of the transaction manager is imported.
#include "winapi/transactions.h"

#include <windows.h>

#include <ktmw32.h>

#include "winapi/win32/shape.h"

namespace winapi {

// The compiler's headers know neither 6701, ERROR_TRANSACTION_NOT_ACTIVE, nor 6800.

static_assert(win32::kSameShape<CreateTransactionFunction, decltype(&::CreateTransaction)>);
static_assert(win32::kSameShape<CommitTransactionFunction, decltype(&::CommitTransaction)>);

}  // namespace winapi
