#include "fuzz/installer_rule.h"

#include "fuzz/input.h"
#include "fuzz/texts.h"
#include "winapi/host/control.h"

namespace fuzz {
namespace {

namespace host = winapi::host;

constexpr std::uint32_t kReadRights = 0x20019;    // KEY_READ
constexpr std::uint32_t kChangeRights = 0x2001F;  // and KEY_WRITE
constexpr std::uint32_t kString = 1;              // REG_SZ
constexpr std::size_t kListedName = 259;          // characters that fit a buffer of 260
constexpr std::size_t kOpenedName = 256;          // characters of a name that an open takes

bool IsDenied(const Key& key, std::uint32_t rights) { return (key.denied & rights) != 0; }

// The text of a string: whole characters, without one zero at its end.
std::optional<std::u16string> TextOf(const Key& key, std::u16string_view name) {
  const StoredValue* const value = FindValue(key, name);
  if (value == nullptr || value->type != kString) return std::nullopt;
  std::u16string text;
  for (std::size_t i = 0; i + 1 < value->data.size(); i += 2) {
    text += static_cast<char16_t>(value->data[i] | value->data[i + 1] << 8);
  }
  if (text.ends_with(u'\0')) text.pop_back();
  return text;
}

// The system puts a zero behind a string that has none; an empty one stays.
void SetText(Key& key, std::u16string_view name, std::u16string text) {
  if (!text.empty() && text.back() != u'\0') text += u'\0';
  StoredValue& value =
      key.values.try_emplace(Folded(name), StoredValue{std::u16string(name), 0, {}}).first->second;
  value.type = kString;
  value.data = Utf16Bytes(text);
}

// The steps, one product after the other, until a change fails.
class Rewriter {
 public:
  Rewriter(const Branch& branch, const Faults& faults, Rights rights)
      : m_faults(faults), m_rights(rights) {
    m_result.branch = branch;
  }

  Rewritten Run() {
    const Key* const list = FindKey(m_result.branch, kUserData);
    if (list == nullptr || IsDenied(*list, kReadRights)) {
      m_result.failed = true;
      return m_result;
    }
    for (const std::u16string& product : Listed()) {
      if (!Product(product)) {
        m_result.failed = true;
        m_result.failedAt = product;
        break;
      }
    }
    return m_result;
  }

 private:
  std::vector<std::u16string> Listed() {
    std::vector<std::u16string> names;
    for (const std::u16string& name : SubKeys(m_result.branch, kUserData)) {
      if (names.size() + 1 == m_faults.enumeration || name.size() > kListedName) {
        m_result.listBroke = true;
        break;
      }
      names.push_back(name);
    }
    // The call that would tell the end of the list may fail, too.
    if (!m_result.listBroke && names.size() + 1 == m_faults.enumeration) m_result.listBroke = true;
    m_result.listEnd = names.size();
    return names;
  }

  Key* Open(std::u16string_view above, const std::u16string& product, std::u16string_view below) {
    if (product.size() > kOpenedName) return nullptr;
    const auto found = m_result.branch.find(
        Folded(std::u16string(above) + u"\\" + product + u"\\" + std::u16string(below)));
    const bool isOpen =
        found != m_result.branch.end() &&
        !IsDenied(found->second, m_rights == Rights::kAsTheyAre ? kChangeRights : kReadRights);
    return isOpen ? &found->second : nullptr;
  }

  // False when a change fails.
  bool Product(const std::u16string& product) {
    Key* const properties = Open(kUserData, product, u"InstallProperties");
    if (properties == nullptr) return true;
    if (const auto package = TextOf(*properties, u"LocalPackageNotExist")) {
      if (!Restore(*properties, u"LocalPackage", *package, product)) return false;
    }
    Key* const sources = Open(kClasses, product, u"SourceList");
    if (sources == nullptr || !TextOf(*sources, u"PackageNameNotExist")) return true;
    return Restore(*sources, u"PackageName", std::u16string(u"zum_win.msi\0", 12), product);
  }

  bool Restore(Key& key, const std::u16string& name, const std::u16string& text,
               const std::u16string& product) {
    const std::u16string mark = name + u"NotExist";
    m_result.updates.push_back(u"update " + mark + u" for key = " + product);
    if (++m_writes == m_faults.write) return false;
    SetText(key, name, text);
    m_result.writes.emplace_back(product, name);
    if (++m_removals == m_faults.removal) return false;
    key.values.erase(Folded(mark));
    return true;
  }

  Rewritten m_result;
  const Faults& m_faults;
  Rights m_rights;
  std::size_t m_writes = 0;
  std::size_t m_removals = 0;
};

void ReadBelow(Branch& branch, const std::u16string& path) {
  Key& key = branch[Folded(path)];
  key.path = path;
  const auto values = host::RegistryValues(path);
  const auto names = host::RegistrySubKeys(path);
  Require(values && names, "the host's key is there");
  for (const host::RegistryValue& value : *values) {
    key.values[Folded(value.name)] = {value.name, value.type, value.data};
  }
  for (const std::u16string& name : *names) {
    std::u16string below = path;
    below += u'\\';
    below += name;
    ReadBelow(branch, below);
  }
}

}  // namespace

std::u16string Upper(std::u16string_view text) {
  std::u16string upper(text);
  for (char16_t& unit : upper) {
    if (unit >= u'a' && unit <= u'z') unit = static_cast<char16_t>(unit - u'a' + u'A');
  }
  return upper;
}

std::string Folded(std::u16string_view text) {
  std::string folded(2 * text.size(), '\0');
  char* byte = folded.data();
  for (const char16_t unit : text) {
    const bool isLower = unit >= u'a' && unit <= u'z';
    *byte++ = static_cast<char>(unit >> 8);
    *byte++ = static_cast<char>((unit & 0xFF) - (isLower ? u'a' - u'A' : 0));
  }
  return folded;
}

const Key* FindKey(const Branch& branch, std::u16string_view path) {
  const auto found = branch.find(Folded(path));
  return found == branch.end() ? nullptr : &found->second;
}

const StoredValue* FindValue(const Key& key, std::u16string_view name) {
  const auto found = key.values.find(Folded(name));
  return found == key.values.end() ? nullptr : &found->second;
}

std::vector<std::u16string> SubKeys(const Branch& branch, std::u16string_view path) {
  std::vector<std::u16string> names;
  const std::string head = Folded(std::u16string(path) + u"\\");
  for (auto found = branch.lower_bound(head);
       found != branch.end() && found->first.starts_with(head); ++found) {
    const std::u16string name = found->second.path.substr(head.size() / 2);
    if (name.find(u'\\') == std::u16string::npos) names.push_back(name);
  }
  return names;
}

void PutIntoStore(const Branch& branch) {
  host::ReloadRegistry();
  // The store opens its lock at its first use, which an empty branch isn't.
  (void)host::RegistrySubKeys(u"HKEY_LOCAL_MACHINE");
  for (const auto& [folded, key] : branch) {
    const bool isHive = key.path.find(u'\\') == std::u16string::npos;
    Require(isHive || host::CreateRegistryKey(key.path), "the host takes the key");
    for (const auto& [name, value] : key.values) {
      Require(host::SetRegistryValue(key.path, {value.name, value.type, value.data}),
              "the host takes the value");
    }
    if (key.denied != 0) host::DenyRegistryRights(key.path, key.denied);
  }
}

Branch ReadStore() {
  Branch branch;
  ReadBelow(branch, u"HKEY_LOCAL_MACHINE");
  return branch;
}

bool AreSame(const Branch& left, const Branch& right) {
  if (left.size() != right.size()) return false;
  for (auto a = left.begin(), b = right.begin(); a != left.end(); ++a, ++b) {
    if (a->second.path != b->second.path || a->second.values != b->second.values) return false;
  }
  return true;
}

Rewritten Rewrite(const Branch& branch, const Faults& faults, Rights rights) {
  return Rewriter(branch, faults, rights).Run();
}

}  // namespace fuzz
