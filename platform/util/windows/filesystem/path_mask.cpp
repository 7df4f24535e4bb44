#include "platform/util/windows/filesystem/path_mask.h"

#include <algorithm>
#include <cstddef>

#include "platform/util/windows/filesystem/path.h"

namespace product_platform::filesystem {
namespace {

// A path or mask, cut where its last component begins.
struct Halves {
  std::u16string_view directory;
  std::u16string_view name;
};

Halves Split(std::u16string_view path) noexcept {
  const std::size_t start = FileNameStart(path);
  return {path.substr(0, start), path.substr(start)};
}

// The character that is the same in a path: a letter's other case, by the C library's default
// locale, or the other separator; else the character itself.
char16_t OtherForm(char16_t unit) noexcept {
  constexpr int kCase = u'a' ^ u'A';  // the one bit in which the cases differ
  const int lower = unit | kCase;
  if (lower >= u'a' && lower <= u'z') return static_cast<char16_t>(unit ^ kCase);
  if (unit == u'/') return u'\\';
  return unit == u'\\' ? u'/' : unit;
}

bool SameBeginning(std::u16string_view path, std::u16string_view beginning) noexcept {
  return path.size() >= beginning.size() &&
         std::equal(beginning.begin(), beginning.end(), path.begin(), IsSamePathChar);
}

bool IsAbsolute(std::u16string_view path) noexcept {
  return IsRootedPath(path) || IsDriveAbsolutePath(path);
}

// The last place where the mask's directory stands at the path's start or behind a separator must
// end where the path's name begins.
bool MatchRelativeDirectory(std::u16string_view path, std::size_t nameStart,
                            std::u16string_view directory) noexcept {
  for (std::size_t position = path.size() - directory.size() + 1; position-- > 0;) {
    if (position != 0 && !IsPathSeparator(path[position - 1])) continue;
    if (SameBeginning(path.substr(position), directory)) {
      return position + directory.size() == nameStart;
    }
  }
  return false;
}

// Behind a wildcard nothing is looked at, and the character before it isn't either: settled so.
bool MatchAbsoluteDirectory(std::u16string_view path, std::u16string_view pathDirectory,
                            std::u16string_view directory) noexcept {
  const std::size_t wildcard = directory.find_first_of(u"*?");
  if (wildcard == std::u16string_view::npos) {
    return SameBeginning(path, directory) && pathDirectory.size() == directory.size();
  }
  if (wildcard == 0) return IsAbsolute(path);
  return SameBeginning(path, directory.substr(0, wildcard - 1));
}

bool MatchDirectory(std::u16string_view path, const Halves& pathHalves, std::u16string_view mask,
                    std::u16string_view directory) noexcept {
  if (IsAbsolute(mask)) return MatchAbsoluteDirectory(path, pathHalves.directory, directory);
  return directory.empty() || MatchRelativeDirectory(path, pathHalves.directory.size(), directory);
}

// From `start` on, the place at which a mask without a "*" in front may begin, by its first
// character; the name's end where there is none.
std::size_t FindFirst(std::u16string_view name, std::size_t start,
                      std::u16string_view mask) noexcept {
  if (mask.empty()) return name.size();  // that "*" is the last of the mask and takes the rest
  if (mask[0] == u'?') return start;
  const char16_t other = OtherForm(mask[0]);
  while (start < name.size() && name[start] != mask[0] && name[start] != other) ++start;
  return start;
}

}  // namespace

bool IsSamePathChar(char16_t a, char16_t b) noexcept { return a == b || a == OtherForm(b); }

// One level of backtracking is enough: what an earlier "*" takes can be left to the last one. So
// the time is at most the product of the two lengths, and comes to half of that where a run of
// one letter meets a "*", half as many of them and another letter.
bool MatchWildcard(std::u16string_view name, std::u16string_view mask) noexcept {
  constexpr std::size_t none = std::u16string_view::npos;
  std::size_t n = 0;
  std::size_t m = 0;
  std::size_t lastStar = none;  // its place in the mask
  std::size_t taken = 0;        // where the name goes on behind what that "*" takes
  while (n < name.size()) {
    if (m < mask.size()) {
      if (mask[m] == u'*') {
        lastStar = m++;
        taken = n;
        continue;
      }
      if (mask[m] == u'?' || IsSamePathChar(name[n], mask[m])) {
        ++n;
        ++m;
        continue;
      }
    }
    if (lastStar == none) return false;
    m = lastStar + 1;
    taken = FindFirst(name, taken + 1, mask.substr(m));
    n = taken;
  }
  return mask.find_first_not_of(u'*', m) == none;
}

bool MatchPathMask(std::u16string_view path, std::u16string_view mask) noexcept {
  if (path.empty()) return false;
  const Halves pathHalves = Split(path);
  const Halves maskHalves = Split(mask);
  // Goes by lengths though a "*" of the mask might stand for nothing; keeps the searches in bounds.
  if (pathHalves.directory.size() < maskHalves.directory.size()) return false;
  if (!MatchDirectory(path, pathHalves, mask, maskHalves.directory)) return false;
  if (maskHalves.name.empty() || maskHalves.name == u"*" || maskHalves.name == u"*.*") {
    return !pathHalves.name.empty();
  }
  return MatchWildcard(pathHalves.name, maskHalves.name);
}

}  // namespace product_platform::filesystem
