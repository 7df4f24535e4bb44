// Kernel transactions: what the functions are given, and what is told where they are missing.
#include "platform/util/windows/transactions.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/util/windows/registry.h"
#include "platform/util/windows/registry_transacted.h"
#include "tests/support/allocation_faults.h"
#include "winapi/errors.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"

namespace host = winapi::host;
using windows_helpers::CommitTransaction;
using windows_helpers::CreateTransaction;

namespace {

class TransactionsOnHost : public ::testing::Test {
 protected:
  TransactionsOnHost() {
    host::ClearCallLog();
    host::StartCallLog();
    winapi::SetLastError(4711);
  }
  ~TransactionsOnHost() override {
    host::ClearFaults();
    host::ShowAll();
  }

  static winapi::Handle Create() {
    char16_t description[] = u"CorrectPendingOperations";
    return CreateTransaction(description);
  }
};
using TransactionsOnHostOwnProcess = TransactionsOnHost;

TEST_F(TransactionsOnHostOwnProcess, ArgumentsOfTheCreation) {
  const winapi::Handle transaction = Create();
  const host::CallRecord call = host::CallsOf("CreateTransaction").at(0);
  const decltype(call.arguments) expected = {{"security", "0x0"},
                                             {"unitOfWork", "0x0"},
                                             {"createOptions", "0"},
                                             {"isolationLevel", "0"},
                                             {"isolationFlags", "0"},
                                             {"timeout", "4294967295"},
                                             {"description", "CorrectPendingOperations"},
                                             {"*result", call.Argument("*result")}};
  EXPECT_EQ(call.arguments, expected);
  EXPECT_EQ(host::CallsOf("LoadLibraryW").at(0).Argument("name"),
            "C:\\windows\\system32\\ktmw32.dll");
  EXPECT_NE(CommitTransaction(transaction), 0);
  EXPECT_EQ(host::CallsOf("CommitTransaction").at(0).Argument("transaction"),
            call.Argument("*result"));
  EXPECT_EQ(host::CallsOf("LoadLibraryW").size(), 1u);
  EXPECT_NE(winapi::CloseHandle(transaction), 0);
}

TEST_F(TransactionsOnHostOwnProcess, MissingModuleIs126) {
  host::HideModule("ktmw32.dll");
  EXPECT_EQ(Create(), winapi::InvalidHandleValue());
  EXPECT_EQ(winapi::GetLastError(), 126u);
  winapi::SetLastError(0);
  EXPECT_EQ(CommitTransaction(nullptr), 0);
  EXPECT_EQ(winapi::GetLastError(), 126u);
}

TEST_F(TransactionsOnHostOwnProcess, MissingFunctionsAre127) {
  host::HideProcedure("CreateTransaction");
  host::HideProcedure("CommitTransaction");
  EXPECT_EQ(Create(), winapi::InvalidHandleValue());
  EXPECT_EQ(winapi::GetLastError(), 127u);
  winapi::SetLastError(0);
  EXPECT_EQ(CommitTransaction(nullptr), 0);
  EXPECT_EQ(winapi::GetLastError(), 127u);
}

TEST_F(TransactionsOnHostOwnProcess, AFunctionMissingWithoutAnErrorIs127Too) {
  host::FailCall("GetProcAddress", 1, 0, host::Repeat::kForever);
  EXPECT_EQ(Create(), winapi::InvalidHandleValue());
  EXPECT_EQ(winapi::GetLastError(), 127u);
  winapi::SetLastError(0);
  EXPECT_EQ(CommitTransaction(nullptr), 0);
  EXPECT_EQ(winapi::GetLastError(), 127u);
}

TEST_F(TransactionsOnHost, FailuresOfTheSystemAreItsOwn) {
  host::FailCall("CreateTransaction", 1, 6702);
  EXPECT_EQ(Create(), winapi::InvalidHandleValue());
  EXPECT_EQ(winapi::GetLastError(), 6702u);
  const winapi::Handle transaction = Create();
  host::FailCall("CommitTransaction", 1, 6700);
  EXPECT_EQ(CommitTransaction(transaction), 0);
  EXPECT_EQ(winapi::GetLastError(), 6700u);
  EXPECT_NE(winapi::CloseHandle(transaction), 0);
}

// The system's call gets the caller's own array.
TEST_F(TransactionsOnHost, CreationNeedsNoMemory) {
  EXPECT_NE(winapi::CloseHandle(Create()), 0) << "the module is loaded now";
  winapi::Handle transaction = nullptr;
  std::size_t allocations = 0;
  {
    const tests::ScopedAllocationFault fault(1, host::Repeat::kForever);
    transaction = Create();
    allocations = host::AllocationCount();
  }
  EXPECT_EQ(allocations, 0u);
  EXPECT_NE(winapi::CloseHandle(transaction), 0);
}

// From the creation to the commit, over the wrappers of the registry.
TEST_F(TransactionsOnHost, CommitIsWhatMakesAWriteLast) {
  const std::u16string path = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\k";
  ASSERT_TRUE(host::CreateRegistryKey(path));
  for (const bool commits : {false, true}) {
    SCOPED_TRACE(commits);
    {
      windows_helpers::KernelHandle transaction;
      transaction.Attach(Create());
      windows_helpers::RegKey key;
      ASSERT_EQ(windows_helpers::OpenKeyTransacted(key, transaction, winapi::HkeyLocalMachine(),
                                                   u"SOFTWARE\\k", 0x2011F),
                0u);
      ASSERT_EQ(windows_helpers::WriteMultiStringValue(key, u"list", {u"a"}), 0u);
      if (commits) {
        EXPECT_NE(CommitTransaction(transaction.GetValue()), 0);
      }
    }
    EXPECT_EQ(host::RegistryValues(path)->size(), commits ? 1u : 0u);
  }
}

}  // namespace
