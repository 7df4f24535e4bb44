#include "winapi/host/root.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "winapi/host/call.h"
#include "winapi/host/control.h"

namespace winapi::host {
namespace {

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

std::string HomeFolder() {
  if (std::string home = Variable("HOME"); !home.empty()) return home;
  const passwd* user = ::getpwuid(::getuid());
  return user == nullptr || user->pw_dir == nullptr ? std::string("/") : std::string(user->pw_dir);
}

std::filesystem::path ConfiguredRoot() {
  if (std::string root = Variable("ZUM_HOST_ROOT"); !root.empty()) return root;
  // A relative XDG folder is invalid by its specification and to be ignored.
  if (std::string state = Variable("XDG_STATE_HOME"); state.starts_with('/')) {
    return std::filesystem::path(state) / "zum-host";
  }
  return std::filesystem::path(HomeFolder()) / ".local" / "state" / "zum-host";
}

// Made absolute at once: the current folder may change later.
std::string SettleRoot() {
  const std::filesystem::path configured = ConfiguredRoot();
  std::error_code error;
  std::filesystem::path root = std::filesystem::absolute(configured, error);
  if (error) root = configured;  // the current folder is gone; a later open will say so
  root = root.lexically_normal();
  if (!root.has_filename() && root.has_relative_path()) root = root.parent_path();
  return root.string();
}

}  // namespace

const std::string& Root() {
  static const std::string& root = *new std::string(SettleRoot());
  return root;
}

std::string RegistryFilePath() { return Root() + "/registry.reg"; }
std::string RegistryLockPath() { return Root() + "/registry.lock"; }
std::string DriveCFolder() { return Root() + "/drive_c"; }

std::string UserName() {
  const passwd* user = ::getpwuid(::geteuid());
  return user == nullptr || user->pw_name == nullptr ? "user" : user->pw_name;
}

bool MakeDriveC() {
  const std::string drive = DriveCFolder();
  return MakeFolders(drive + "/windows/system32") &&
         MakeFolders(drive + "/users/" + UserName() + "/Temp");
}

bool MakeFolders(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  return std::filesystem::is_directory(path, error);
}

std::string RootFolder() {
  const SeamMark mark;
  return Root();
}

}  // namespace winapi::host
