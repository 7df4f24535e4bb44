#include "zum_rehearse/judge.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/installer_keys.h"
#include "tests/support/text.h"
#include "winapi/errors.h"
#include "winapi/registry.h"

namespace {

using namespace zum_rehearse;

const std::u16string kMachine = u"HKEY_LOCAL_MACHINE\\";

// Without a zero behind it.
Value Text(std::u16string_view text) {
  return {winapi::kRegSz, tests::Utf16Bytes(text, /*zeros=*/0)};
}

ProductRecord Listed(const char16_t* key) {
  ProductRecord record;
  record.key = key;
  record.listed = true;
  return record;
}

ProductRecord Marked(const char16_t* key) {
  ProductRecord record = Listed(key);
  record.installProperties = KeyState::kReadable;
  record.sourceList = KeyState::kReadable;
  record.values[kLocalPackageMarked] = Text(u"C:\\a.msi");
  record.values[kPackageNameMarked] = Text(u"zum_win.msi");
  return record;
}

// The four steps that the correction takes at a product with both marks.
void Repair(Findings& findings, const std::u16string& key) {
  auto& changes = findings.correction.changes;
  const std::u16string install = kMachine + tests::InstallProperties(key);
  const std::u16string source = kMachine + tests::SourceList(key);
  changes.push_back({install, u"LocalPackage", std::nullopt, Text(u"C:\\a.msi")});
  changes.push_back({install, u"LocalPackageNotExist", Text(u"C:\\a.msi"), std::nullopt});
  changes.push_back({source, u"PackageName", std::nullopt, Text(u"zum_win.msi")});
  changes.push_back({source, u"PackageNameNotExist", Text(u"zum_win.msi"), std::nullopt});
}

std::vector<Verdict> VerdictsOf(const Findings& findings, std::size_t index,
                                const PackageLookup& lookup = nullptr) {
  return Judge(findings, lookup).at(index).verdicts;
}

TEST(Judge, ARepairedProductShowsItsValues) {
  Findings findings;
  findings.records = {Marked(u"A")};
  Repair(findings, u"A");
  const Product product = Judge(findings, nullptr).at(0);
  EXPECT_TRUE(product.changes);
  EXPECT_FALSE(product.refused);
  EXPECT_EQ(product.slots[kLocalPackage], (Slot{std::nullopt, Text(u"C:\\a.msi")}));
  EXPECT_EQ(product.slots[kLocalPackageMarked], (Slot{Text(u"C:\\a.msi"), std::nullopt}));
  EXPECT_EQ(product.slots[kPackageName], (Slot{std::nullopt, Text(u"zum_win.msi")}));
  EXPECT_EQ(product.slots[kPackageNameMarked], (Slot{Text(u"zum_win.msi"), std::nullopt}));
  EXPECT_EQ(product.verdicts,
            (std::vector{Verdict::kWouldBeRepaired, Verdict::kPackageNotKnownHere}));
}

TEST(Judge, ThePackageIsLookedUpByTheNewPath) {
  Findings findings;
  findings.records = {Marked(u"A")};
  Repair(findings, u"A");
  std::u16string asked;
  const auto answer = [&asked](PackageAnswer given) {
    return [&asked, given](const std::u16string& path) {
      asked = path;
      return given;
    };
  };
  EXPECT_EQ(VerdictsOf(findings, 0, answer({PackageState::kPresent})),
            std::vector{Verdict::kWouldBeRepaired});
  EXPECT_EQ(asked, u"C:\\a.msi");
  EXPECT_EQ(VerdictsOf(findings, 0, answer({PackageState::kMissing})),
            std::vector{Verdict::kPackageMissing});
  EXPECT_EQ(Judge(findings, answer({PackageState::kMissing})).at(0).package,
            PackageState::kMissing);
}

TEST(Judge, APackageThatCanNotBeLookedAtIsNotMissing) {
  Findings findings;
  findings.records = {Marked(u"A")};
  Repair(findings, u"A");
  const auto refuse = [](const std::u16string& /*path*/) {
    return PackageAnswer{PackageState::kUnreadable, winapi::kErrorAccessDenied};
  };
  const Product product = Judge(findings, refuse).at(0);
  EXPECT_EQ(product.verdicts,
            (std::vector{Verdict::kWouldBeRepaired, Verdict::kPackageUnreadable}));
  EXPECT_EQ(product.package, PackageState::kUnreadable);
  EXPECT_EQ(product.packageError, winapi::kErrorAccessDenied);
}

TEST(Judge, ARefusedProductIsPassedOver) {
  Findings findings;
  findings.records = {Marked(u"A"), Marked(u"B")};
  Repair(findings, u"A");
  Repair(findings, u"B");
  findings.correction.refusals = {{kMachine + tests::SourceList(u"B"), 0x2011F, true}};
  EXPECT_EQ(VerdictsOf(findings, 0).front(), Verdict::kWouldBeRepaired);
  EXPECT_EQ(VerdictsOf(findings, 1), (std::vector{Verdict::kPassedOver, Verdict::kWouldBeRepaired,
                                                  Verdict::kPackageNotKnownHere}));
}

TEST(Judge, AFailureLeavesTheRestUntouched) {
  Findings findings;
  findings.records = {Marked(u"A"), Marked(u"B"), Marked(u"C"), Listed(u"D")};
  Repair(findings, u"A");
  findings.records[1].values[kLocalPackage] = Text(u"old");
  findings.correction.changes.push_back({kMachine + tests::InstallProperties(u"B"), u"LocalPackage",
                                         Text(u"old"), Text(u"C:\\a.msi")});
  findings.correction.failedChanges = {
      {kMachine + tests::InstallProperties(u"B"), u"LocalPackageNotExist", winapi::kErrorDiskFull}};
  findings.failed = true;
  const std::vector<Product> products = Judge(findings, nullptr);
  EXPECT_EQ(products[0].verdicts.front(), Verdict::kWouldBeRepaired);
  EXPECT_EQ(products[1].verdicts,
            (std::vector{Verdict::kFailsHere, Verdict::kOverwritesOrdinaryValue,
                         Verdict::kPackageNotKnownHere}));
  EXPECT_EQ(products[2].verdicts, std::vector{Verdict::kNotReached});
  EXPECT_EQ(products[3].verdicts, std::vector{Verdict::kOrdinary});
}

TEST(Judge, AValueThatIsWrittenCountsThoughItsMarkStays) {
  Findings findings;
  findings.records = {Marked(u"A")};
  findings.records[0].values[kPackageName] = Text(u"old");
  const std::u16string source = kMachine + tests::SourceList(u"A");
  findings.correction.changes.push_back(
      {source, u"PackageName", Text(u"old"), Text(u"zum_win.msi")});
  findings.correction.failedChanges = {{source, u"PackageNameNotExist", winapi::kErrorDiskFull}};
  findings.failed = true;
  EXPECT_EQ(VerdictsOf(findings, 0),
            (std::vector{Verdict::kFailsHere, Verdict::kOverwritesOrdinaryValue}));
}

TEST(Judge, WhatIsLeftAloneIsToldWhereItFailsToo) {
  Findings findings;
  findings.records = {Marked(u"A"), Marked(u"B")};
  for (ProductRecord& record : findings.records) {
    record.values[kPackageNameMarked] = Value{winapi::kRegBinary, {1}};
  }
  findings.correction.failedChanges = {
      {kMachine + tests::InstallProperties(u"A"), u"LocalPackage", winapi::kErrorDiskFull}};
  findings.failed = true;
  EXPECT_EQ(VerdictsOf(findings, 0), (std::vector{Verdict::kFailsHere, Verdict::kNotAString}));
  EXPECT_EQ(VerdictsOf(findings, 1), std::vector{Verdict::kNotReached});
}

TEST(Judge, AFailureWithoutAPlaceLeavesWhatDidNotChangeUntouched) {
  Findings findings;
  findings.records = {Marked(u"A"), Marked(u"B"), Listed(u"C")};
  Repair(findings, u"A");
  findings.failed = true;
  const std::vector<Product> products = Judge(findings, nullptr);
  EXPECT_EQ(products[0].verdicts.front(), Verdict::kWouldBeRepaired);
  EXPECT_EQ(products[1].verdicts, std::vector{Verdict::kNotReached});
  EXPECT_EQ(products[2].verdicts, std::vector{Verdict::kOrdinary});
}

TEST(Judge, ProductsBehindTheListsEndAreNotListed) {
  Findings findings;
  findings.records = {Marked(u"A"), Marked(u"B"), Listed(u"C")};
  Repair(findings, u"A");
  findings.correction.brokenLists = {{u"list", 1, winapi::kErrorMoreData}};
  EXPECT_EQ(VerdictsOf(findings, 0).front(), Verdict::kWouldBeRepaired);
  EXPECT_EQ(VerdictsOf(findings, 1), std::vector{Verdict::kNotListed});
  EXPECT_EQ(VerdictsOf(findings, 2), std::vector{Verdict::kOrdinary});
}

TEST(Judge, WhatCanNotBeReadIsSaid) {
  Findings findings;
  findings.records = {Listed(u"A")};
  findings.records[0].installProperties = KeyState::kRefused;
  EXPECT_EQ(VerdictsOf(findings, 0), std::vector{Verdict::kUnreadable});
}

TEST(Judge, OtherKeysAreNobodysChanges) {
  Findings findings;
  findings.records = {Marked(u"A")};
  Repair(findings, u"");
  Repair(findings, u"A\\B");
  findings.correction.changes.push_back({u"HKEY_LOCAL_MACHINE", u"LocalPackage", {}, {}});
  EXPECT_FALSE(Judge(findings, nullptr).at(0).changes);
}

}  // namespace
