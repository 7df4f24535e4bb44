// The rules for paths once more, step by step as they are told: what the product does by cutting a
// path into parts is done here by walking over its characters.
#ifndef FUZZ_PATH_RULES_H_
#define FUZZ_PATH_RULES_H_

#include <cstddef>
#include <string>

namespace fuzz {

inline bool Separates(char16_t c) { return c == u'\\' || c == u'/'; }

inline bool Rooted(const std::u16string& path) {
  return path.size() > 1 && path[0] == u'\\' && path[1] == u'\\';
}

inline bool OnDrive(const std::u16string& path, std::size_t first = 0) {
  return path.size() >= first + 3 && path[first + 1] == u':' && Separates(path[first + 2]);
}

inline bool Prefixed(const std::u16string& path) {
  return path.size() > 3 && Rooted(path) && (path[2] == u'?' || path[2] == u'.') &&
         path[3] == u'\\';
}

// Behind the last separator, else behind a colon in second place, else all of it.
inline std::u16string FileName(const std::u16string& path) {
  for (std::size_t i = path.size(); i > 0; --i) {
    if (Separates(path[i - 1])) return path.substr(i);
  }
  return path.size() > 1 && path[1] == u':' ? path.substr(2) : path;
}

inline std::u16string Parent(const std::u16string& path) {
  std::u16string parent = path.substr(0, path.size() - FileName(path).size());
  const std::size_t size = parent.size();
  if (size > 1 && Separates(parent[size - 1]) && parent[size - 2] != u':') parent.pop_back();
  return parent;
}

inline std::u16string Joined(const std::u16string& left, const std::u16string& right) {
  if (right.empty()) return left;
  if (left.empty() || Separates(left[left.size() - 1])) return left + right;
  return left + u"\\" + right;
}

// Over one component, from `first` to the next separator or the end.
inline std::size_t OverName(const std::u16string& path, std::size_t first) {
  while (first < path.size() && !Separates(path[first])) ++first;
  return first;
}
inline std::size_t OverSeparator(const std::u16string& path, std::size_t first) {
  return first < path.size() && Separates(path[first]) ? first + 1 : first;
}
inline std::size_t OverServerAndShare(const std::u16string& path, std::size_t first) {
  return OverName(path, OverSeparator(path, OverName(path, first)));
}

// Where the root of a rooted path ends.
inline std::size_t RootEnd(const std::u16string& path) {
  if (!Prefixed(path)) return OverServerAndShare(path, 2);
  if (path.substr(4, 3) == u"UNC") return OverServerAndShare(path, OverSeparator(path, 7));
  return OnDrive(path, 4) ? 7 : OverName(path, 4);
}

inline std::size_t PartStart(const std::u16string& path) {
  if (!Rooted(path)) return OnDrive(path) ? 2 : 0;
  const std::size_t end = RootEnd(path);
  return Separates(path[end - 1]) ? end - 1 : end;
}

// The part from `start` on, from its end to its start, segment by segment.
inline std::u16string Compacted(const std::u16string& path, std::size_t start) {
  std::u16string result;
  std::size_t toSkip = 0;
  const auto putInFront = [&result](const std::u16string& segment) {
    result = result.empty() ? segment : segment + u"\\" + result;
  };
  for (std::size_t end = path.size();; --end) {
    std::size_t begin = end;
    while (begin > start && !Separates(path[begin - 1])) --begin;
    const std::u16string segment = path.substr(begin, end - begin);
    const bool vanishes = segment.empty() || (segment == u"." && begin != start);
    if (segment == u"..") {
      ++toSkip;
    } else if (!vanishes && toSkip > 0) {
      --toSkip;
    } else if (!vanishes) {
      putInFront(segment);
    }
    end = begin;
    if (end == start) break;
  }
  if (start < path.size() && Separates(path[start])) return u"\\" + result;
  for (; toSkip > 0; --toSkip) putInFront(u"..");
  return result;
}

inline std::u16string Normalized(const std::u16string& path) {
  if (path.empty() || (path.size() == 2 && path[1] == u':')) return path;
  const std::size_t start = PartStart(path);
  return path.substr(0, start) + Compacted(path, start);
}

// `current` is what the system gives as the current directory.
inline std::u16string LongForm(const std::u16string& path, const std::u16string& current) {
  if (Rooted(path)) return path;
  if (OnDrive(path)) return Normalized(Joined(u"\\\\?\\", path));
  const std::u16string base = Prefixed(current) ? current : u"\\\\?\\" + current;
  return Normalized(Joined(base, path));
}

}  // namespace fuzz

#endif  // FUZZ_PATH_RULES_H_
