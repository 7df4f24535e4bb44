#include "zum_setup_util_lib/registry_rewrite.h"

#include <exception>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "oru/rtl/exception.h"
#include "oru/rtl/string.h"
#include "oru/rtl/trace.h"
#include "platform/util/windows/registry.h"
#include "platform/util/windows/system_error.h"
#include "winapi/errors.h"
#include "winapi/registry.h"
#include "zum_setup_util_lib/stage.h"
#include "zum_setup_util_lib/tool_result_codes.h"

namespace correct_setup::detail {
namespace {

using windows_helpers::DeleteValue;
using windows_helpers::MakeWin32CheckFailure;
using windows_helpers::OpenKey;
using windows_helpers::ReadStringValue;
using windows_helpers::RegKey;
using windows_helpers::WriteStringValue;

// Below HKEY_LOCAL_MACHINE.
constexpr char16_t kProductsUserDataKey[] =
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products";
constexpr char16_t kProductsClassesKey[] = u"SOFTWARE\\Classes\\Installer\\Products";

constexpr char16_t kPackageName[] = u"zum_win.msi";

// The installer's records stand in the 64-bit view; this process would see the other one.
constexpr winapi::Dword kReadAccess = winapi::kKeyRead | winapi::kKeyWow6464Key;
constexpr winapi::Dword kChangeAccess =
    winapi::kKeyRead | winapi::kKeyWrite | winapi::kKeyWow6464Key;

// What the enumeration is told to have room for, in characters. Not MAX_PATH: no path is meant, and
// the system's names of keys have 255 characters at the most.
constexpr winapi::Dword kNameCapacity = 260;

// The list is complete before anything is changed, so no enumeration runs over keys that are
// written to. Any failure ends it like the end of the keys does.
std::vector<std::u16string> EnumerateSubKeys(const char16_t* path) {
  RegKey key;
  if (const winapi::Error error = OpenKey(key, winapi::HkeyLocalMachine(), path, kReadAccess)) {
    throw MakeWin32CheckFailure(kStageSourceFile, __LINE__, error);
  }
  std::vector<std::u16string> names;
  // One character more than is told, all zero: the text ends whatever the system leaves.
  std::vector<char16_t> name(kNameCapacity + 1);
  for (winapi::Dword index = 0; winapi::RegEnumKeyW(key.GetValue(), index, name.data(),
                                                    kNameCapacity) == winapi::kErrorSuccess;
       ++index) {
    names.emplace_back(name.data());
  }
  return names;
}

// False when the key can't be opened, which is tried with the right to write at once: what may not
// be changed isn't looked at either. Asked for twice a product, so the path is composed in one
// block.
bool OpenProductKey(RegKey& key, std::u16string_view products, const std::u16string& product,
                    std::u16string_view subKey) {
  std::u16string path;
  path.reserve(products.size() + 1 + product.size() + 1 + subKey.size());
  path.append(products).append(1, u'\\').append(product).append(1, u'\\').append(subKey);
  return OpenKey(key, winapi::HkeyLocalMachine(), path.c_str(), kChangeAccess) ==
         winapi::kErrorSuccess;
}

// Its text is the product's own and goes back without a zero behind it.
void RestoreLocalPackage(const RegKey& key, const std::u16string& product) {
  oru::String16 value;
  if (ReadStringValue(key, u"LocalPackageNotExist", value) != winapi::kErrorSuccess) return;

  ORU_TRACE(oru::kTraceLevelInfo,
            "setup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade] "
                << "update LocalPackageNotExist for key = " << product);
  if (const winapi::Error error =
          WriteStringValue(key, u"LocalPackage", value.data(), value.data() + value.size())) {
    throw MakeWin32CheckFailure(kStageSourceFile, __LINE__, error)
        << u"[correct_setup::detail::DisableProtectiveMeasuresUpgrade] " << u"value = LocalPackage";
  }
  if (const winapi::Error error = DeleteValue(key, u"LocalPackageNotExist")) {
    throw MakeWin32CheckFailure(kStageSourceFile, __LINE__, error)
        << u"[correct_setup::detail::DisableProtectiveMeasuresUpgrade] "
        << u"value = LocalPackageNotExist";
  }
}

// Its text is always the same, whatever the marked value holds, and takes its zero along.
void RestorePackageName(const RegKey& key, const std::u16string& product) {
  oru::String16 ignored;
  if (ReadStringValue(key, u"PackageNameNotExist", ignored) != winapi::kErrorSuccess) return;

  ORU_TRACE(oru::kTraceLevelInfo,
            "setup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade] "
                << "update PackageNameNotExist for key = " << product);
  if (const winapi::Error error =
          WriteStringValue(key, u"PackageName", std::begin(kPackageName), std::end(kPackageName))) {
    throw MakeWin32CheckFailure(kStageSourceFile, __LINE__, error)
        << u"[correct_setup::detail::DisableProtectiveMeasuresUpgrade] " << u"value = PackageName";
  }
  if (const winapi::Error error = DeleteValue(key, u"PackageNameNotExist")) {
    throw MakeWin32CheckFailure(kStageSourceFile, __LINE__, error)
        << u"[correct_setup::detail::DisableProtectiveMeasuresUpgrade] "
        << u"value = PackageNameNotExist";
  }
}

// The second key is looked at only where the first could be opened: settled so.
void RewriteProduct(const std::u16string& product) {
  RegKey installProperties;
  if (!OpenProductKey(installProperties, kProductsUserDataKey, product, u"InstallProperties")) {
    return;
  }
  RestoreLocalPackage(installProperties, product);

  RegKey sourceList;
  if (!OpenProductKey(sourceList, kProductsClassesKey, product, u"SourceList")) return;
  RestorePackageName(sourceList, product);
}

}  // namespace

void DisableProtectiveMeasuresUpgrade() {
  oru::TraceScope scope;
  ORU_TRACE_SCOPE(scope, oru::kTraceLevelInfo,
                  u"setup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade] ");
  try {
    // Every subkey counts as a product, whatever its name; the marked values decide.
    for (const std::u16string& product : EnumerateSubKeys(kProductsUserDataKey)) {
      RewriteProduct(product);
    }
  } catch (const std::exception&) {
    FailStage("setup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade] ", __LINE__,
              rcDisableUpgradeFailed);
  }
}

}  // namespace correct_setup::detail
