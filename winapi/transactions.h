// Kernel transactions. ktmw32.dll isn't imported: it is loaded on first use, after the search path
// was narrowed.
#ifndef WINAPI_TRANSACTIONS_H_
#define WINAPI_TRANSACTIONS_H_

#include "winapi/guid.h"
#include "winapi/security.h"
#include "winapi/types.h"

namespace winapi {

inline constexpr Error kErrorTransactionNotActive = 6701;   // ERROR_TRANSACTION_NOT_ACTIVE
inline constexpr Error kErrorTransactionalConflict = 6800;  // ERROR_TRANSACTIONAL_CONFLICT

// What GetProcAddress gives for "CreateTransaction": a handle that CloseHandle closes, which drops
// what was not committed, or InvalidHandleValue() with the last error set.
using CreateTransactionFunction = Handle(WINAPI_STDCALL*)(SecurityAttributes* security,
                                                          Guid* unitOfWork, Dword createOptions,
                                                          Dword isolationLevel,
                                                          Dword isolationFlags, Dword timeout,
                                                          char16_t* description);
// For "CommitTransaction": 0 with the last error set on failure.
using CommitTransactionFunction = Bool(WINAPI_STDCALL*)(Handle transaction);

}  // namespace winapi

#endif  // WINAPI_TRANSACTIONS_H_
