#include "tests/windows_check/this_machine.h"

#include <windows.h>

#include <sddl.h>

#include <vector>

namespace windows_check {
namespace {

template <typename Function>
Function Find(const char* name) {
  return reinterpret_cast<Function>(
      reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), name)));
}

std::string WindowsVersion() {
  // Not GetVersionExW, which tells a program without a manifest of an older system.
  const auto getVersion = Find<LONG(WINAPI*)(OSVERSIONINFOW*)>("RtlGetVersion");
  OSVERSIONINFOW info{};
  info.dwOSVersionInfoSize = sizeof(info);
  if (getVersion == nullptr || getVersion(&info) != 0) return "Windows of an unknown version";
  return "Windows " + std::to_string(info.dwMajorVersion) + "." +
         std::to_string(info.dwMinorVersion) + "." + std::to_string(info.dwBuildNumber);
}

std::vector<unsigned char> TokenFacts(TOKEN_INFORMATION_CLASS what) {
  HANDLE token = nullptr;
  if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token)) return {};
  DWORD size = 0;
  ::GetTokenInformation(token, what, nullptr, 0, &size);
  std::vector<unsigned char> facts(size);
  if (size != 0 && !::GetTokenInformation(token, what, facts.data(), size, &size)) facts.clear();
  ::CloseHandle(token);
  return facts;
}

// The head of both classes' facts is the identifier with its attributes.
std::wstring SidOf(TOKEN_INFORMATION_CLASS what) {
  const std::vector<unsigned char> facts = TokenFacts(what);
  if (facts.size() < sizeof(SID_AND_ATTRIBUTES)) return {};
  wchar_t* text = nullptr;
  if (!::ConvertSidToStringSidW(reinterpret_cast<const SID_AND_ATTRIBUTES*>(facts.data())->Sid,
                                &text)) {
    return {};
  }
  std::wstring sid = text;
  ::LocalFree(text);
  return sid;
}

}  // namespace

bool UnderWine() { return Find<void*>("wine_get_version") != nullptr; }

std::string SystemName() {
  BOOL wow64 = FALSE;
  ::IsWow64Process(::GetCurrentProcess(), &wow64);
  const std::string windows = WindowsVersion() + (wow64 ? ", 64-bit" : ", 32-bit");
  const auto wineVersion = Find<const char*(CDECL*)()>("wine_get_version");
  return wineVersion == nullptr ? windows
                                : std::string("Wine ") + wineVersion() + ", as " + windows;
}

bool IsAdministrator() {
  const std::vector<unsigned char> facts = TokenFacts(TokenElevation);
  return facts.size() >= sizeof(TOKEN_ELEVATION) &&
         reinterpret_cast<const TOKEN_ELEVATION*>(facts.data())->TokenIsElevated != 0;
}

std::wstring UserSid() { return SidOf(TokenUser); }
std::wstring IntegritySid() { return SidOf(TokenIntegrityLevel); }

std::wstring ProgramFolder() {
  std::wstring path(32768, L'\0');
  path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path.substr(0, path.find_last_of(L'\\'));
}

std::wstring SystemFolder() {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(::GetSystemDirectoryW(path.data(), static_cast<UINT>(path.size())));
  return path;
}

}  // namespace windows_check
