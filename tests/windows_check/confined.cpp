// A test program that is linked with this can't reach the machine's registry: from its first moment
// on, HKEY_LOCAL_MACHINE is a branch of its own below HKEY_CURRENT_USER, whatever rights it has and
// however it was started. Without that branch the program ends before its first case.
#include <windows.h>

#include <cstdio>
#include <cstdlib>

#include "tests/windows_check/scratch_key.h"

namespace {

// Stands in the file, where the check of the list looks for it.
constexpr char kMark[] = "HKEY_LOCAL_MACHINE is confined to HKEY_CURRENT_USER";

[[noreturn]] void GiveUp(const char* call, LONG error) {
  (void)std::fprintf(stderr, "%s, but not here: %s gives %ld\n", kMark, call, error);
  std::_Exit(98);
}

class Confinement {
 public:
  Confinement() {
    LONG error = ::RegCreateKeyExW(HKEY_CURRENT_USER, windows_check::kConfinedKey, 0, nullptr, 0,
                                   KEY_ALL_ACCESS | KEY_WOW64_64KEY, nullptr, &m_key, nullptr);
    if (error != ERROR_SUCCESS) GiveUp("RegCreateKeyExW", error);
    error = ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_key);
    if (error != ERROR_SUCCESS) GiveUp("RegOverridePredefKey", error);
  }
  Confinement(const Confinement&) = delete;
  Confinement& operator=(const Confinement&) = delete;
  ~Confinement() {
    (void)::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    (void)::RegDeleteTreeW(m_key, nullptr);
    (void)::RegCloseKey(m_key);
    (void)::RegDeleteKeyExW(HKEY_CURRENT_USER, windows_check::kConfinedKey, KEY_WOW64_64KEY, 0);
    // The branch itself, where nobody else uses it.
    (void)::RegDeleteKeyExW(HKEY_CURRENT_USER, windows_check::kScratchKey, KEY_WOW64_64KEY, 0);
  }

 private:
  HKEY m_key = nullptr;
};

// Before any other object's initialiser.
Confinement confinement __attribute__((init_priority(101)));

}  // namespace
