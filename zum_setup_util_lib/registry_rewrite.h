// The installer's records of this machine: brings back the two values that the product's protection
// holds under marked names.
#ifndef ZUM_SETUP_UTIL_LIB_REGISTRY_REWRITE_H_
#define ZUM_SETUP_UTIL_LIB_REGISTRY_REWRITE_H_

namespace correct_setup::detail {

// For each product that Windows Installer knows, in enumeration order and in the 64-bit view:
// "LocalPackageNotExist" of its "InstallProperties" becomes "LocalPackage" with the same text, and
// "PackageNameNotExist" of its "SourceList" becomes "PackageName" with the text "zum_win.msi". Each
// is written first and deleted second, so a value is always there under one of its names. What
// isn't there, isn't of type REG_SZ or can't be opened is passed over in silence, and a product
// without a readable "InstallProperties" keeps its "SourceList" as it is.
//
// Throws oru::CheckResultFailedException with rcDisableUpgradeFailed when the products can't be
// listed or a value can't be written or deleted; the cause is traced. The first failure ends the
// work: what is rewritten by then stays rewritten, later products aren't visited.
void DisableProtectiveMeasuresUpgrade();

}  // namespace correct_setup::detail

#endif  // ZUM_SETUP_UTIL_LIB_REGISTRY_REWRITE_H_
