#include "tests/windows_check/scratch.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "platform/util/windows/filesystem/file_operations.h"
#include "tests/windows_check/scratch_key.h"
#include "tests/windows_check/text.h"

namespace windows_check {
namespace {

std::wstring CreateFolder(std::wstring path) {
  if (!::CreateDirectoryW(path.c_str(), nullptr)) {
    throw std::runtime_error("the folder " + ToUtf8(path) + " can't be made: error " +
                             Decimal(::GetLastError()));
  }
  return path;
}

std::wstring MakeFolder() {
  wchar_t directory[MAX_PATH + 1] = {};
  if (::GetTempPathW(MAX_PATH, directory) == 0) {
    throw std::runtime_error("there is no temporary directory");
  }
  return CreateFolder(directory +
                      (L"zum-windows-check-" + std::to_wstring(::GetCurrentProcessId())));
}

LONG DeleteBranch() {
  const LONG error = ::RegDeleteTreeW(HKEY_CURRENT_USER, kScratchKey);
  return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
}

// A program that is on its end, or one that looks at new files, may hold something for a moment.
bool RemoveFolder(const std::wstring& folder) {
  for (int attempt = 0; attempt < 50; ++attempt) {
    if (attempt != 0) ::Sleep(100);
    (void)product_platform::filesystem::RemoveDirectoryRecursive(ToSeam(folder));
    if (::GetFileAttributesW(folder.c_str()) == INVALID_FILE_ATTRIBUTES) return true;
  }
  return false;
}

HKEY MakeKey() {
  LONG error = DeleteBranch();  // of a run that was ended
  HKEY key = nullptr;
  if (error == ERROR_SUCCESS) {
    error = ::RegCreateKeyExW(HKEY_CURRENT_USER, Scratch::KeyPath().c_str(), 0, nullptr, 0,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr);
  }
  if (error != ERROR_SUCCESS) {
    throw std::runtime_error("the key HKEY_CURRENT_USER\\" + ToUtf8(kScratchKey) +
                             " can't be made: error " + Decimal(static_cast<DWORD>(error)));
  }
  return key;
}

}  // namespace

std::wstring Scratch::KeyPath() { return std::wstring(kScratchKey) + L"\\Own"; }

Scratch::Scratch() : m_folder(MakeFolder()) {
  try {
    m_key = MakeKey();
  } catch (...) {
    ::RemoveDirectoryW(m_folder.c_str());
    throw;
  }
  ::SetEnvironmentVariableW(L"TMP", m_folder.c_str());
  ::SetEnvironmentVariableW(L"TEMP", m_folder.c_str());
}

std::wstring Scratch::NewFolder(const std::wstring& name) const {
  return CreateFolder(m_folder + L"\\" + name);
}

// Links in the folder are removed and not followed.
std::string Scratch::Remove() {
  if (m_folder.empty()) return {};
  std::string stays;
  (void)::RegCloseKey(m_key);
  if (const LONG error = DeleteBranch(); error != ERROR_SUCCESS) {
    stays += "the key HKEY_CURRENT_USER\\" + ToUtf8(kScratchKey) + " stays: error " +
             Decimal(static_cast<DWORD>(error)) + "\n";
  }
  if (!RemoveFolder(m_folder)) stays += "the folder " + ToUtf8(m_folder) + " stays\n";
  m_folder.clear();
  return stays;
}

}  // namespace windows_check
