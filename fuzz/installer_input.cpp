// What the fuzzer's bytes make of a machine.
#include "fuzz/installer_rule.h"

#include "fuzz/texts.h"

namespace fuzz {
namespace {

using namespace std::string_view_literals;

std::u16string Repeated(std::size_t count) { return std::u16string(count, u'N'); }

// Letters without a case beside ASCII: wide ones, a pair's halves, what turns text, what can't be
// seen.
std::u16string TakeFreeName(FuzzedDataProvider& input) {
  static constexpr std::u16string_view kOthers =
      u"\u4EA7\xD83D\xDE00\u202E\u200B\u0301\u05D0\uFFFF"sv;
  std::u16string name;
  for (const char byte : input.ConsumeRandomLengthString(8)) {
    const auto number = static_cast<unsigned char>(byte);
    if (number >= 0x80) {
      name += kOthers[number % kOthers.size()];
    } else if (byte != '\0' && byte != '\\' && byte != '\r' && byte != '\n') {
      name += static_cast<char16_t>(number);
    }
  }
  return name.empty() ? u"x" : name;
}

std::u16string TakeKeyName(FuzzedDataProvider& input) {
  switch (input.ConsumeIntegralInRange(0, 15)) {
    case 0:
      return Repeated(255);
    case 1:
      return Repeated(input.ConsumeIntegralInRange<std::size_t>(256, 261));
    case 2:
      return u"line\nbreak";
    case 3:
      return u"abc";
    case 4:
    case 5:
    case 6:
    case 7:
      return TakeFreeName(input);
    default: {
      std::u16string code = u"26F1C3B745A9D0E4C812D5E6F7081920";
      code.back() = u"0123456789ABCDEF"[input.ConsumeIntegralInRange(0, 15)];
      return code;
    }
  }
}

std::vector<std::uint8_t> TakeData(FuzzedDataProvider& input) {
  std::vector<std::uint8_t> data;
  switch (input.ConsumeIntegralInRange(0, 5)) {
    case 0:
      break;
    case 1:
      data = Utf16Bytes(u"C:\\Windows\\Installer\\1a2b3c.msi\0"sv);
      break;
    case 2:
      data = Utf16Bytes(u"zum_win.MSI"sv);
      break;
    case 3:
      data = Utf16Bytes(Repeated(input.ConsumeIntegralInRange<std::size_t>(62, 66)));
      break;
    case 4: {
      const std::string bytes = input.ConsumeRandomLengthString(24);
      data.assign(bytes.begin(), bytes.end());
      break;
    }
    default:
      data = Utf16Bytes(Repeated(input.ConsumeIntegralInRange<std::size_t>(0, 300)) + u'\0');
      if (input.ConsumeBool()) data.push_back(0);
  }
  return data;
}

void TakeValues(FuzzedDataProvider& input, Key& key) {
  static constexpr std::u16string_view kNames[] = {u"LocalPackageNotExist",
                                                   u"PackageNameNotExist",
                                                   u"LocalPackage",
                                                   u"PackageName",
                                                   u"localPACKAGEnotexist",
                                                   u"LocalPackageNotExis",
                                                   u"DisplayName",
                                                   u"packageNAMEnotexist",
                                                   u"PACKAGENAME",
                                                   u"DisplayVersion",
                                                   u"",
                                                   u"PackageNameNotExist2"};
  static constexpr std::uint32_t kTypes[] = {1, 1, 1, 1, 2, 0, 3, 4, 7, 11, 77};
  for (int count = input.ConsumeIntegralInRange(0, 4); count > 0; --count) {
    const std::u16string name(input.PickValueInArray(kNames));
    const std::uint32_t type = input.PickValueInArray(kTypes);
    key.values.try_emplace(Folded(name), StoredValue{name, type, TakeData(input)});
  }
}

// The key, with those above it in the spelling that they have by now; null where there is one of
// that name.
Key* AddKey(Branch& branch, const std::u16string& path) {
  const auto known = branch.find(Folded(path));
  if (known != branch.end()) return nullptr;
  std::u16string spelled = path;
  const std::size_t end = path.rfind(u'\\');
  if (end != std::u16string::npos) {
    const std::u16string above = path.substr(0, end);
    (void)AddKey(branch, above);
    spelled = branch.at(Folded(above)).path + path.substr(end);
  }
  return &branch.emplace(Folded(path), Key{spelled, {}, 0}).first->second;
}

void TakeKey(FuzzedDataProvider& input, Branch& branch, const std::u16string& path) {
  static constexpr std::uint32_t kDenied[] = {0, 0, 0, 0, 0, 0x2, 0x1, 0xF003F};
  Key* const key = AddKey(branch, path);
  if (key == nullptr) return;
  TakeValues(input, *key);
  key->denied = input.PickValueInArray(kDenied);
}

void TakeProduct(FuzzedDataProvider& input, Branch& branch) {
  const std::u16string name = TakeKeyName(input);
  const unsigned parts = input.ConsumeIntegral<std::uint8_t>();
  const std::u16string listed = std::u16string(kUserData) + u"\\" + name;
  // The two branches may spell a product in two ways.
  const std::u16string advertised =
      std::u16string(kClasses) + u"\\" + ((parts & 0x80) != 0 ? Upper(name) : name);
  if ((parts & 0x3) != 0) TakeKey(input, branch, listed + u"\\InstallProperties");
  if ((parts & 0xC) != 0) TakeKey(input, branch, advertised + u"\\SourceList");
  if ((parts & 0x13) == 0x10) (void)AddKey(branch, listed);
  if ((parts & 0x60) == 0x20) TakeKey(input, branch, listed + u"\\InstallProperties\\Below");
  if ((parts & 0x60) == 0x40) TakeKey(input, branch, advertised);
  if ((parts & 0x60) == 0x60) {
    std::u16string path = listed + u"\\InstallProperties";
    path.insert(path.find(u"Microsoft"), u"Wow6432Node\\");
    TakeKey(input, branch, path);
  }
}

}  // namespace

Branch TakeBranch(FuzzedDataProvider& input) {
  Branch branch;
  (void)AddKey(branch, u"HKEY_LOCAL_MACHINE");
  const int kind = input.ConsumeIntegralInRange(0, 15);
  if (kind != 0) {
    Key* const list = AddKey(branch, std::u16string(kUserData));
    if (kind == 1 && list != nullptr) list->denied = 0xF003F;
  }
  for (int count = input.ConsumeIntegralInRange(0, 6); count > 0; --count)
    TakeProduct(input, branch);
  return branch;
}

Faults TakeFaults(FuzzedDataProvider& input) {
  Faults faults;
  std::size_t* const kinds[] = {&faults.enumeration, &faults.write, &faults.removal};
  const unsigned choice = input.ConsumeIntegralInRange(0U, 15U);
  if (choice < 3) *kinds[choice] = input.ConsumeIntegralInRange<std::size_t>(1, 8);
  return faults;
}

}  // namespace fuzz
