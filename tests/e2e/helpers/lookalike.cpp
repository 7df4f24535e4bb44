// A look-alike of modules of the system, to be planted under their names: has functions that the
// pipeline needs of them, by which everything would pass. That it was loaded is told by a line in
// the file that the environment variable ZUM_PLANTED names: its own path.

#include <windows.h>

namespace {

void Note(HINSTANCE module) {
  char report[MAX_PATH] = {};
  char path[MAX_PATH + 2] = {};
  if (GetEnvironmentVariableA("ZUM_PLANTED", report, sizeof report) == 0) return;
  DWORD length = GetModuleFileNameA(module, path, MAX_PATH);
  path[length++] = '\n';
  HANDLE file = CreateFileA(report, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_ALWAYS, 0, nullptr);
  DWORD written = 0;
  WriteFile(file, path, length, &written, nullptr);
  CloseHandle(file);
}

}  // namespace

extern "C" {

__declspec(dllexport) LONG __stdcall WinVerifyTrust(HWND, void*, void*) { return 0; }
__declspec(dllexport) void* __stdcall WTHelperProvDataFromStateData(HANDLE) { return nullptr; }
__declspec(dllexport) DWORD
    __stdcall CertGetNameStringW(const void*, DWORD, DWORD, void*, wchar_t*, DWORD) {
  return 0;
}
__declspec(dllexport) HANDLE
    __stdcall CreateTransaction(void*, void*, DWORD, DWORD, DWORD, DWORD, wchar_t*) {
  return INVALID_HANDLE_VALUE;
}
__declspec(dllexport) BOOL __stdcall CommitTransaction(HANDLE) { return TRUE; }

BOOL __stdcall DllMain(HINSTANCE module, DWORD reason, void* /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) Note(module);
  return TRUE;
}

}  // extern "C"
