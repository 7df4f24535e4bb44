// The reader of registry files on any bytes: a file that can't be read says why and changes
// nothing, and what could be read is the same when it is written and read again.
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/input.h"
#include "winapi/host/reg_file_reader.h"
#include "winapi/host/reg_file_text.h"
#include "winapi/host/reg_file_writer.h"
#include "winapi/host/registry_tree.h"
#include "winapi/host/text.h"

namespace {

namespace host = winapi::host;
using host::RegFileError;
using host::RegistryKey;
using host::RegistryTree;

bool AreSame(const RegistryKey& left, const RegistryKey& right) {
  if (left.Name() != right.Name() || left.Values() != right.Values()) return false;
  return std::equal(left.SubKeys().begin(), left.SubKeys().end(), right.SubKeys().begin(),
                    right.SubKeys().end(),
                    [](const auto& a, const auto& b) { return AreSame(*a, *b); });
}

bool AreSame(const RegistryTree& left, const RegistryTree& right) {
  return std::equal(left.Hives().begin(), left.Hives().end(), right.Hives().begin(),
                    right.Hives().end(),
                    [](const auto& a, const auto& b) { return AreSame(*a, *b); });
}

bool IsOneLine(const std::string& reason) {
  return !reason.empty() && !reason.ends_with('.') &&
         reason.find_first_of("\r\n") == std::string::npos;
}

struct Reading {
  bool isRead = false;
  RegistryTree tree;
  RegFileError error;
  std::vector<RegFileError> warnings;
};

Reading Read(std::string_view bytes, const std::vector<std::u16string>& branches = {}) {
  Reading reading;
  (void)reading.tree.Create(u"HKEY_USERS\\before");
  reading.isRead = host::ParseRegFile(std::string(bytes), reading.tree, reading.error,
                                      &reading.warnings, branches);
  if (!reading.isRead) {
    fuzz::Require(IsOneLine(reading.error.reason) && reading.error.line > 0, "damage is told");
    RegistryTree before;
    (void)before.Create(u"HKEY_USERS\\before");
    fuzz::Require(AreSame(reading.tree, before), "damage changes nothing");
  }
  for (const RegFileError& warning : reading.warnings) {
    fuzz::Require(!warning.reason.empty() && warning.line > 0, "a warning says something");
  }
  return reading;
}

// Written and read again it is the same, and written once more too.
void CheckRoundTrip(const RegistryTree& tree) {
  const std::string written = host::WriteRegFile(tree);
  const Reading again = Read(written);
  fuzz::Require(again.isRead && again.warnings.empty(), "what is written can be read");
  fuzz::Require(AreSame(again.tree, tree), "what is written is read as it was");
  fuzz::Require(host::WriteRegFile(again.tree) == written, "the second writing is the first");
}

constexpr std::u16string_view kBranch = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes";

// Below a branch the same, elsewhere nothing.
void CheckBranch(std::string_view bytes, const Reading& whole) {
  const Reading part = Read(bytes, {std::u16string(kBranch)});
  fuzz::Require(part.isRead == whole.isRead, "a branch is read with the same care");
  if (!whole.isRead) {
    fuzz::Require(part.error.line == whole.error.line && part.error.reason == whole.error.reason,
                  "a branch's damage is the file's");
    return;
  }
  const auto expected = whole.tree.Find(kBranch);
  const auto found = part.tree.Find(kBranch);
  if (found != nullptr) {
    fuzz::Require(expected != nullptr && found->SubKeys().size() == expected->SubKeys().size(),
                  "a branch has the keys of the file");
  }
  if (expected == nullptr) return;
  // A key that only another one's deletion made isn't the branch's own; all that it holds is.
  const bool isEmpty = expected->Values().empty() && expected->SubKeys().empty();
  fuzz::Require(found != nullptr ? found->Values() == expected->Values() : isEmpty,
                "a branch has the file's values");
  if (found == nullptr) return;
  for (auto a = expected->SubKeys().begin(), b = found->SubKeys().begin();
       a != expected->SubKeys().end(); ++a, ++b) {
    fuzz::Require(AreSame(**a, **b), "below a branch all is the file's");
  }
  RegistryTree rest = part.tree;
  (void)rest.Delete(kBranch);
  (void)rest.Delete(u"HKEY_LOCAL_MACHINE\\SOFTWARE");
  fuzz::Require(AreSame(rest, RegistryTree()), "nothing else is kept");
}

std::string Utf16(std::u16string_view text, bool lowFirst) {
  std::string bytes = lowFirst ? "\xFF\xFE" : "\xFE\xFF";
  for (const char16_t unit : text) {
    const char lower = static_cast<char>(unit & 0xFF);
    const char upper = static_cast<char>(unit >> 8);
    bytes += lowFirst ? lower : upper;
    bytes += lowFirst ? upper : lower;
  }
  return bytes;
}

void CheckSame(const Reading& reading, std::string_view bytes) {
  const Reading other = Read(bytes);
  fuzz::Require(other.isRead == reading.isRead, "an encoding changes nothing");
  fuzz::Require(!reading.isRead || AreSame(other.tree, reading.tree),
                "an encoding changes no value");
  fuzz::Require(reading.isRead || other.error.line == reading.error.line,
                "an encoding moves no damage");
}

// The newer form says the same in each encoding.
void CheckEncodings(std::string_view bytes, const Reading& reading) {
  host::RegFileText text;
  if (host::DecodeRegFile(bytes, text) != nullptr || text.isOlderForm) return;
  CheckSame(reading, Utf16(text.text, /*lowFirst=*/true));
  CheckSame(reading, Utf16(text.text, /*lowFirst=*/false));
  CheckSame(reading, "\xEF\xBB\xBF" + host::ToUtf8(text.text));
}

// A file that breaks off inside a line is found out.
void CheckTorn(std::string_view bytes, const Reading& reading) {
  host::RegFileText text;
  if (!reading.isRead || host::DecodeRegFile(bytes, text) != nullptr || text.isOlderForm) return;
  std::u16string_view torn = text.text;
  while (torn.ends_with(u'\n') || torn.ends_with(u'\r')) torn.remove_suffix(1);
  if (torn.size() == text.text.size()) return;
  for (std::size_t size = torn.size(); size > 0 && size + 8 > torn.size(); --size) {
    const char16_t last = torn[size - 1];
    if (last == u'\n' || last == u'\r') continue;
    fuzz::Require(!Read(Utf16(torn.substr(0, size), /*lowFirst=*/true)).isRead,
                  "a torn file is found out");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const Reading reading = Read(bytes);
  if (reading.isRead) CheckRoundTrip(reading.tree);
  CheckBranch(bytes, reading);
  CheckEncodings(bytes, reading);
  CheckTorn(bytes, reading);
  return 0;
}
