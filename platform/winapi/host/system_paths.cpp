// The paths that the system gives.
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/winapi/host/call.h"
#include "platform/winapi/host/last_error.h"
#include "platform/winapi/host/paths.h"
#include "platform/winapi/host/root.h"
#include "platform/winapi/host/text.h"
#include "platform/winapi/winapi/errors.h"
#include "platform/winapi/winapi/files.h"

namespace winapi {
namespace {

constexpr std::u16string_view kSystemDirectory = u"C:\\windows\\system32";

// The length, or where the text doesn't fit the size with the terminator.
Dword Give(std::u16string_view text, Dword size, char16_t* buffer) {
  const auto length = static_cast<Dword>(text.size());
  if (buffer == nullptr || length >= size) return length + 1;
  std::copy(text.begin(), text.end(), buffer);
  buffer[length] = u'\0';
  return length;
}

// Makes a folder of C: where it is missing.
void Provide(std::u16string_view path) {
  std::string hostPath;
  if (host::HostPath(path, hostPath) == kErrorSuccess) (void)host::MakeFolders(hostPath);
}

std::u16string UserName() {
  const passwd* user = ::getpwuid(::geteuid());
  return user == nullptr || user->pw_name == nullptr ? u"user" : host::ToUtf16(user->pw_name);
}

// The folder that the variable names, as a host path or a Windows path; empty unless it is on C:.
std::u16string FromVariable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) return {};
  const std::string_view text(value);
  std::u16string path = text.starts_with('/') ? host::WindowsPath(text) : host::ToUtf16(text);
  const bool isOnC =
      path.size() >= 3 && host::Upcase(path[0]) == u'C' && path[1] == u':' && path[2] == u'\\';
  return isOnC ? path : std::u16string();
}

std::u16string TemporaryDirectory() {
  std::u16string path = FromVariable("TMP");
  if (path.empty()) path = FromVariable("TEMP");
  if (path.empty()) path = u"C:\\users\\" + UserName() + u"\\Temp";
  Provide(path);
  if (!path.ends_with(u'\\')) path += u'\\';
  return path;
}

}  // namespace

Dword GetFullPathNameW(const char16_t* path, Dword size, char16_t* buffer,
                       char16_t** filePart) noexcept {
  host::Call call("GetFullPathNameW");
  call.Argument("path", path).Argument("size", size);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Dword{0});
  const std::u16string full = path == nullptr ? std::u16string() : host::FullPathName(path);
  if (full.empty()) return 0;  // as on Windows the last error doesn't tell of it
  const Dword given = Give(full, size, buffer);
  if (filePart == nullptr || given != full.size()) return given;
  const std::size_t name = full.rfind(u'\\') + 1;
  *filePart = name == full.size() ? nullptr : buffer + name;
  return given;
}

Dword GetCurrentDirectoryW(Dword size, char16_t* buffer) noexcept {
  host::Call call("GetCurrentDirectoryW");
  call.Argument("size", size);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Dword{0});
  return Give(host::CurrentDirectory(), size, buffer);
}

Dword GetTempPathW(Dword size, char16_t* buffer) noexcept {
  host::Call call("GetTempPathW");
  call.Argument("size", size);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Dword{0});
  const std::u16string path = TemporaryDirectory();
  const Dword given = Give(path, size, buffer);
  // As on Windows the rest of the buffer becomes zero.
  if (given == path.size()) std::fill(buffer + given, buffer + size, u'\0');
  return given;
}

Dword GetSystemDirectoryW(char16_t* buffer, Dword size) noexcept {
  host::Call call("GetSystemDirectoryW");
  call.Argument("size", size);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Dword{0});
  Provide(kSystemDirectory);
  return Give(kSystemDirectory, size, buffer);
}

}  // namespace winapi
