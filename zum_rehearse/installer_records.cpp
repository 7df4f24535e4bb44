#include "zum_rehearse/installer_records.h"

#include <unordered_set>
#include <utility>

#include "platform/util/windows/registry.h"
#include "platform/util/windows/unique_handle.h"
#include "winapi/errors.h"
#include "winapi/registry.h"
#include "zum_rehearse/report.h"

namespace zum_rehearse {
namespace {

using windows_helpers::OpenKey;
using windows_helpers::RegKey;

constexpr winapi::Dword kReadAccess = winapi::kKeyRead | winapi::kKeyWow6464Key;
// More than any name has, so that a list shows whole here where the correction's own ends early.
constexpr winapi::Dword kNameCapacity = 32768;

std::u16string Path(std::u16string_view products, std::u16string_view product,
                    std::u16string_view subKey) {
  std::u16string path(products);
  path.append(u"\\").append(product);
  if (!subKey.empty()) path.append(u"\\").append(subKey);
  return path;
}

KeyState Open(RegKey& key, const std::u16string& path) {
  switch (OpenKey(key, winapi::HkeyLocalMachine(), path.c_str(), kReadAccess)) {
    case winapi::kErrorSuccess:
      return KeyState::kReadable;
    case winapi::kErrorAccessDenied:
      return KeyState::kRefused;
    default:
      return KeyState::kMissing;
  }
}

std::vector<std::u16string> SubKeys(std::u16string_view path) {
  std::vector<std::u16string> names;
  RegKey key;
  if (Open(key, std::u16string(path)) != KeyState::kReadable) return names;
  std::u16string name(kNameCapacity, u'\0');
  for (winapi::Dword index = 0; winapi::RegEnumKeyW(key.GetValue(), index, name.data(),
                                                    kNameCapacity) == winapi::kErrorSuccess;
       ++index) {
    names.emplace_back(name.c_str());
  }
  return names;
}

std::optional<Value> ReadValue(const RegKey& key, const char16_t* name) {
  Value value;
  winapi::Dword size = 0;
  winapi::Error error = winapi::RegQueryValueExW(key.GetValue(), name, /*reserved=*/nullptr,
                                                 &value.type, /*data=*/nullptr, &size);
  // It may grow between two reads.
  while (error == winapi::kErrorSuccess || error == winapi::kErrorMoreData) {
    value.data.resize(size);
    if (size == 0) return value;
    error = winapi::RegQueryValueExW(key.GetValue(), name, /*reserved=*/nullptr, &value.type,
                                     value.data.data(), &size);
    if (error == winapi::kErrorSuccess) {
      value.data.resize(size);
      return value;
    }
  }
  return std::nullopt;
}

std::u16string ReadText(const RegKey& key, const char16_t* name) {
  const auto value = ReadValue(key, name);
  return value && value->type == winapi::kRegSz ? TextOf(*value) : std::u16string();
}

void ReadInstallProperties(ProductRecord& product) {
  RegKey key;
  product.installProperties = Open(key, Path(kUserDataProducts, product.key, kInstallProperties));
  if (product.installProperties != KeyState::kReadable) return;
  product.values[kLocalPackage] = ReadValue(key, u"LocalPackage");
  product.values[kLocalPackageMarked] = ReadValue(key, u"LocalPackageNotExist");
  product.name = ReadText(key, u"DisplayName");
  product.version = ReadText(key, u"DisplayVersion");
}

void ReadSourceList(ProductRecord& product) {
  RegKey key;
  product.sourceList = Open(key, Path(kClassesProducts, product.key, kSourceList));
  if (product.sourceList == KeyState::kReadable) {
    product.values[kPackageName] = ReadValue(key, u"PackageName");
    product.values[kPackageNameMarked] = ReadValue(key, u"PackageNameNotExist");
  }
  RegKey above;
  if (!product.name.empty()) return;
  if (Open(above, Path(kClassesProducts, product.key, {})) == KeyState::kReadable) {
    product.name = ReadText(above, u"ProductName");
  }
}

ProductRecord Read(std::u16string key, bool listed) {
  ProductRecord product;
  product.key = std::move(key);
  product.listed = listed;
  ReadInstallProperties(product);
  ReadSourceList(product);
  return product;
}

// Of a name that the list has in another spelling.
bool IsListed(const std::u16string& key) {
  RegKey opened;
  return Open(opened, Path(kUserDataProducts, key, {})) != KeyState::kMissing;
}

}  // namespace

KeyState StateOfTheList() {
  RegKey key;
  return Open(key, std::u16string(kUserDataProducts));
}

std::vector<ProductRecord> ReadProducts() {
  std::vector<ProductRecord> products;
  std::unordered_set<std::u16string> seen;
  for (std::u16string& key : SubKeys(kUserDataProducts)) {
    seen.insert(key);
    products.push_back(Read(std::move(key), /*listed=*/true));
  }
  for (std::u16string& key : SubKeys(kClassesProducts)) {
    if (!seen.contains(key) && !IsListed(key))
      products.push_back(Read(std::move(key), /*listed=*/false));
  }
  return products;
}

std::u16string TextOf(const Value& value) {
  std::u16string text;
  for (std::size_t i = 0; i + 1 < value.data.size(); i += 2) {
    const auto unit = static_cast<char16_t>(value.data[i] | (value.data[i + 1] << 8));
    if (unit == 0) break;
    text += unit;
  }
  return text;
}

}  // namespace zum_rehearse
