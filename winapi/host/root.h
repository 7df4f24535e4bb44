// The folder that stands for the machine.
//
// The environment variable ZUM_HOST_ROOT names it; without it (or when it is empty) the folder is
// "zum-host" below $XDG_STATE_HOME, else below ~/.local/state. In it lie:
//
//   registry.reg   the registry
//   registry.lock  the lock that a process holds while it uses the registry
//   drive_c/       the drive C:
#ifndef WINAPI_HOST_ROOT_H_
#define WINAPI_HOST_ROOT_H_

#include <string>

namespace winapi::host {

// All are absolute host paths without a trailing separator, settled at the first call and never
// destroyed. Nothing is created by asking.
[[nodiscard]] const std::string& Root();
[[nodiscard]] std::string RegistryFilePath();
[[nodiscard]] std::string RegistryLockPath();
[[nodiscard]] std::string DriveCFolder();

// The name of the user whose process this is; "user" where the system has none for the number.
[[nodiscard]] std::string UserName();

// Makes drive_c as a new machine has it: with Windows' system directory and the user's temporary
// one, which the operations that name them don't make. False when it isn't there afterwards.
bool MakeDriveC();

// Makes a folder and those above it. False when it isn't there afterwards.
bool MakeFolders(const std::string& path);

}  // namespace winapi::host

#endif  // WINAPI_HOST_ROOT_H_
