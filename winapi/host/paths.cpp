#include "winapi/host/paths.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "winapi/errors.h"
#include "winapi/host/root.h"
#include "winapi/host/text.h"

namespace winapi::host {
namespace {

using Parts = std::vector<std::u16string_view>;

constexpr std::u16string_view kLongPrefix = u"\\\\?\\";
constexpr std::size_t kMaxPath = 260;  // MAX_PATH, which counts the terminator

bool IsSeparator(char16_t unit) { return unit == u'\\' || unit == u'/'; }

bool IsBackslash(char16_t unit) { return unit == u'\\'; }

bool IsLetter(char16_t unit) { return Upcase(unit) >= u'A' && Upcase(unit) <= u'Z'; }

// One letter, in any script's sense of case: only A to Z are drives.
bool HasDrive(std::u16string_view path) {
  return path.size() >= 2 && path[1] == u':' && IsLetter(path[0]);
}

// Asked for each character of each path.
bool IsForbidden(char16_t unit) {
  switch (unit) {
    case u'<':
    case u'>':
    case u':':
    case u'"':
    case u'|':
    case u'?':
    case u'*':
    case u'/':
      return true;
    default:
      return unit < u' ';
  }
}

bool IsValidName(std::u16string_view name) {
  return std::none_of(name.begin(), name.end(), IsForbidden);
}

std::u16string_view WithoutTail(std::u16string_view name) {
  while (!name.empty() && (name.back() == u'.' || name.back() == u' ')) name.remove_suffix(1);
  return name;
}

// Without the empty ones.
template <class IsEnd>
Parts Split(std::u16string_view path, IsEnd isEnd) {
  Parts parts;
  while (!path.empty()) {
    const auto end = std::find_if(path.begin(), path.end(), isEnd);
    const auto length = static_cast<std::size_t>(end - path.begin());
    if (length != 0) parts.push_back(path.substr(0, length));
    path.remove_prefix(std::min(length + 1, path.size()));
  }
  return parts;
}

// A part as Windows leaves it: at a path's very end all full stops and blanks fall away, inside one
// full stop only, and only where it stands alone. "a ", "a.." and "..." are names there, of files
// that only the prefix can make.
std::u16string_view PlainName(std::u16string_view part, bool isLast) {
  if (isLast) return WithoutTail(part);
  const bool endsInOneStop = part.ends_with(u'.') && !part.ends_with(u"..");
  return endsInOneStop ? part.substr(0, part.size() - 1) : part;
}

// Appends `rest` to the root `path`, working off the dots; ".." stays at the root.
void AppendParts(std::u16string& path, std::u16string_view rest) {
  bool endsInSeparator = !rest.empty() && IsSeparator(rest.back());
  const Parts parts = Split(rest, IsSeparator);
  Parts kept;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const bool isLast = i + 1 == parts.size() && !endsInSeparator;
    if (parts[i] == u"..") {
      if (!kept.empty()) kept.pop_back();
    } else if (parts[i] != u".") {
      const std::u16string_view name = PlainName(parts[i], isLast);
      if (name.empty()) endsInSeparator = true;
      if (!name.empty()) kept.push_back(name);
    }
  }
  for (const std::u16string_view part : kept) {
    if (!path.ends_with(u'\\')) path += u'\\';
    path += part;
  }
  if (endsInSeparator && !path.ends_with(u'\\')) path += u'\\';
}

// How long the root of a path is that begins with two separators: "\\?\" or the like, or server and
// share.
std::size_t RootLength(std::u16string_view path) {
  const bool isDevice = path.size() >= 4 && (path[2] == u'?' || path[2] == u'.');
  if (isDevice && IsSeparator(path[3])) return 4;
  std::size_t end = 2;
  for (int part = 0; part < 2 && end < path.size(); ++part) {
    if (part == 1) ++end;
    while (end < path.size() && !IsSeparator(path[end])) ++end;
  }
  return end;
}

// Behind the prefix nothing is worked off: the names are those on the disk.
Error LongPath(std::u16string_view path, std::u16string& full) {
  const std::u16string_view rest = path.substr(kLongPrefix.size());
  if (!HasDrive(rest)) return kErrorPathNotFound;
  const Parts parts = Split(rest.substr(2), IsBackslash);
  if (!std::all_of(parts.begin(), parts.end(), IsValidName)) return kErrorInvalidName;
  // No file of the host has these names, but its system would work them off.
  if (std::count(parts.begin(), parts.end(), u".") +
      std::count(parts.begin(), parts.end(), u"..")) {
    return kErrorInvalidName;
  }
  full = {Upcase(rest[0]), u':'};
  for (const std::u16string_view part : parts) full.append(u"\\").append(part);
  if (parts.empty() || rest.ends_with(u'\\')) full += u'\\';
  return kErrorSuccess;
}

// True where `path` is `folder` or lies below it; `rest` is then what follows, with its separator.
bool LiesIn(std::string_view path, std::string_view folder, std::string_view& rest) {
  if (!path.starts_with(folder)) return false;
  rest = path.substr(folder.size());
  return rest.empty() || rest.front() == '/';
}

// A path that isn't a share's, taken apart.
struct Start {
  char16_t drive;
  std::u16string current;  // what a relative path stands behind, without the drive
  std::u16string_view rest;
};

// The current directory is asked for only where it matters: that takes many calls of the host.
Start StartOf(std::u16string_view path) {
  const bool hasDrive = HasDrive(path);
  const std::u16string_view rest = hasDrive ? path.substr(2) : path;
  const bool isRelative = rest.empty() || !IsSeparator(rest.front());
  if (hasDrive && !isRelative) return {Upcase(path[0]), {}, rest};
  const std::u16string current = CurrentDirectory();
  const char16_t drive = hasDrive ? Upcase(path[0]) : current[0];
  const bool isBehind = isRelative && drive == current[0];
  return {drive, isBehind ? current.substr(2) : std::u16string(), rest};
}

// Bytes that are no UTF-8 become U+FFFD: such a host path has a Windows path that leads nowhere.
std::u16string OnDrive(char16_t drive, std::string_view rest) {
  std::u16string path = {drive, u':'};
  path += ToUtf16(rest);
  std::replace(path.begin(), path.end(), u'/', u'\\');
  if (path.size() == 2) path += u'\\';
  return path;
}

}  // namespace

std::u16string CurrentDirectory() {
  std::error_code error;
  const std::filesystem::path current = std::filesystem::current_path(error);
  return error ? std::u16string(u"Z:\\") : WindowsPath(current.string());
}

Error FullPath(std::u16string_view path, std::u16string& full) {
  if (path.starts_with(kLongPrefix)) return LongPath(path, full);
  const bool isShare = path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1]);
  if (isShare) return kErrorPathNotFound;
  std::u16string composed = FullPathName(path);
  if (composed.empty()) return kErrorPathNotFound;
  const Parts parts = Split(std::u16string_view(composed).substr(2), IsBackslash);
  if (!std::all_of(parts.begin(), parts.end(), IsValidName)) return kErrorInvalidName;
  if (composed.size() >= kMaxPath) return kErrorPathNotFound;
  full = std::move(composed);
  return kErrorSuccess;
}

std::u16string FullPathName(std::u16string_view path) {
  if (path.find_first_not_of(u' ') == std::u16string_view::npos) return {};
  std::u16string full;
  if (path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1])) {
    const std::size_t root = RootLength(path);
    full = path.substr(0, root);
    std::replace(full.begin(), full.end(), u'/', u'\\');
    AppendParts(full, path.substr(root));
    return full;
  }
  const Start start = StartOf(path);
  full = {start.drive, u':', u'\\'};
  std::u16string rest = start.current;
  if (!rest.empty() && !start.rest.empty()) rest += u'\\';
  rest += start.rest;
  AppendParts(full, rest);
  return full;
}

bool ReachesLimit(std::u16string_view path, std::size_t limit) {
  return !path.starts_with(kLongPrefix) && FullPathName(path).size() >= limit;
}

std::u16string WindowsPath(std::string_view hostPath) {
  std::string_view rest;
  std::error_code error;
  // The current directory comes with links resolved, so drive_c may have to be compared so, too.
  const std::string resolved = std::filesystem::weakly_canonical(DriveCFolder(), error).string();
  if (LiesIn(hostPath, DriveCFolder(), rest) || (!error && LiesIn(hostPath, resolved, rest))) {
    return OnDrive(u'C', rest);
  }
  return OnDrive(u'Z', hostPath == "/" ? std::string_view() : hostPath);
}

}  // namespace winapi::host
