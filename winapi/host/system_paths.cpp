// The paths that the system gives.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/host/call.h"
#include "winapi/host/control.h"
#include "winapi/host/last_error.h"
#include "winapi/host/paths.h"
#include "winapi/host/root.h"
#include "winapi/host/text.h"

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

std::map<std::string, host::PathScript, std::less<>>& TheScripts() {
  static auto& scripts = *new std::map<std::string, host::PathScript, std::less<>>;
  return scripts;
}

// What the test's script for the operation answers; nullopt without one.
std::optional<Dword> AskScript(std::string_view operation, Dword size, char16_t* buffer) {
  const auto found = TheScripts().find(operation);
  if (found == TheScripts().end()) return std::nullopt;
  const host::PathScript script = found->second;  // a script may replace itself
  const host::PathAnswer answer = script(size);
  if (answer.length) return answer.length;
  return answer.text.empty() ? Dword{0} : Give(answer.text, size, buffer);
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

// In Windows' order: TMP, TEMP, the user's own. A variable that names a place outside C: is the
// host user's, set for other programs, and means nothing to the machine that is played here.
std::u16string TemporaryDirectory() {
  std::u16string path = FromVariable("TMP");
  if (path.empty()) path = FromVariable("TEMP");
  if (path.empty()) path = u"C:\\users\\" + host::ToUtf16(host::UserName()) + u"\\Temp";
  if (!path.ends_with(u'\\')) path += u'\\';
  return path;
}

}  // namespace

// Windows sets 123 where nothing is left of a path; Wine doesn't.
Dword GetFullPathNameW(const char16_t* path, Dword size, char16_t* buffer,
                       char16_t** filePart) noexcept {
  host::Call call("GetFullPathNameW");
  call.Argument("path", path).Argument("size", size);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Dword{0});
  if (const auto scripted = AskScript("GetFullPathNameW", size, buffer)) return *scripted;
  const std::u16string full = path == nullptr ? std::u16string() : host::FullPathName(path);
  if (full.empty()) return host::FailWith(kErrorInvalidName, Dword{0});
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
  if (const auto scripted = AskScript("GetCurrentDirectoryW", size, buffer)) return *scripted;
  return Give(host::CurrentDirectory(), size, buffer);
}

Dword GetTempPathW(Dword size, char16_t* buffer) noexcept {
  host::Call call("GetTempPathW");
  call.Argument("size", size);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Dword{0});
  if (const auto scripted = AskScript("GetTempPathW", size, buffer)) return *scripted;
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
  if (const auto scripted = AskScript("GetSystemDirectoryW", size, buffer)) return *scripted;
  return Give(kSystemDirectory, size, buffer);
}

void host::SetPathScript(std::string_view operation, PathScript script) {
  const SeamMark mark;
  auto& scripts = TheScripts();
  scripts.erase(std::string(operation));
  if (script) scripts.emplace(operation, std::move(script));
}

}  // namespace winapi
