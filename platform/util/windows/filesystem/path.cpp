#include "platform/util/windows/filesystem/path.h"

#include <vector>

#include "oru/rtl/exception.h"
#include "platform/util/windows/filesystem/growing_buffer.h"
#include "winapi/files.h"

namespace product_platform::filesystem {
namespace {

constexpr char kSourceFile[] = "platform/util/windows/filesystem/path";
constexpr std::u16string_view kLongPathPrefix = u"\\\\?\\";

std::size_t SkipComponent(std::u16string_view path, std::size_t position) noexcept {
  while (position < path.size() && !IsPathSeparator(path[position])) ++position;
  return position;
}

std::size_t SkipSeparator(std::u16string_view path, std::size_t position) noexcept {
  return position < path.size() && IsPathSeparator(path[position]) ? position + 1 : position;
}

std::size_t SkipServerAndShare(std::u16string_view path, std::size_t position) noexcept {
  position = SkipComponent(path, position);
  return SkipComponent(path, SkipSeparator(path, position));
}

// The end of a rooted path's root: server and share, behind "UNC" too, a drive with its separator,
// or one component behind a prefix.
std::size_t SkipRoot(std::u16string_view path) noexcept {
  if (!HasLongPathPrefix(path)) return SkipServerAndShare(path, /*position=*/2);
  const std::size_t behindPrefix = kLongPathPrefix.size();
  const std::u16string_view rest = path.substr(behindPrefix);
  if (rest.starts_with(u"UNC")) {
    return SkipServerAndShare(path, SkipSeparator(path, behindPrefix + 3));
  }
  if (IsDriveAbsolutePath(rest)) return behindPrefix + 3;
  return SkipComponent(path, behindPrefix);
}

// Where the part begins that is to be compacted; a separator behind the root belongs to it.
std::size_t CompactionStart(std::u16string_view path) noexcept {
  if (IsRootedPath(path)) {
    const std::size_t end = SkipRoot(path);
    return IsPathSeparator(path[end - 1]) ? end - 1 : end;
  }
  return IsDriveAbsolutePath(path) ? 2 : 0;
}

// The part's segments, empty ones too.
std::vector<std::u16string_view> SplitSegments(std::u16string_view part) {
  std::vector<std::u16string_view> segments;
  std::size_t begin = 0;
  while (true) {
    const std::size_t end = SkipComponent(part, begin);
    segments.push_back(part.substr(begin, end - begin));
    if (end == part.size()) return segments;
    begin = end + 1;
  }
}

// From the end to the start: each ".." is met before the segment that it takes away.
std::u16string Compact(std::u16string_view part) {
  const bool absolute = !part.empty() && IsPathSeparator(part.front());
  const std::vector<std::u16string_view> segments = SplitSegments(part);
  std::size_t toSkip = 0;
  std::vector<std::u16string_view> kept;  // last one first
  for (std::size_t i = segments.size(); i-- > 0;) {
    const std::u16string_view segment = segments[i];
    // A "." at the start of the part is kept.
    if (segment.empty() || (segment == u"." && i != 0)) continue;
    if (segment == u"..") {
      ++toSkip;
    } else if (toSkip > 0) {
      --toSkip;
    } else {
      kept.push_back(segment);
    }
  }
  // Above a root there is nothing: what is left over is lost.
  if (!absolute) kept.insert(kept.end(), toSkip, u"..");
  std::u16string result;
  for (std::size_t i = kept.size(); i-- > 0;) {
    if (absolute || !result.empty()) result += u'\\';
    result += kept[i];
  }
  if (absolute && result.empty()) result = u"\\";
  return result;
}

std::u16string CurrentDirectory() {
  std::u16string directory;
  const oru::ResultCode rc =
      CallWithGrowingBuffer(directory, [](winapi::Dword size, char16_t* buffer) {
        return winapi::GetCurrentDirectoryW(size, buffer);
      });
  if (ORU_FAILED(rc)) throw oru::ResultCodeException(kSourceFile, __LINE__, rc);
  return directory;
}

// What a path that isn't rooted is appended to.
std::u16string LongPathBase(std::u16string_view path) {
  if (IsDriveAbsolutePath(path)) return std::u16string(kLongPathPrefix);
  std::u16string directory = CurrentDirectory();
  if (!HasLongPathPrefix(directory)) directory.insert(0, kLongPathPrefix);
  return directory;
}

}  // namespace

// Slashes don't count here, though they separate everywhere else.
bool IsRootedPath(std::u16string_view path) noexcept { return path.starts_with(u"\\\\"); }

// The first character isn't looked at: whether it is a letter is the system's affair.
bool IsDriveAbsolutePath(std::u16string_view path) noexcept {
  return path.size() >= 3 && path[1] == u':' && IsPathSeparator(path[2]);
}

bool HasLongPathPrefix(std::u16string_view path) noexcept {
  return path.size() >= 4 && IsRootedPath(path) && (path[2] == u'?' || path[2] == u'.') &&
         path[3] == u'\\';
}

std::size_t FileNameStart(std::u16string_view path) noexcept {
  const std::size_t separator = path.find_last_of(u"\\/");
  if (separator != std::u16string_view::npos) return separator + 1;
  return path.size() >= 2 && path[1] == u':' ? 2 : 0;
}

std::u16string GetFileNamePart(std::u16string_view path) {
  return std::u16string(path.substr(FileNameStart(path)));
}

std::u16string GetParentPath(std::u16string_view path) {
  std::u16string_view parent = path.substr(0, FileNameStart(path));
  // The root of a drive keeps its separator: without it, the path is the drive's current directory.
  if (parent.size() > 1 && IsPathSeparator(parent.back()) && parent[parent.size() - 2] != u':') {
    parent.remove_suffix(1);
  }
  return std::u16string(parent);
}

// An absolute `right` isn't looked for: it is appended like any other.
std::u16string JoinPath(std::u16string_view left, std::u16string_view right) {
  std::u16string path(left);
  if (right.empty()) return path;
  if (!path.empty() && !IsPathSeparator(path.back())) path += u'\\';
  path += right;
  return path;
}

std::u16string MakeLongPath(std::u16string_view path) {
  // As it is, dots and all: the system takes what stands behind a prefix literally.
  if (IsRootedPath(path)) return std::u16string(path);
  std::u16string result = JoinPath(LongPathBase(path), path);
  NormalizePath(result);
  return result;
}

void NormalizePath(std::u16string& path) {
  if (path.empty() || (path.size() == 2 && path[1] == u':')) return;
  const std::size_t start = CompactionStart(path);
  path.replace(start, std::u16string::npos, Compact(std::u16string_view(path).substr(start)));
}

}  // namespace product_platform::filesystem
