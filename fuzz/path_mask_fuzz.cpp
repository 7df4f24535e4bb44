// Masks against the rule in its plain form: a table of which beginnings match in place of the walk,
// and the C library's upper case. An input is a path and a mask, each on its line.
#include <cstddef>
#include <cstdint>
#include <cwctype>
#include <string>
#include <vector>

#include "fuzz/input.h"
#include "fuzz/lines.h"
#include "fuzz/path_rules.h"
#include "platform/util/windows/filesystem/path_mask.h"

namespace {

namespace filesystem = product_platform::filesystem;

std::wint_t Upper(char16_t c) { return std::towupper(static_cast<std::wint_t>(c)); }

bool Same(char16_t a, char16_t b) {
  if (a == b || (fuzz::Separates(a) && fuzz::Separates(b))) return true;
  return Upper(a) == std::wint_t{b} || std::wint_t{a} == Upper(b);
}

bool Begins(const std::u16string& path, std::size_t at, const std::u16string& text) {
  if (path.size() < at + text.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!Same(path[at + i], text[i])) return false;
  }
  return true;
}

// matches[n]: whether the name's first n characters match the mask so far.
bool NameMatches(const std::u16string& name, const std::u16string& mask) {
  std::vector<bool> matches(name.size() + 1, false);
  matches[0] = true;
  for (const char16_t want : mask) {
    std::vector<bool> next(name.size() + 1, false);
    for (std::size_t n = 0; n <= name.size(); ++n) {
      if (want == u'*') {
        next[n] = matches[n] || (n > 0 && next[n - 1]);
      } else {
        next[n] = n > 0 && matches[n - 1] && (want == u'?' || Same(name[n - 1], want));
      }
    }
    matches = next;
  }
  return matches[name.size()];
}

bool RelativeDirectoryMatches(const std::u16string& path, std::size_t nameStart,
                              const std::u16string& directory) {
  bool found = false;
  std::size_t end = 0;
  for (std::size_t i = 0; i < path.size(); ++i) {
    if ((i == 0 || fuzz::Separates(path[i - 1])) && Begins(path, i, directory)) {
      found = true;
      end = i + directory.size();
    }
  }
  return found && end == nameStart;
}

bool DirectoryMatches(const std::u16string& path, std::size_t nameStart, const std::u16string& mask,
                      const std::u16string& directory) {
  const bool isAbsolute = fuzz::Rooted(mask) || fuzz::OnDrive(mask);
  if (!isAbsolute) {
    return directory.empty() || RelativeDirectoryMatches(path, nameStart, directory);
  }
  const std::size_t wildcard = directory.find_first_of(u"*?");
  if (wildcard == std::u16string::npos) {
    return nameStart == directory.size() && Begins(path, 0, directory);
  }
  if (wildcard == 0) return fuzz::Rooted(path) || fuzz::OnDrive(path);
  return Begins(path, 0, directory.substr(0, wildcard - 1));
}

bool Matches(const std::u16string& path, const std::u16string& mask) {
  const std::u16string name = fuzz::FileName(path);
  const std::u16string wanted = fuzz::FileName(mask);
  const std::size_t nameStart = path.size() - name.size();
  const std::u16string directory = mask.substr(0, mask.size() - wanted.size());
  if (path.empty() || nameStart < directory.size()) return false;
  if (!DirectoryMatches(path, nameStart, mask, directory)) return false;
  if (wanted.empty() || wanted == u"*" || wanted == u"*.*") return !name.empty();
  return NameMatches(name, wanted);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 1000) return 0;  // the table is the product of both lengths
  const std::vector<std::u16string> lines = fuzz::WideLines(data, size);
  const std::u16string& path = lines.front();
  const std::u16string mask = lines.size() > 1 ? lines[1] : std::u16string();
  fuzz::Require(filesystem::MatchWildcard(path, mask) == NameMatches(path, mask),
                "the walk gives what the table gives");
  fuzz::Require(filesystem::MatchPathMask(path, mask) == Matches(path, mask),
                "the mask matches by the rule");
  for (std::size_t i = 0; i < path.size() && i < mask.size(); ++i) {
    fuzz::Require(filesystem::IsSamePathChar(path[i], mask[i]) == Same(path[i], mask[i]),
                  "the same characters are told");
  }
  return 0;
}
