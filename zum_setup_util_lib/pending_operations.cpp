#include "zum_setup_util_lib/pending_operations.h"

#include <cstddef>
#include <exception>
#include <memory_resource>
#include <string_view>
#include <unordered_set>

#include "oru/rtl/exception.h"
#include "oru/rtl/trace.h"
#include "platform/util/windows/registry.h"
#include "platform/util/windows/registry_transacted.h"
#include "platform/util/windows/system_error.h"
#include "platform/util/windows/transactions.h"
#include "winapi/errors.h"
#include "winapi/registry.h"
#include "zum_setup_util_lib/repeat_execution.h"
#include "zum_setup_util_lib/stage.h"
#include "zum_setup_util_lib/tool_result_codes.h"
#include "zum_setup_util_lib/trace_list.h"

namespace correct_setup::detail {
namespace {

using windows_helpers::KernelHandle;
using windows_helpers::RegKey;

using List = std::vector<std::u16string>;

// Below HKEY_LOCAL_MACHINE; control set 001, whichever is the current one.
constexpr char16_t kSessionManagerKey[] = u"SYSTEM\\ControlSet001\\Control\\Session Manager";
constexpr char16_t kPendingRenames[] = u"PendingFileRenameOperations";

constexpr winapi::Dword kAccess = winapi::kKeyRead | winapi::kKeyWrite | winapi::kKeyWow6464Key;

// Some 30 seconds: others write this list too while an installation ends.
constexpr std::uint16_t kRepeatCount = 300;
constexpr helpers::Milliseconds kDelay{100};

bool IsAbsolute(const std::u16string& path) { return path.starts_with(u'\\'); }

void WriteList(const RegKey& key, const KernelHandle& transaction, const List& list) {
  if (const winapi::Error error =
          windows_helpers::WriteMultiStringValue(key, kPendingRenames, list)) {
    throw windows_helpers::MakeWin32CheckFailure(kStageSourceFile, __LINE__, error)
        << u"[correct_setup::detail::CorrectPendingOperations] "
        << u"value = PendingFileRenameOperations";
  }
  if (windows_helpers::CommitTransaction(transaction.GetValue()) == 0) {
    const winapi::Error error = winapi::GetLastError();
    throw windows_helpers::WindowsErrorException(error, "::CommitTransaction(m_transaction)")
        << oru::SetFile{kStageSourceFile} << oru::SetLine{__LINE__};
  }
}

}  // namespace

// What the result mentions is looked up by value, in views of the source list. One step asks and
// adds; their memory comes from the stack first, which is all that the usual list of a few entries
// takes, and goes at once.
List RewritePendingList(const List& list) {
  std::byte room[1024];
  std::pmr::monotonic_buffer_resource memory(room, sizeof room);
  std::pmr::unordered_set<std::u16string_view> mentioned(list.size(), &memory);
  List result;
  result.reserve(list.size() * 2);
  std::size_t i = 0;
  while (i < list.size()) {
    // Pairs are found position by position: behind an entry that isn't a rename the next one is
    // tried.
    if (i + 1 < list.size() && IsAbsolute(list[i]) && IsAbsolute(list[i + 1])) {
      const std::u16string& target = list[i + 1];
      if (mentioned.insert(target).second) {
        result.push_back(target);
        result.emplace_back();
      }
      mentioned.insert(list[i]);
      result.push_back(list[i]);
      result.push_back(target);
      i += 2;
    } else {
      mentioned.insert(list[i]);
      result.push_back(list[i]);
      ++i;
    }
  }
  return result;
}

void CorrectPendingOperations() {
  oru::TraceScope scope;
  ORU_TRACE_SCOPE(scope, oru::kTraceLevelInfo,
                  u"setup\t[correct_setup::detail::CorrectPendingOperations] ");

  // A transaction that could not be made shows at the open. Its close without a commit drops the
  // work.
  KernelHandle transaction;
  char16_t description[] = u"CorrectPendingOperations";  // the system's call may write into it
  transaction.Attach(windows_helpers::CreateTransaction(description));
  RegKey key;
  // Nothing to correct, or no right to: a success without a word either way, and no repeat.
  if (windows_helpers::OpenKeyTransacted(key, transaction, winapi::HkeyLocalMachine(),
                                         kSessionManagerKey, kAccess) != winapi::kErrorSuccess) {
    return;
  }
  List oldList;
  if (windows_helpers::ReadMultiStringValue(key, kPendingRenames, oldList) !=
      winapi::kErrorSuccess) {
    return;
  }
  const List newList = RewritePendingList(oldList);
  // An unchanged list isn't written back: one that was read without its last empty string isn't cut
  // by a run that has nothing to do.
  if (newList == oldList) {
    ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::detail::CorrectPendingOperations] "
                                        << "conrainer not changed, skip update");
    return;
  }
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::detail::CorrectPendingOperations] "
                                      << "update value PendingFileRenameOperations");
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::detail::CorrectPendingOperations] "
                                      << " from " << TraceList{oldList});
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::detail::CorrectPendingOperations] "
                                      << " to   " << TraceList{newList});
  WriteList(key, transaction, newList);
}

void TryCorrectPendingOperations() {
  oru::TraceScope scope;
  ORU_TRACE_SCOPE(scope, oru::kTraceLevelInfo,
                  u"setup\t[correct_setup::detail::TryCorrectPendingOperations] ");
  try {
    helpers::TryExecuteWithRepeat([] { CorrectPendingOperations(); }, kRepeatCount, kDelay);
  } catch (const std::exception&) {
    FailStage("setup\t[correct_setup::detail::TryCorrectPendingOperations] ", __LINE__,
              rcPendingCorrectionFailed);
  }
}

}  // namespace correct_setup::detail
