// The installer's records of this machine as a test sets them up, and a tracer to watch the rewrite
// with.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_INSTALLER_RECORDS_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_INSTALLER_RECORDS_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/installer_keys.h"
#include "tests/support/test_registry.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "zum_setup_util_lib/registry_rewrite.h"

namespace tests {

inline constexpr char kRewritePrefix[] =
    "setup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade] ";

// Both branches are there and empty at the start, and gone at the end.
class InstallerRecords : public ::testing::Test {
 public:
  using Records = TraceRecords;

 protected:
  InstallerRecords() : m_userData(kUserData), m_classes(kClasses) {
    CreateKey(kUserData);
    CreateKey(kClasses);
  }

  // A value of the product's "InstallProperties" or "SourceList", with the key.
  static void SetLocal(const std::u16string& product, const Value& value) {
    CreateKey(InstallProperties(product));
    SetValue(InstallProperties(product), value);
  }
  static void SetSource(const std::u16string& product, const Value& value) {
    CreateKey(SourceList(product));
    SetValue(SourceList(product), value);
  }
  static Value Text(std::u16string name, std::u16string_view text, int zeros = 1) {
    return {std::move(name), 1, Utf16Bytes(text, zeros)};
  }
  // Both keys with both values marked.
  static void MarkProduct(const std::u16string& product) {
    SetLocal(product,
             Text(u"LocalPackageNotExist", u"C:\\windows\\Installer\\" + product + u".msi"));
    SetSource(product, Text(u"PackageNameNotExist", u"marked.msi"));
  }

  static std::vector<Value> LocalValues(const std::u16string& product) {
    return Values(InstallProperties(product));
  }
  static std::vector<Value> SourceValues(const std::u16string& product) {
    return Values(SourceList(product));
  }
  // What a "PackageName" is after the rewrite.
  static Value FixedName() { return Text(u"PackageName", u"zum_win.msi", 1); }

  // Runs the rewrite and gives what it throws, if it does.
  static std::optional<oru::CheckResultFailedException> RunFailing() {
    try {
      correct_setup::detail::DisableProtectiveMeasuresUpgrade();
      return std::nullopt;
    } catch (const oru::CheckResultFailedException& exception) {
      return exception;
    }
  }
  static void Run() { correct_setup::detail::DisableProtectiveMeasuresUpgrade(); }

  // What was traced, between the scope's begin and end, which are looked for here.
  [[nodiscard]] Records Traced() const {
    const Records records = m_tracer.Records();
    const std::string prefix = kRewritePrefix;
    EXPECT_GE(records.size(), 2u);
    if (records.size() < 2) return {};
    EXPECT_EQ(records.front(), std::pair(700u, prefix + " begin"));
    EXPECT_EQ(records.back(), std::pair(700u, prefix + " end"));
    return {records.begin() + 1, records.end() - 1};
  }
  [[nodiscard]] const InstalledTracer& Tracer() const { return m_tracer; }
  static std::pair<std::uint32_t, std::string> LocalUpdate(const std::string& product) {
    return {700, kRewritePrefix + ("update LocalPackageNotExist for key = " + product)};
  }
  static std::pair<std::uint32_t, std::string> SourceUpdate(const std::string& product) {
    return {700, kRewritePrefix + ("update PackageNameNotExist for key = " + product)};
  }

 private:
  ScopedTree m_userData;
  ScopedTree m_classes;
  InstalledTracer m_tracer;
};

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_INSTALLER_RECORDS_H_
