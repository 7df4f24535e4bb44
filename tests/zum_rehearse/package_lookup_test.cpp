#include "zum_rehearse/package_lookup.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tests/support/temporary_folder.h"

namespace {

using zum_rehearse::LookForPackage;
using zum_rehearse::PackageState;

class LookForPackageTest : public ::testing::Test {
 protected:
  LookForPackageTest() { std::ofstream(m_folder.Path() / "there.msi") << "x"; }

  [[nodiscard]] std::u16string Path(const std::u16string& name) const {
    return m_folder.WindowsPath() + u"\\" + name;
  }

 private:
  tests::TemporaryFolder m_folder;
};

TEST_F(LookForPackageTest, AFileIsThere) {
  EXPECT_EQ(LookForPackage(Path(u"there.msi")).state, PackageState::kPresent);
}

TEST_F(LookForPackageTest, WhatIsNotThereIsMissing) {
  for (const auto& name : {u"absent.msi", u"absent\\there.msi", u"there.msi\\x.msi", u"a?.msi"}) {
    const auto answer = LookForPackage(Path(name));
    EXPECT_EQ(answer.state, PackageState::kMissing);
    EXPECT_EQ(answer.error, 0U);
  }
}

TEST_F(LookForPackageTest, AFolderIsNoPackage) {
  EXPECT_EQ(LookForPackage(Path(u".")).state, PackageState::kMissing);
}

}  // namespace
