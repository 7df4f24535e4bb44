// The access list and the label that the directory of the private copy really has.
#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "tests/windows_check/child.h"
#include "tests/windows_check/probes.h"
#include "tests/windows_check/text.h"
#include "tests/windows_check/this_machine.h"
#include "zum_setup_util_lib/secure_directory.h"

namespace windows_check {
namespace {

constexpr SECURITY_INFORMATION kBoth = DACL_SECURITY_INFORMATION | LABEL_SECURITY_INFORMATION;
constexpr DWORD kFullAccess = FILE_ALL_ACCESS;

struct Entry {
  std::wstring sid;
  DWORD mask = 0;
  bool inherited = false;
};

std::wstring SidText(void* sid) {
  wchar_t* text = nullptr;
  if (!::ConvertSidToStringSidW(sid, &text)) return L"?";
  std::wstring copy = text;
  ::LocalFree(text);
  return copy;
}

// The entries of one type; all types that are asked for have the same form.
std::vector<Entry> EntriesOf(ACL* list, BYTE type) {
  std::vector<Entry> entries;
  for (DWORD i = 0; list != nullptr && i < list->AceCount; ++i) {
    void* at = nullptr;
    if (!::GetAce(list, i, &at)) break;
    auto* const ace = static_cast<ACCESS_ALLOWED_ACE*>(at);
    if (ace->Header.AceType != type) continue;
    entries.push_back(
        {SidText(&ace->SidStart), ace->Mask, (ace->Header.AceFlags & INHERITED_ACE) != 0});
  }
  return entries;
}

// A file's or a directory's descriptor.
class Descriptor {
 public:
  explicit Descriptor(const std::wstring& path) {
    const DWORD error =
        ::GetNamedSecurityInfoW(const_cast<wchar_t*>(path.c_str()), SE_FILE_OBJECT, kBoth, nullptr,
                                nullptr, &m_dacl, &m_sacl, &m_descriptor);
    if (error != 0) throw std::runtime_error("no descriptor is told: error " + Decimal(error));
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { ::LocalFree(m_descriptor); }

  [[nodiscard]] std::vector<Entry> Allowed() const {
    return EntriesOf(m_dacl, ACCESS_ALLOWED_ACE_TYPE);
  }
  [[nodiscard]] std::vector<Entry> Labels() const {
    return EntriesOf(m_sacl, SYSTEM_MANDATORY_LABEL_ACE_TYPE);
  }
  [[nodiscard]] bool IsProtected() const {
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    return ::GetSecurityDescriptorControl(m_descriptor, &control, &revision) != 0 &&
           (control & SE_DACL_PROTECTED) != 0;
  }
  [[nodiscard]] std::string Text() const {
    wchar_t* text = nullptr;
    if (!::ConvertSecurityDescriptorToStringSecurityDescriptorW(m_descriptor, SDDL_REVISION_1,
                                                                kBoth, &text, nullptr)) {
      return "error " + Decimal(::GetLastError());
    }
    std::string copy = ToUtf8(text);
    ::LocalFree(text);
    return copy;
  }

 private:
  ACL* m_dacl = nullptr;
  ACL* m_sacl = nullptr;
  void* m_descriptor = nullptr;
};

// Everybody may read what is made in it.
void MakeParent(const std::wstring& path) {
  const std::wstring user = UserSid();
  const std::wstring list = L"D:(A;OICI;FA;;;SY)(A;OICI;FA;;;" + user + L")(A;OICI;FR;;;WD)";
  SECURITY_ATTRIBUTES attributes{sizeof(attributes), nullptr, FALSE};
  if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(
          list.c_str(), SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr)) {
    throw std::runtime_error("the parent has no list: error " + Decimal(::GetLastError()));
  }
  const BOOL made = ::CreateDirectoryW(path.c_str(), &attributes);
  const DWORD error = ::GetLastError();
  ::LocalFree(attributes.lpSecurityDescriptor);
  if (!made) throw std::runtime_error("the parent can't be made: error " + Decimal(error));
}

// The directory's own entries, in the order of their names.
std::string OwnEntries(const std::vector<Entry>& entries) {
  std::vector<std::string> names;
  for (const Entry& entry : entries) {
    if (entry.inherited) continue;
    const std::string name = entry.sid == L"S-1-5-18" ? "the local system"
                             : entry.sid == UserSid() ? "the user"
                                                      : ToUtf8(entry.sid);
    names.push_back(name + (entry.mask == kFullAccess ? " (full)" : " " + Hexadecimal(entry.mask)));
  }
  std::sort(names.begin(), names.end());
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text.empty() ? "none" : text;
}

bool HasInherited(const std::vector<Entry>& entries, const wchar_t* sid) {
  return std::any_of(entries.begin(), entries.end(),
                     [&](const Entry& entry) { return entry.inherited && entry.sid == sid; });
}

std::string LabelOf(const Descriptor& descriptor) {
  const std::vector<Entry> labels = descriptor.Labels();
  if (labels.empty()) return "none";
  const Entry& label = labels.front();
  const std::string level =
      label.sid == IntegritySid() ? "this process's level" : ToUtf8(label.sid);
  return level + ", policy " + Decimal(label.mask);
}

void AppendIcacls(Findings& findings, const Scratch& scratch, const std::wstring& path) {
  const ChildOutcome icacls =
      RunChild(SystemFolder() + L"\\icacls.exe", L"\"" + path + L"\"", scratch.Folder(), 60);
  const std::string status = icacls.started ? "ended with " + Decimal(icacls.status)
                                            : "not started: error " + Decimal(icacls.status);
  findings.Append("icacls " + ToUtf8(path) + " (" + status + ")",
                  ToUtf8(FromCodePage(icacls.output, CP_OEMCP)));
}

}  // namespace

void CheckDropDirectory(Findings& findings, const Scratch& scratch) {
  const std::wstring parent = scratch.Folder() + L"\\open to everybody";
  MakeParent(parent);
  const std::wstring path = parent + L"\\drop";
  const std::wstring copy = path + L"\\copy.msi";
  correct_setup::FileSystemActions::CreateSecureDirectory(ToSeam(path));
  const bool written = WriteWhole(copy, "copy");
  findings.Judge("a file is written into the drop directory", YesOrNo(written), OnBoth("yes"));
  const Descriptor descriptor(path);
  const std::vector<Entry> entries = descriptor.Allowed();
  findings.Judge("drop directory, its own entries", OwnEntries(entries),
                 OnBoth("the local system (full), the user (full)"));
  findings.Judge("drop directory, the list is protected", YesOrNo(descriptor.IsProtected()),
                 OnBoth("no"));
  findings.Judge("drop directory, the parent's entry for everybody is merged in",
                 YesOrNo(HasInherited(entries, L"S-1-1-0")), {{"yes"}, {"no"}});
  findings.Judge("drop directory, its label", LabelOf(descriptor),
                 {{"this process's level, policy 3"}, {"none"}});
  findings.Note("drop directory, its descriptor", descriptor.Text());
  if (written) findings.Note("the copy in it, its descriptor", Descriptor(copy).Text());
  AppendIcacls(findings, scratch, parent);
  AppendIcacls(findings, scratch, path);
  AppendIcacls(findings, scratch, copy);
}

}  // namespace windows_check
