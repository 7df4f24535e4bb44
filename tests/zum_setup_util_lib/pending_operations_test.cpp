// The stage on the machine's own registry, and a list that the system itself has written.
#include "zum_setup_util_lib/pending_operations.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "platform/util/windows/registry_multi_string.h"
#include "tests/support/checks.h"
#include "tests/support/test_registry.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "tests/zum_setup_util_lib/system_pending_list.h"
#include "winapi/modules.h"
#include "winapi/registry.h"

using correct_setup::detail::RewritePendingList;
using correct_setup::detail::TryCorrectPendingOperations;
using tests::InstalledTracer;

namespace {

using List = std::vector<std::u16string>;

[[maybe_unused]] constexpr char16_t kValue[] = u"PendingFileRenameOperations";

// A fresh machine of the host's and of Wine 8 has no control set 001, no Wine has the transacted
// open.
TEST(PendingOperationsOwnProcess, AKeyThatCantBeOpenedEndsTheStageSilently) {
  const bool hasKey = tests::KeyExists(u"SYSTEM\\ControlSet001\\Control\\Session Manager");
  const winapi::Module advapi32 = winapi::GetModuleHandleW(u"advapi32.dll");
  ASSERT_FALSE(hasKey && winapi::GetProcAddress(advapi32, "RegOpenKeyTransactedW") != nullptr);
  const InstalledTracer tracer;
  TryCorrectPendingOperations();
  EXPECT_EQ(tracer.Records(),
            (tests::TraceRecords{
                {700, "setup\t[correct_setup::detail::TryCorrectPendingOperations]  begin"},
                {700, "setup\t[correct_setup::detail::CorrectPendingOperations]  begin"},
                {700, "setup\t[correct_setup::detail::CorrectPendingOperations]  end"},
                {700, "setup\t[correct_setup::detail::TryCorrectPendingOperations]  end"}}));
  tests::ExpectProbes(tracer, 2);
#ifdef _WIN32
  // Wine's transactions are all the number 1, which can't be closed.
  EXPECT_EQ(tests::ReportedChecks(),
            std::vector<std::string>{
                "!static_cast<const void *>(\"oru::sOk == Traits::Close(m_handle)\")"});
#else
  EXPECT_TRUE(tests::ReportedChecks().empty());
#endif
}

List ListOf(const std::vector<std::uint8_t>& bytes) {
  std::u16string text(bytes.size() / 2, u'\0');
  std::memcpy(text.data(), bytes.data(), text.size() * 2);
  return windows_helpers::ParseMultiString(text.data(), text.data() + text.size());
}

TEST(PendingOperations, ListOfTheSystemIsRewritten) {
  const std::u16string folder = u"\\??\\C:\\zum pending\\";
  const List list = ListOf(tests::PendingBytesOfTheSystem());
  EXPECT_EQ(list, (List{folder + u"a", u"", folder + u"a", folder + u"b", folder + u"c",
                        u"!" + folder + u"b", folder + u"d", folder + u"b", folder + u"e"}))
      << "without the last empty string, whose zero is taken for the end mark's";
  const List once = RewritePendingList(list);
  EXPECT_EQ(once, (List{folder + u"a", u"", folder + u"b", u"", folder + u"a", folder + u"b",
                        folder + u"c", u"!" + folder + u"b", folder + u"d", folder + u"b",
                        folder + u"e"}));
  EXPECT_EQ(RewritePendingList(once), once);
}

#ifdef _WIN32

constexpr char16_t kSessionManager[] = u"SYSTEM\\CurrentControlSet\\Control\\Session Manager";

// The value as it was before comes back: what stands in it is done at the system's next start.
class ScopedPendingList {
 public:
  ScopedPendingList() : m_before(tests::GetValue(kSessionManager, kValue)) { Delete(); }
  ScopedPendingList(const ScopedPendingList&) = delete;
  ScopedPendingList& operator=(const ScopedPendingList&) = delete;
  ~ScopedPendingList() {
    Delete();
    if (m_before) tests::SetValue(kSessionManager, *m_before);
  }

 private:
  static void Delete() {
    winapi::Key key = nullptr;
    if (winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), kSessionManager, 0, 0x2011F, &key) != 0) {
      return;
    }
    (void)winapi::RegDeleteValueW(key, kValue);
    (void)winapi::RegCloseKey(key);
  }
  std::optional<tests::Value> m_before;
};

using MoveFileExWFunction = winapi::Bool(WINAPI_STDCALL*)(const char16_t*, const char16_t*,
                                                          winapi::Dword);

TEST(PendingOperations, SystemWritesTheListLikeThat) {
  const auto move = reinterpret_cast<MoveFileExWFunction>(
      winapi::GetProcAddress(winapi::GetModuleHandleW(u"kernel32.dll"), "MoveFileExW"));
  ASSERT_NE(move, nullptr);
  constexpr winapi::Dword kReplaceExisting = 1;
  constexpr winapi::Dword kDelayUntilReboot = 4;
  const ScopedPendingList cleanUp;
  const char16_t* const b = u"C:\\zum pending\\b";
  ASSERT_NE(move(u"C:\\zum pending\\a", nullptr, kDelayUntilReboot), 0);
  ASSERT_NE(move(u"C:\\zum pending\\a", b, kDelayUntilReboot), 0);
  ASSERT_NE(move(u"C:\\zum pending\\c", b, kDelayUntilReboot | kReplaceExisting), 0);
  ASSERT_NE(move(u"C:\\zum pending\\d", b, kDelayUntilReboot), 0);
  ASSERT_NE(move(u"C:\\zum pending\\e", nullptr, kDelayUntilReboot), 0);
  const std::optional<tests::Value> value = tests::GetValue(kSessionManager, kValue);
  ASSERT_TRUE(value.has_value());
  EXPECT_EQ(value->type, 7u);
  EXPECT_EQ(value->data, tests::PendingBytesOfTheSystem());
}

#endif

}  // namespace
