#include "platform/util/windows/transactions.h"

#include <gtest/gtest.h>

#include "winapi/handles.h"

namespace {

// Under Wine this shows no more than that the functions are found and called by their convention:
// its transactions are all one number and do nothing.
TEST(Transactions, IsMadeAndCommitted) {
  char16_t description[] = u"Transactions";
  const winapi::Handle transaction = windows_helpers::CreateTransaction(description);
  EXPECT_NE(transaction, nullptr);
  EXPECT_NE(transaction, winapi::InvalidHandleValue());
  EXPECT_NE(windows_helpers::CommitTransaction(transaction), 0);
  (void)winapi::CloseHandle(transaction);  // Wine's can't be closed
}

}  // namespace
