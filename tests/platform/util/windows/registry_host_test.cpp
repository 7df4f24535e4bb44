// What the wrappers ask of the system, call by call, and what they give when it refuses.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstddef>
#include <sstream>

#include "platform/util/windows/registry.h"
#include "platform/util/windows/registry_transacted.h"
#include "platform/util/windows/transactions.h"
#include "tests/platform/util/windows/registry_fixture.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/checks.h"
#include "tests/support/text.h"
#include "winapi/host/control.h"

namespace host = winapi::host;
using tests::Narrow;
using tests::ReportedChecks;
using windows_helpers::KernelHandle;
using windows_helpers::OpenKey;
using windows_helpers::OpenKeyTransacted;
using windows_helpers::RegKey;

namespace {

using Reports = std::vector<std::string>;
using Strings = std::vector<std::u16string>;

// A handle as the call log shows it.
std::string Logged(const void* handle) {
  std::ostringstream text;
  text << "0x" << std::hex << reinterpret_cast<std::uintptr_t>(handle);
  return text.str();
}

class RegistryOnHost : public tests::RegistryTest {
 protected:
  ~RegistryOnHost() override { host::ClearFaults(); }

  // The one call of `operation` in the log since it was cleared.
  static host::CallRecord TheCall(std::string_view operation) {
    const auto calls = host::CallsOf(operation);
    EXPECT_EQ(calls.size(), 1u) << operation;
    return calls.empty() ? host::CallRecord() : calls[0];
  }

  static void Begin(KernelHandle& transaction) {
    char16_t description[] = u"test";
    transaction.Attach(windows_helpers::CreateTransaction(description));
  }
  // The test's key, for reading.
  [[nodiscard]] winapi::Error OpenTransacted(RegKey& key, const KernelHandle& transaction) const {
    return OpenKeyTransacted(key, transaction, winapi::HkeyLocalMachine(), Path().c_str(),
                             tests::kReadAccess);
  }

  static void StartLog() {
    host::StartCallLog();
    host::ClearCallLog();
  }
};
using RegistryOnHostOwnProcess = RegistryOnHost;

TEST_F(RegistryOnHost, OpenKeyPassesPathMaskAndNoOptions) {
  StartLog();
  RegKey key;
  ASSERT_EQ(OpenKey(key, winapi::HkeyLocalMachine(), Path().c_str(), 0x2011F), 0u);
  const host::CallRecord call = TheCall("RegOpenKeyExW");
  EXPECT_EQ(call.Argument("key"), Logged(winapi::HkeyLocalMachine()));
  EXPECT_EQ(call.Argument("subKey"), Narrow(Path()));
  EXPECT_EQ(call.Argument("options"), "0");
  EXPECT_EQ(call.Argument("rights"), "0x2011f");
}

// Any key serves as the hive.
TEST_F(RegistryOnHost, BothOpensStartAtTheHiveThatTheyAreGiven) {
  KernelHandle transaction;
  Begin(transaction);
  tests::CreateKey(Path() + u"\\below");
  RegKey hive;
  Open(hive);
  StartLog();
  RegKey key;
  EXPECT_EQ(OpenKey(key, hive.GetValue(), u"below", 0x20119), 0u);
  EXPECT_EQ(TheCall("RegOpenKeyExW").Argument("key"), Logged(hive.GetValue()));
  RegKey transacted;
  EXPECT_EQ(OpenKeyTransacted(transacted, transaction, hive.GetValue(), u"below", 0x20119), 0u);
  EXPECT_EQ(TheCall("RegOpenKeyTransactedW").Argument("key"), Logged(hive.GetValue()));
}

class OpenKeyOwnProcess : public RegistryOnHost {};

// A system that says yes and gives nothing.
TEST_F(OpenKeyOwnProcess, SuccessWithoutAKeyIsReported) {
  host::FailCall("RegOpenKeyExW", 1, 0);
  RegKey key;
  EXPECT_EQ(OpenKey(key, winapi::HkeyLocalMachine(), Path().c_str(), 0x2011F), 0u);
  EXPECT_FALSE(key.IsValid());
  EXPECT_EQ(ReportedChecks(), Reports{"newKey.IsValid()"});
}

TEST_F(RegistryOnHost, OpenKeyGivesTheErrorAndLeavesTheTargetEmpty) {
  const std::size_t keys = host::Live().keys;
  for (const winapi::Error error : {5u, 1009u, 1018u}) {
    host::FailCall("RegOpenKeyExW", 1, error);
    RegKey key;
    EXPECT_EQ(OpenKey(key, winapi::HkeyLocalMachine(), Path().c_str(), 0x2011F), error);
    EXPECT_FALSE(key.IsValid());
    host::ClearFaults();
  }
  EXPECT_EQ(host::Live().keys, keys);
  EXPECT_EQ(ReportedChecks(), Reports());
}

TEST_F(RegistryOnHost, TransactedOpenPassesTheTransaction) {
  KernelHandle transaction;
  Begin(transaction);
  StartLog();
  RegKey key;
  ASSERT_EQ(
      OpenKeyTransacted(key, transaction, winapi::HkeyLocalMachine(), Path().c_str(), 0x2011F), 0u);
  EXPECT_TRUE(key.IsValid());
  const host::CallRecord call = TheCall("RegOpenKeyTransactedW");
  EXPECT_EQ(call.Argument("key"), Logged(winapi::HkeyLocalMachine()));
  EXPECT_EQ(call.Argument("subKey"), Narrow(Path()));
  EXPECT_EQ(call.Argument("options"), "0");
  EXPECT_EQ(call.Argument("rights"), "0x2011f");
  EXPECT_EQ(call.Argument("transaction"), Logged(transaction.GetValue()));
  EXPECT_EQ(call.Argument("reserved"), "0x0");
  EXPECT_EQ(ReportedChecks(), Reports());
}

// A full target is reported by the assignment alone: the open has no checks of its own here.
TEST_F(RegistryOnHostOwnProcess, TransactedOpenIntoAFullTargetReportsTheAssignmentOnly) {
  KernelHandle transaction;
  Begin(transaction);
  RegKey key;
  Open(key);
  const winapi::Key first = key.GetValue();
  ASSERT_EQ(OpenTransacted(key, transaction), 0u);
  EXPECT_EQ(ReportedChecks(), Reports{"!IsValid()"});
  EXPECT_EQ(winapi::RegCloseKey(first), 0u);
}

TEST_F(RegistryOnHost, TransactedOpenThatFailsLeavesAFullTargetUnreported) {
  const KernelHandle none;
  RegKey key;
  Open(key);
  const winapi::Key first = key.GetValue();
  host::FailCall("RegOpenKeyTransactedW", 1, 6701);
  EXPECT_EQ(OpenTransacted(key, none), 6701u);
  EXPECT_EQ(key.GetValue(), first);
  EXPECT_EQ(ReportedChecks(), Reports());
}

TEST_F(RegistryOnHost, MissingFunctionIs127) {
  host::HideProcedure("RegOpenKeyTransactedW");
  RegKey key;
  EXPECT_EQ(OpenTransacted(key, KernelHandle()), 127u);
  EXPECT_FALSE(key.IsValid());
}

TEST_F(RegistryOnHost, MissingModuleIs126) {
  host::HideModule("advapi32.dll");
  RegKey key;
  EXPECT_EQ(OpenTransacted(key, KernelHandle()), 126u);
  EXPECT_FALSE(key.IsValid());
}

TEST_F(RegistryOnHost, LookUpThatFailsWithoutAnErrorIsAFailureAllTheSame) {
  RegKey key;
  host::FailCall("GetModuleHandleW", 1, 0);
  EXPECT_EQ(OpenTransacted(key, KernelHandle()), 126u);
  host::FailCall("GetProcAddress", 1, 0);
  EXPECT_EQ(OpenTransacted(key, KernelHandle()), 127u);
  EXPECT_FALSE(key.IsValid());
}

TEST_F(RegistryOnHost, WriteStringValuePassesExactlyTheRange) {
  RegKey key;
  Open(key);
  StartLog();
  const char16_t text[] = u"abcd";
  EXPECT_EQ(windows_helpers::WriteStringValue(key, u"v", text, text + 4), 0u);
  const host::CallRecord call = TheCall("RegSetValueExW");
  EXPECT_EQ(call.Argument("key"), Logged(key.GetValue()));
  EXPECT_EQ(call.Argument("name"), "v");
  EXPECT_EQ(call.Argument("reserved"), "0");
  EXPECT_EQ(call.Argument("type"), "1");
  EXPECT_EQ(call.Argument("data"), "6100620063006400");
  EXPECT_EQ(call.Argument("size"), "8");
  // The zero behind the range shows that it was passed in the caller's own memory.
  EXPECT_EQ(tests::GetValue(Path(), u"v"), (tests::Value{u"v", 1, tests::Utf16Bytes(u"abcd", 1)}));
}

TEST_F(RegistryOnHost, WriteStringValueTakesTheZeroOfAnArrayIn) {
  RegKey key;
  Open(key);
  StartLog();
  const char16_t text[] = u"ab";
  EXPECT_EQ(windows_helpers::WriteStringValue(key, u"v", std::begin(text), std::end(text)), 0u);
  EXPECT_EQ(TheCall("RegSetValueExW").Argument("data"), "610062000000");
  EXPECT_EQ(TheCall("RegSetValueExW").Argument("size"), "6");
}

TEST_F(RegistryOnHost, EmptyRangeWritesZeroBytes) {
  RegKey key;
  Open(key);
  StartLog();
  const char16_t text[] = u"ab";
  EXPECT_EQ(windows_helpers::WriteStringValue(key, u"v", text, text), 0u);
  EXPECT_EQ(TheCall("RegSetValueExW").Argument("size"), "0");
}

// 4 GiB of addresses and one character more, with no memory behind them: nobody may read there.
class Addresses {
 public:
  Addresses() : m_begin(::mmap(nullptr, kBytes, PROT_NONE, kFlags, -1, 0)) {}
  Addresses(const Addresses&) = delete;
  Addresses& operator=(const Addresses&) = delete;
  ~Addresses() { ::munmap(m_begin, kBytes); }
  [[nodiscard]] bool IsThere() const { return m_begin != MAP_FAILED; }
  [[nodiscard]] const char16_t* Begin() const { return static_cast<const char16_t*>(m_begin); }

 private:
  static constexpr std::size_t kBytes = (std::size_t{1} << 32) + 2;
  static constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;

  void* m_begin;
};

TEST_F(RegistryOnHost, ARangeOfTheLargestSizeGoesToTheSystem) {
  const Addresses addresses;
  ASSERT_TRUE(addresses.IsThere());
  RegKey key;
  Open(key);
  host::FailCall("RegSetValueExW", 1, 1450);
  EXPECT_EQ(windows_helpers::WriteStringValue(key, u"v", addresses.Begin(),
                                              addresses.Begin() + 0x7FFFFFFF),
            1450u);
  EXPECT_EQ(ReportedChecks(), Reports());
}

TEST_F(RegistryOnHostOwnProcess, ALargerRangeIsReportedAndItsBytesAreCountedIn32Bits) {
  const Addresses addresses;
  ASSERT_TRUE(addresses.IsThere());
  RegKey key;
  Open(key);
  StartLog();
  EXPECT_EQ(windows_helpers::WriteStringValue(key, u"v", addresses.Begin(),
                                              addresses.Begin() + 0x80000000),
            0u);
  EXPECT_EQ(TheCall("RegSetValueExW").Argument("size"), "0");
  EXPECT_EQ(ReportedChecks(), Reports{"value.size() <= MaxSize"});
}

TEST_F(RegistryOnHost, WriteMultiStringValuePassesTheWholeFormat) {
  RegKey key;
  Open(key);
  StartLog();
  EXPECT_EQ(windows_helpers::WriteMultiStringValue(key, u"v", {u"a", u"", u"b"}), 0u);
  const host::CallRecord call = TheCall("RegSetValueExW");
  EXPECT_EQ(call.Argument("type"), "7");
  EXPECT_EQ(call.Argument("data"), "610000000000620000000000");
  EXPECT_EQ(call.Argument("size"), "12");
}

TEST_F(RegistryOnHost, WritesAndDeletesGiveTheSystemsError) {
  RegKey key;
  Open(key);
  host::FailCall("RegSetValueExW", 1, 5, host::Repeat::kForever);
  host::FailCall("RegDeleteValueW", 1, 1018);
  const char16_t text[] = u"ab";
  EXPECT_EQ(windows_helpers::WriteStringValue(key, u"v", text, text + 2), 5u);
  EXPECT_EQ(windows_helpers::WriteMultiStringValue(key, u"v", {u"a"}), 5u);
  EXPECT_EQ(windows_helpers::DeleteValue(key, u"v"), 1018u);
  EXPECT_EQ(ReportedChecks(), Reports());
}

// The reserved argument is null too: the host refuses any other.
TEST_F(RegistryOnHost, ReadPassesTheBytesOfTheLocalBuffer) {
  Set(u"v", 1, tests::Utf16Bytes(u"text", 1));
  RegKey key;
  Open(key);
  StartLog();
  oru::String16 value;
  EXPECT_EQ(windows_helpers::ReadStringValue(key, u"v", value), 0u);
  const host::CallRecord call = TheCall("RegQueryValueExW");
  EXPECT_EQ(call.Argument("name"), "v");
  EXPECT_EQ(call.Argument("size"), "128");
}

// Memory. The list is written or read without the result of a part of it being seen.

TEST_F(RegistryOnHost, WriteMultiStringValueWithoutMemoryIsEight) {
  RegKey key;
  Open(key);
  const Strings strings = {std::u16string(100, u'a'), std::u16string(100, u'b')};
  const std::size_t faults = tests::SweepAllocations([&](std::size_t nth) {
    const winapi::Error error = windows_helpers::WriteMultiStringValue(key, u"v", strings);
    const bool faulted = host::AllocationCount() >= nth;
    EXPECT_EQ(error, faulted ? 8u : 0u) << "allocation " << nth;
  });
  EXPECT_GE(faults, 1u);
}

TEST_F(RegistryOnHost, WriteThatFindsNoMemoryWritesNothing) {
  RegKey key;
  Open(key);
  const Strings strings = {std::u16string(100, u'a')};
  {
    const tests::ScopedAllocationFault fault(1);
    EXPECT_EQ(windows_helpers::WriteMultiStringValue(key, u"v", strings), 8u);
  }
  EXPECT_EQ(tests::GetValue(Path(), u"v"), std::nullopt);
}

TEST_F(RegistryOnHost, ReadMultiStringValueWithoutMemoryIsEightAndKeepsTheList) {
  std::u16string data(100, u'a');
  data += u'\0';
  data.append(100, u'b');
  Set(u"v", 7, tests::Utf16Bytes(data, 2));
  RegKey key;
  Open(key);
  Strings values = {u"old"};
  const std::size_t faults = tests::SweepAllocations([&](std::size_t nth) {
    const winapi::Error error = windows_helpers::ReadMultiStringValue(key, u"v", values);
    const bool faulted = host::AllocationCount() >= nth;
    EXPECT_EQ(error, faulted ? 8u : 0u) << "allocation " << nth;
    EXPECT_EQ(values.front() == u"old", faulted) << "allocation " << nth;
  });
  EXPECT_GE(faults, 3u);
}

TEST_F(RegistryOnHost, ReadStringValueWithoutMemoryIsEightAndEmpty) {
  Set(u"v", 1, tests::Utf16Bytes(std::u16string(500, u'a'), 1));
  RegKey key;
  Open(key);
  oru::String16 value;
  host::FailCall("HeapAlloc", 1, 0);
  EXPECT_EQ(windows_helpers::ReadStringValue(key, u"v", value), 8u);
  EXPECT_EQ(std::u16string(value.c_str()), u"");
  EXPECT_EQ(value.size(), 0u);
}

TEST_F(RegistryOnHost, TextOfTheLocalBufferThatFindsNoMemoryIsEight) {
  Set(u"v", 1, tests::Utf16Bytes(u"more than seven", 1));
  RegKey key;
  Open(key);
  oru::String16 value;
  host::FailCall("HeapAlloc", 1, 0);
  EXPECT_EQ(windows_helpers::ReadStringValue(key, u"v", value), 8u);
  EXPECT_EQ(std::u16string(value.c_str()), u"");
}

}  // namespace
