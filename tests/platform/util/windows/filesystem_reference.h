// The rules for paths and masks a second time, in the plainest way and without regard to time, to
// compare with at random.
#ifndef TESTS_PLATFORM_UTIL_WINDOWS_FILESYSTEM_REFERENCE_H_
#define TESTS_PLATFORM_UTIL_WINDOWS_FILESYSTEM_REFERENCE_H_

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tests {

[[nodiscard]] inline bool IsSeparator(char16_t c) { return c == u'\\' || c == u'/'; }

// How much of `text` its first `count` components take up, with the one separator between them.
[[nodiscard]] inline std::size_t Components(std::u16string_view text, int count) {
  std::size_t used = 0;
  while (true) {
    const std::size_t end = text.find_first_of(u"\\/", used);
    if (end == std::u16string_view::npos) return text.size();
    if (--count == 0) return end;
    used = end + 1;
  }
}

[[nodiscard]] inline std::size_t RootLength(const std::u16string& path) {
  if (path.substr(0, 2) != u"\\\\") {
    return path.size() > 2 && path[1] == u':' && IsSeparator(path[2]) ? 2 : 0;
  }
  const std::u16string head = path.substr(0, 4);
  const std::u16string_view rest =
      std::u16string_view(path).substr(std::min<std::size_t>(4, path.size()));
  std::size_t length = 0;
  if (head != u"\\\\?\\" && head != u"\\\\.\\") {
    length = 2 + Components(std::u16string_view(path).substr(2), 2);
  } else if (rest.substr(0, 3) == u"UNC") {
    const std::u16string_view server = rest.substr(3);
    const bool separated = !server.empty() && IsSeparator(server[0]);
    length = 7 + (separated ? 1 + Components(server.substr(1), 2) : Components(server, 2));
  } else if (rest.size() > 2 && rest[1] == u':' && IsSeparator(rest[2])) {
    length = 7;
  } else {
    length = 4 + Components(rest, 1);
  }
  return IsSeparator(path[length - 1]) ? length - 1 : length;
}

// NormalizePath from the front, on a list of what is kept.
[[nodiscard]] inline std::u16string ReferenceNormal(const std::u16string& path) {
  if (path.empty() || (path.size() == 2 && path[1] == u':')) return path;
  const std::u16string root = path.substr(0, RootLength(path));
  const std::u16string part = path.substr(root.size());
  const bool separated = !part.empty() && IsSeparator(part[0]);
  std::vector<std::u16string> kept;
  std::u16string segment;
  bool first = true;
  for (const char16_t c : part + u"/") {
    if (!IsSeparator(c)) {
      segment += c;
      continue;
    }
    if (segment == u"..") {
      if (!kept.empty() && kept.back() != u"..") {
        kept.pop_back();
      } else if (!separated) {
        kept.push_back(segment);
      }
    } else if (!segment.empty() && (segment != u"." || first)) {
      kept.push_back(segment);
    }
    segment.clear();
    first = false;
  }
  std::u16string result = root;
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (i > 0 || separated) result += u"\\";
    result += kept[i];
  }
  return kept.empty() && separated ? result + u"\\" : result;
}

[[nodiscard]] inline bool IsRooted(const std::u16string& path) {
  return path.substr(0, 2) == u"\\\\";
}

[[nodiscard]] inline bool IsAbsolute(const std::u16string& path) {
  return IsRooted(path) || (path.size() > 2 && path[1] == u':' && IsSeparator(path[2]));
}

// A path where its name begins.
struct ReferenceHalves {
  std::u16string directory;  // with what separates it from the name
  std::u16string name;
};

[[nodiscard]] inline ReferenceHalves ReferenceCut(const std::u16string& path) {
  const bool separated = std::any_of(path.begin(), path.end(), IsSeparator);
  ReferenceHalves halves;
  for (std::size_t i = 0; i < path.size(); ++i) {
    halves.name += path[i];
    if (separated ? !IsSeparator(path[i]) : i != 1 || path[i] != u':') continue;
    halves.directory += halves.name;
    halves.name.clear();
  }
  return halves;
}

[[nodiscard]] inline std::u16string ReferenceParent(const std::u16string& path) {
  std::u16string parent = ReferenceCut(path).directory;
  const std::size_t size = parent.size();
  if (size > 1 && IsSeparator(parent[size - 1]) && parent[size - 2] != u':') parent.pop_back();
  return parent;
}

[[nodiscard]] inline std::u16string ReferenceJoin(const std::u16string& left,
                                                  const std::u16string& right) {
  const bool isEnough = left.empty() || right.empty() || IsSeparator(left.back());
  return left + (isEnough ? u"" : u"\\") + right;
}

// `current` is the current directory.
[[nodiscard]] inline std::u16string ReferenceLong(const std::u16string& path,
                                                  const std::u16string& current) {
  if (IsRooted(path)) return path;
  if (IsAbsolute(path)) return ReferenceNormal(u"\\\\?\\" + path);
  const std::u16string head = current.substr(0, 4);
  const bool hasPrefix = head == u"\\\\?\\" || head == u"\\\\.\\";
  return ReferenceNormal(ReferenceJoin((hasPrefix ? u"" : u"\\\\?\\") + current, path));
}

// So that what counts as the same is the same: letters in upper case, separators as slashes.
[[nodiscard]] inline std::u16string Comparable(std::u16string text) {
  for (char16_t& c : text) {
    if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - 0x20);
    if (c == u'\\') c = u'/';
  }
  return text;
}

// Of comparable texts.
[[nodiscard]] inline bool ReferenceWildcard(std::u16string_view name, std::u16string_view mask) {
  if (mask.empty()) return name.empty();
  if (mask[0] == u'*') {
    return ReferenceWildcard(name, mask.substr(1)) ||
           (!name.empty() && ReferenceWildcard(name.substr(1), mask));
  }
  if (name.empty() || (mask[0] != u'?' && mask[0] != name[0])) return false;
  return ReferenceWildcard(name.substr(1), mask.substr(1));
}

// How the directory of a mask is looked at.
enum class DirectoryRule { kNone, kRelative, kWhole, kBeginning, kAnyAbsolute };

[[nodiscard]] inline DirectoryRule RuleOf(const std::u16string& mask) {
  const std::u16string directory = ReferenceCut(mask).directory;
  if (!IsAbsolute(mask)) return directory.empty() ? DirectoryRule::kNone : DirectoryRule::kRelative;
  const std::size_t wildcard = directory.find_first_of(u"*?");
  if (wildcard == std::u16string::npos) return DirectoryRule::kWhole;
  return wildcard == 0 ? DirectoryRule::kAnyAbsolute : DirectoryRule::kBeginning;
}

// Both directories comparable.
[[nodiscard]] inline bool EndsInComponents(const std::u16string& path, const std::u16string& whole,
                                           const std::u16string& directory) {
  std::vector<std::size_t> ends;  // of the occurrences at the start or behind a separator
  for (std::size_t i = 0; i < path.size(); ++i) {
    const bool begins = i == 0 || path[i - 1] == u'/';
    if (begins && path.substr(i, directory.size()) == directory) {
      ends.push_back(i + directory.size());
    }
  }
  return !ends.empty() && ends.back() == whole.size();
}

[[nodiscard]] inline bool ReferenceMatch(const std::u16string& path, const std::u16string& mask) {
  const ReferenceHalves have = ReferenceCut(path);
  const ReferenceHalves want = ReferenceCut(mask);
  const std::u16string whole = Comparable(have.directory);
  const std::u16string directory = Comparable(want.directory);
  if (path.empty() || whole.size() < directory.size()) return false;
  bool fits = true;
  switch (RuleOf(mask)) {
    case DirectoryRule::kNone:
      break;
    case DirectoryRule::kRelative:
      fits = EndsInComponents(Comparable(path), whole, directory);
      break;
    case DirectoryRule::kWhole:
      fits = whole == directory;
      break;
    case DirectoryRule::kBeginning: {
      const std::size_t count = directory.find_first_of(u"*?") - 1;
      fits = Comparable(path).substr(0, count) == directory.substr(0, count);
      break;
    }
    case DirectoryRule::kAnyAbsolute:
      fits = IsAbsolute(path);
      break;
  }
  if (!fits) return false;
  if (want.name.empty() || want.name == u"*" || want.name == u"*.*") return !have.name.empty();
  return ReferenceWildcard(Comparable(have.name), Comparable(want.name));
}

}  // namespace tests

#endif  // TESTS_PLATFORM_UTIL_WINDOWS_FILESYSTEM_REFERENCE_H_
