// The operations on paths against the rules in path_rules.h. The first line of an input is the
// current directory, with a digit in front that tells how often it grows between two calls; each
// further line is a path.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/input.h"
#include "fuzz/lines.h"
#include "fuzz/path_rules.h"
#include "oru/rtl/exception.h"
#include "platform/util/windows/filesystem/path.h"
#include "winapi/host/control.h"

namespace {

namespace filesystem = product_platform::filesystem;

struct CurrentDirectory {
  std::u16string path;
  unsigned growths = 0;  // calls for which it turns out too long
};

CurrentDirectory TakeDirectory(const std::u16string& line) {
  if (line.empty() || line[0] < u'0' || line[0] > u'9') return {line};
  return {line.substr(1), static_cast<unsigned>(line[0] - u'0')};
}

// Gives the current directory while it lives.
class ScriptedDirectory {
 public:
  explicit ScriptedDirectory(const CurrentDirectory& directory) {
    winapi::host::SetPathScript("GetCurrentDirectoryW", [this, &directory](winapi::Dword size) {
      std::u16string text = directory.path;
      if (m_call++ < directory.growths) text.append(size, u'g');
      return winapi::host::PathAnswer{.text = text};
    });
  }
  ScriptedDirectory(const ScriptedDirectory&) = delete;
  ScriptedDirectory& operator=(const ScriptedDirectory&) = delete;
  ~ScriptedDirectory() { winapi::host::SetPathScript("GetCurrentDirectoryW", {}); }

 private:
  unsigned m_call = 0;
};

// What five calls, the first one with room for 260 characters, make of it; nullopt for a failure.
std::optional<std::u16string> DirectoryRead(const CurrentDirectory& directory) {
  std::size_t room = 260;
  for (unsigned call = 0; call < 5; ++call) {
    const bool grows = call < directory.growths;
    const std::size_t length = directory.path.size() + (grows ? room : 0);
    if (length == 0) return std::nullopt;
    if (length < room) return directory.path;
    room = length + 1;
  }
  return u"";
}

std::optional<std::u16string> LongPath(const std::u16string& path) {
  try {
    return filesystem::MakeLongPath(path);
  } catch (const oru::ResultCodeException& exception) {
    fuzz::Require(ORU_FAILED(exception.Code()), "a failure has a failure's code");
    return std::nullopt;
  }
}

void CheckForms(const std::u16string& path) {
  using fuzz::Require;
  Require(filesystem::IsRootedPath(path) == fuzz::Rooted(path), "rooted is told");
  Require(filesystem::IsDriveAbsolutePath(path) == fuzz::OnDrive(path), "drive-absolute is told");
  Require(filesystem::HasLongPathPrefix(path) == fuzz::Prefixed(path), "a prefix is told");
  Require(
      std::all_of(path.begin(), path.end(),
                  [](char16_t c) { return filesystem::IsPathSeparator(c) == fuzz::Separates(c); }),
      "separators are told");
  const std::u16string name = fuzz::FileName(path);
  Require(filesystem::GetFileNamePart(path) == name, "the file name is the rule's");
  Require(filesystem::FileNameStart(path) == path.size() - name.size(), "the name begins there");
  Require(filesystem::GetParentPath(path) == fuzz::Parent(path), "the parent is the rule's");
}

void CheckNormal(const std::u16string& path) {
  std::u16string normal = path;
  filesystem::NormalizePath(normal);
  fuzz::Require(normal == fuzz::Normalized(path), "the normal form is the rule's");
  const std::u16string once = normal;
  filesystem::NormalizePath(normal);
  fuzz::Require(normal == once, "a second time changes nothing");
}

void CheckLong(const std::u16string& path, const CurrentDirectory& directory) {
  const ScriptedDirectory script(directory);
  const std::optional<std::u16string> current = DirectoryRead(directory);
  const bool isRelative = !fuzz::Rooted(path) && !fuzz::OnDrive(path);
  const std::optional<std::u16string> made = LongPath(path);
  fuzz::Require(made.has_value() == (current.has_value() || !isRelative),
                "only the current directory can be missing");
  if (made) {
    fuzz::Require(*made == fuzz::LongForm(path, current.value_or(u"")),
                  "the long form is the rule's");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::u16string> lines = fuzz::WideLines(data, size);
  const CurrentDirectory directory = TakeDirectory(lines.front());
  for (std::size_t i = 1; i < lines.size(); ++i) {
    CheckForms(lines[i]);
    CheckNormal(lines[i]);
    CheckLong(lines[i], directory);
    fuzz::Require(
        filesystem::JoinPath(lines[i - 1], lines[i]) == fuzz::Joined(lines[i - 1], lines[i]),
        "the two are joined by the rule");
  }
  return 0;
}
