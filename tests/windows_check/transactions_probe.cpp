// Kernel transactions on a key, as the correction of the list of renames uses them.
#include <windows.h>

#include <optional>
#include <stdexcept>
#include <vector>

#include "platform/util/windows/registry.h"
#include "platform/util/windows/registry_transacted.h"
#include "platform/util/windows/transactions.h"
#include "tests/windows_check/probes.h"
#include "tests/windows_check/text.h"
#include "tests/windows_check/this_machine.h"
#include "winapi/handles.h"

namespace windows_check {
namespace {

using windows_helpers::KernelHandle;
using windows_helpers::RegKey;
using List = std::vector<std::u16string>;

constexpr winapi::Dword kAccess = 0x2011F;
constexpr char16_t kName[] = u"List";
constexpr wchar_t kMachineKey[] = L"SYSTEM\\ZumWindowsCheck";

struct Place {
  winapi::Key hive;
  std::u16string path;
};

std::string Joined(const List& list) {
  std::string text;
  for (const std::u16string& entry : list) {
    text += (text.empty() ? "" : " ") + std::string(entry.begin(), entry.end());
  }
  return text;
}

// What everybody sees who isn't in the transaction.
std::string SeenOutside(const Place& place) {
  RegKey key;
  List list;
  if (const winapi::Error error =
          windows_helpers::OpenKey(key, place.hive, place.path.c_str(), kAccess)) {
    return "error " + Decimal(error) + " at the opening";
  }
  const winapi::Error error = windows_helpers::ReadMultiStringValue(key, kName, list);
  return error == 0 ? Joined(list) : "error " + Decimal(error);
}

std::string SeenInside(const RegKey& key) {
  List list;
  const winapi::Error error = windows_helpers::ReadMultiStringValue(key, kName, list);
  return error == 0 ? Joined(list) : "error " + Decimal(error);
}

// A transaction, and the key opened in it.
class Transacted {
 public:
  explicit Transacted(const Place& place) {
    char16_t description[] = u"ZumWindowsCheck";
    const winapi::Handle handle = windows_helpers::CreateTransaction(description);
    if (handle == winapi::InvalidHandleValue()) {
      error = ::GetLastError();
      return;
    }
    m_transaction.emplace().Attach(handle);
    error = windows_helpers::OpenKeyTransacted(m_key.emplace(), *m_transaction, place.hive,
                                               place.path.c_str(), kAccess);
  }
  [[nodiscard]] winapi::Error Write(const List& list) const {
    return windows_helpers::WriteMultiStringValue(*m_key, kName, list);
  }
  [[nodiscard]] winapi::Error Commit() const {
    return windows_helpers::CommitTransaction(m_transaction->GetValue()) != 0 ? 0
                                                                              : ::GetLastError();
  }
  [[nodiscard]] const RegKey& Key() const { return *m_key; }

  winapi::Error error = 0;

 private:
  std::optional<KernelHandle> m_transaction;
  std::optional<RegKey> m_key;  // closed first
};

void SetOutside(const Place& place, const List& list) {
  RegKey key;
  winapi::Error error = windows_helpers::OpenKey(key, place.hive, place.path.c_str(), kAccess);
  if (error == 0) error = windows_helpers::WriteMultiStringValue(key, kName, list);
  if (error != 0)
    throw std::runtime_error("the first list can't be written: error " + Decimal(error));
}

void CheckCommit(Findings& findings, const std::string& group, const Place& place) {
  const Transacted transacted(place);
  findings.Judge(group + ", a key is opened in a transaction", "error " + Decimal(transacted.error),
                 {{"error 0"}, {"error 127"}});
  if (transacted.error != 0) {
    findings.Skip(group, "no key can be opened in a transaction here");
    return;
  }
  findings.Judge(group + ", written", "error " + Decimal(transacted.Write({u"new"})),
                 OnBoth("error 0"));
  findings.Judge(group + ", seen inside before the commit", SeenInside(transacted.Key()),
                 OnBoth("new"));
  findings.Judge(group + ", seen outside before the commit", SeenOutside(place), OnBoth("old"));
  const Transacted second(place);
  findings.Note(group + ", a second transaction on the key",
                second.error != 0
                    ? "error " + Decimal(second.error) + " at the opening"
                    : "error " + Decimal(second.Write({u"second"})) + " at the writing");
  findings.Judge(group + ", committed", "error " + Decimal(transacted.Commit()), OnBoth("error 0"));
  findings.Judge(group + ", seen outside after the commit", SeenOutside(place), OnBoth("new"));
}

void CheckDropped(Findings& findings, const std::string& group, const Place& place) {
  {
    const Transacted transacted(place);
    if (transacted.error != 0) return;  // told above
    findings.Judge(group + ", written in a transaction without a commit",
                   "error " + Decimal(transacted.Write({u"dropped"})), OnBoth("error 0"));
  }
  findings.Judge(group + ", seen after its close", SeenOutside(place), OnBoth("new"));
}

// The key for as long as the object lives. One that is there already is somebody else's, or what an
// interrupted run left: it is neither used nor removed.
class MachineKey {
 public:
  MachineKey() {
    HKEY key = nullptr;
    DWORD disposition = 0;
    const LONG error =
        ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, kMachineKey, 0, nullptr, 0,
                          KEY_ALL_ACCESS | KEY_WOW64_64KEY, nullptr, &key, &disposition);
    if (error != ERROR_SUCCESS) {
      throw std::runtime_error("the key can't be made: error " +
                               Decimal(static_cast<DWORD>(error)));
    }
    ::RegCloseKey(key);
    if (disposition != REG_CREATED_NEW_KEY) {
      throw std::runtime_error("the key is there already, and is left as it is");
    }
  }
  MachineKey(const MachineKey&) = delete;
  MachineKey& operator=(const MachineKey&) = delete;
  ~MachineKey() { (void)Remove(); }

  // The error, or 0, also when it is gone already.
  static LONG Remove() {
    const LONG error = ::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kMachineKey, KEY_WOW64_64KEY, 0);
    return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
  }
};

}  // namespace

void CheckTransactions(Findings& findings, const std::string& group, HKEY hive,
                       const std::wstring& path) {
  const Place place{reinterpret_cast<winapi::Key>(hive), ToSeam(path)};
  SetOutside(place, {u"old"});
  CheckCommit(findings, group, place);
  CheckDropped(findings, group, place);
}

void CheckMachineTransactions(Findings& findings) {
  {
    const MachineKey key;
    CheckTransactions(findings, "SYSTEM", HKEY_LOCAL_MACHINE, kMachineKey);
  }
  findings.Judge("SYSTEM, the key is removed",
                 "error " + Decimal(static_cast<DWORD>(MachineKey::Remove())), OnBoth("error 0"));
}

}  // namespace windows_check
