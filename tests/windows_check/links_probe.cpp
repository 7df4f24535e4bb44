// Links to directories and files, which Wine can't make: how a search shows them, and that the
// removal of a tree takes them away and leaves what they lead to.
#include <windows.h>

#include <winioctl.h>

#include <cstring>
#include <vector>

#include "platform/util/windows/filesystem/file_operations.h"
#include "tests/windows_check/child.h"
#include "tests/windows_check/probes.h"
#include "tests/windows_check/text.h"
#include "winapi/files.h"

namespace windows_check {
namespace {

// REPARSE_DATA_BUFFER for a mount point: the head, the four numbers of its names, and the names.
std::vector<unsigned char> JunctionTo(const std::wstring& target) {
  const std::wstring substitute = L"\\??\\" + target;
  const auto bytes = [](const std::wstring& text) {
    return static_cast<USHORT>(text.size() * sizeof(wchar_t));
  };
  const USHORT substituteSize = bytes(substitute);
  const USHORT printSize = bytes(target);
  const auto dataSize = static_cast<USHORT>(8 + substituteSize + 2 + printSize + 2);
  const USHORT numbers[] = {dataSize, 0, 0, substituteSize, static_cast<USHORT>(substituteSize + 2),
                            printSize};
  const DWORD tag = IO_REPARSE_TAG_MOUNT_POINT;
  std::vector<unsigned char> buffer(8U + dataSize);
  unsigned char* at = buffer.data();
  std::memcpy(at, &tag, sizeof(tag));
  std::memcpy(at + 4, numbers, sizeof(numbers));
  std::memcpy(at + 16, substitute.c_str(), substituteSize);
  std::memcpy(at + 16 + substituteSize + 2, target.c_str(), printSize);
  return buffer;
}

// The error, or 0.
DWORD MakeJunction(const std::wstring& link, const std::wstring& target) {
  if (!::CreateDirectoryW(link.c_str(), nullptr)) return ::GetLastError();
  const HANDLE handle =
      ::CreateFileW(link.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                    FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return ::GetLastError();
  std::vector<unsigned char> data = JunctionTo(target);
  DWORD ignored = 0;
  const BOOL made =
      ::DeviceIoControl(handle, FSCTL_SET_REPARSE_POINT, data.data(),
                        static_cast<DWORD>(data.size()), nullptr, 0, &ignored, nullptr);
  const DWORD error = made ? 0 : ::GetLastError();
  ::CloseHandle(handle);
  return error;
}

DWORD MakeSymbolicLink(const std::wstring& link, const std::wstring& target) {
  constexpr DWORD kUnprivileged = 2;  // SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE
  if (::CreateSymbolicLinkW(link.c_str(), target.c_str(), kUnprivileged)) return 0;
  // Systems before Windows 10 don't know the flag.
  if (::CreateSymbolicLinkW(link.c_str(), target.c_str(), 0)) return 0;
  return ::GetLastError();
}

bool IsThere(const std::wstring& path) {
  return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Attributes and tag, as a search through the seam shows them.
std::string Shown(const std::wstring& path) {
  winapi::FindData data{};
  const winapi::Handle search =
      winapi::FindFirstFileExW(ToSeam(path).c_str(), 0, &data, 0, nullptr, 0);
  if (search == winapi::InvalidHandleValue()) return "error " + Decimal(::GetLastError());
  (void)winapi::FindClose(search);
  return "attributes " + Hexadecimal(data.dwFileAttributes) + ", tag " +
         Hexadecimal(data.dwReserved0);
}

// `tree` holds the link, `target` what it leads to, with a file in it.
void CheckRemoval(Findings& findings, const std::string& kind, const std::wstring& tree,
                  const std::wstring& kept) {
  const oru::ResultCode rc = product_platform::filesystem::RemoveDirectoryRecursive(ToSeam(tree));
  findings.Judge("removal of a tree with " + kind + " in it",
                 Hexadecimal(static_cast<std::uint32_t>(rc)), OnBoth("0x00000000"));
  findings.Judge("what " + kind + " leads to is still there", YesOrNo(IsThere(kept)),
                 OnBoth("yes"));
}

void CheckJunction(Findings& findings, const Scratch& scratch, const std::wstring& target) {
  const std::wstring tree = scratch.NewFolder(L"tree with a junction");
  if (const DWORD error = MakeJunction(tree + L"\\link", target)) {
    findings.Judge("a junction is made", "error " + Decimal(error), {{"yes"}, {"error 50"}});
    findings.Skip("junctions", "none can be made here");
    return;
  }
  findings.Judge("a junction is made", "yes", {{"yes"}, {"error 50"}});
  // The directory's attributes may hold more, such as "not indexed".
  const std::string shown = Shown(tree + L"\\link");
  findings.Judge(
      "a junction in a search", shown,
      {{"attributes 0x00000410, tag 0xA0000003", "attributes 0x00002410, tag 0xA0000003"}, {}});
  CheckRemoval(findings, "a junction", tree, target + L"\\kept.txt");
  const std::wstring top = scratch.Folder() + L"\\junction itself";
  if (MakeJunction(top, target) == 0)
    CheckRemoval(findings, "a junction as its top", top, target + L"\\kept.txt");
}

void CheckSymbolicLink(Findings& findings, const Scratch& scratch, const std::wstring& target) {
  const std::wstring tree = scratch.NewFolder(L"tree with a link");
  const DWORD error = MakeSymbolicLink(tree + L"\\link.txt", target + L"\\kept.txt");
  if (error == ERROR_PRIVILEGE_NOT_HELD) {
    findings.Skip("symbolic links", "making one needs administrator's rights here");
    return;
  }
  if (error != 0 || !IsThere(tree + L"\\link.txt")) {
    findings.Skip("symbolic links", "none can be made here (error " + Decimal(error) + ")");
    return;
  }
  const std::string shown = Shown(tree + L"\\link.txt");
  findings.Judge(
      "a symbolic link to a file in a search", shown,
      {{"attributes 0x00000420, tag 0xA000000C", "attributes 0x00002420, tag 0xA000000C"}, {}});
  CheckRemoval(findings, "a symbolic link", tree, target + L"\\kept.txt");
}

}  // namespace

void CheckLinks(Findings& findings, const Scratch& scratch) {
  const std::wstring target = scratch.NewFolder(L"what links lead to");
  (void)WriteWhole(target + L"\\kept.txt", "kept");
  CheckJunction(findings, scratch, target);
  CheckSymbolicLink(findings, scratch, target);
}

}  // namespace windows_check
