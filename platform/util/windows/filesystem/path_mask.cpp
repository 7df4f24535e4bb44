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

// The C library's upper case in its default locale.
char16_t ToUpper(char16_t unit) noexcept {
  return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - u'a' + u'A') : unit;
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

}  // namespace

bool IsSamePathChar(char16_t a, char16_t b) noexcept {
  return a == b || (IsPathSeparator(a) && IsPathSeparator(b)) || ToUpper(a) == b || a == ToUpper(b);
}

// One level of backtracking is enough: what an earlier "*" takes can be left to the last one. So
// the time is at most the product of the two lengths.
bool MatchWildcard(std::u16string_view name, std::u16string_view mask) noexcept {
  constexpr std::size_t none = std::u16string_view::npos;
  std::size_t n = 0;
  std::size_t m = 0;
  std::size_t lastStar = none;  // its place in the mask
  std::size_t taken = 0;        // where the name goes on behind what that "*" takes
  while (n < name.size()) {
    if (m < mask.size() && mask[m] == u'*') {
      lastStar = m++;
      taken = n;
    } else if (m < mask.size() && (mask[m] == u'?' || IsSamePathChar(name[n], mask[m]))) {
      ++n;
      ++m;
    } else if (lastStar != none) {
      n = ++taken;
      m = lastStar + 1;
    } else {
      return false;
    }
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
