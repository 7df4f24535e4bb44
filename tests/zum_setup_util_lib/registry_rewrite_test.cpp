#include "zum_setup_util_lib/registry_rewrite.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/checks.h"
#include "tests/zum_setup_util_lib/installer_records.h"

using tests::SourceList;
using tests::Utf16Bytes;
using tests::Value;

namespace {

using Values = std::vector<Value>;

class RegistryRewrite : public tests::InstallerRecords {};

TEST_F(RegistryRewrite, NoProductsTraceTheScopeOnly) {
  Run();
  EXPECT_EQ(Traced(), Records());
  tests::ExpectProbes(Tracer(), 1);
}

TEST_F(RegistryRewrite, NoMarksChangeNothing) {
  SetLocal(u"A", Text(u"LocalPackage", u"C:\\a.msi"));
  SetSource(u"A", Text(u"PackageName", u"other.msi"));
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{Text(u"LocalPackage", u"C:\\a.msi")});
  EXPECT_EQ(SourceValues(u"A"), Values{Text(u"PackageName", u"other.msi")});
  EXPECT_EQ(Traced(), Records());
}

TEST_F(RegistryRewrite, BothMarksBecomeTheOrdinaryValues) {
  MarkProduct(u"A");
  Run();
  // The system adds the zero that stands behind the written text in memory.
  EXPECT_EQ(LocalValues(u"A"), Values{Text(u"LocalPackage", u"C:\\windows\\Installer\\A.msi", 1)});
  EXPECT_EQ(SourceValues(u"A"), Values{FixedName()});
  EXPECT_EQ(Traced(), (Records{LocalUpdate("A"), SourceUpdate("A")}));
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST_F(RegistryRewrite, FixedNameHas24Bytes) {
  MarkProduct(u"A");
  Run();
  const auto name = tests::GetValue(SourceList(u"A"), u"PackageName");
  ASSERT_TRUE(name.has_value());
  EXPECT_EQ(name->type, 1u);
  EXPECT_EQ(name->data,
            (std::vector<std::uint8_t>{'z', 0, 'u', 0, 'm', 0, '_', 0, 'w', 0, 'i', 0,
                                       'n', 0, '.', 0, 'm', 0, 's', 0, 'i', 0, 0,   0}));
}

TEST_F(RegistryRewrite, OnlyTheLocalMark) {
  SetLocal(u"A", Text(u"LocalPackageNotExist", u"C:\\a.msi"));
  SetSource(u"A", Text(u"PackageName", u"other.msi"));
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{Text(u"LocalPackage", u"C:\\a.msi")});
  EXPECT_EQ(SourceValues(u"A"), Values{Text(u"PackageName", u"other.msi")});
  EXPECT_EQ(Traced(), Records{LocalUpdate("A")});
}

TEST_F(RegistryRewrite, OnlyTheSourceMark) {
  SetLocal(u"A", Text(u"LocalPackage", u"C:\\a.msi"));
  SetSource(u"A", Text(u"PackageNameNotExist", u"marked.msi"));
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{Text(u"LocalPackage", u"C:\\a.msi")});
  EXPECT_EQ(SourceValues(u"A"), Values{FixedName()});
  EXPECT_EQ(Traced(), Records{SourceUpdate("A")});
}

TEST_F(RegistryRewrite, MissingProductsKeyFails) {
  tests::DeleteTree(tests::kUserData);
  const auto failure = RunFailing();
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->Code(), oru::MakeResultCode(0xA1780003));
  EXPECT_STREQ(failure->File(), "zum_setup_util_lib/correct_setup");
  EXPECT_GT(failure->Line(), 0u);
  EXPECT_TRUE(failure->Message().empty());
  EXPECT_EQ(failure->Inner(), nullptr);
  const Records traced = Traced();
  ASSERT_EQ(traced.size(), 1u);
  EXPECT_EQ(traced[0].first, 300u);
  EXPECT_TRUE(traced[0].second.starts_with(
      tests::kRewritePrefix +
      std::string("CheckResultFailedException - system result code: 2: 0x80010102 (File not "
                  "found). At zum_setup_util_lib/correct_setup(")))
      << traced[0].second;
}

TEST_F(RegistryRewrite, WithoutInstallPropertiesTheSourceListStays) {
  tests::CreateKey(tests::kUserData + u"\\A");
  SetSource(u"A", Text(u"PackageNameNotExist", u"marked.msi"));
  Run();
  EXPECT_EQ(SourceValues(u"A"), Values{Text(u"PackageNameNotExist", u"marked.msi")});
  EXPECT_EQ(Traced(), Records());
}

TEST_F(RegistryRewrite, ProductThatIsNotListedStays) {
  SetSource(u"A", Text(u"PackageNameNotExist", u"marked.msi"));
  Run();
  EXPECT_EQ(SourceValues(u"A"), Values{Text(u"PackageNameNotExist", u"marked.msi")});
}

TEST_F(RegistryRewrite, WithoutSourceListTheLocalPackageComesBackAndTheStageGoesOn) {
  SetLocal(u"A", Text(u"LocalPackageNotExist", u"C:\\a.msi"));
  MarkProduct(u"B");
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{Text(u"LocalPackage", u"C:\\a.msi")});
  EXPECT_FALSE(tests::KeyExists(SourceList(u"A")));
  EXPECT_EQ(SourceValues(u"B"), Values{FixedName()});
  EXPECT_EQ(Traced(), (Records{LocalUpdate("A"), LocalUpdate("B"), SourceUpdate("B")}));
}

TEST_F(RegistryRewrite, EmptyMarkedValueYieldsZeroBytes) {
  SetLocal(u"A", {u"LocalPackageNotExist", 1, {}});
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{(Value{u"LocalPackage", 1, {}})});
  EXPECT_EQ(Traced(), Records{LocalUpdate("A")});
}

// A terminator alone is an empty text, and an empty text is written without a terminator.
TEST_F(RegistryRewrite, TerminatorAloneYieldsZeroBytes) {
  SetLocal(u"A", Text(u"LocalPackageNotExist", u"", 1));
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{(Value{u"LocalPackage", 1, {}})});
}

struct TypeCase {
  const char* name;
  std::uint32_t type;
};

void PrintTo(const TypeCase& typeCase, std::ostream* out) { *out << typeCase.name; }

class OtherType : public tests::InstallerRecords, public ::testing::WithParamInterface<TypeCase> {};

TEST_P(OtherType, StaysAndNothingIsWritten) {
  const Value local = {u"LocalPackageNotExist", GetParam().type, Utf16Bytes(u"C:\\a", 1)};
  const Value source = {u"PackageNameNotExist", GetParam().type, Utf16Bytes(u"a.msi", 1)};
  SetLocal(u"A", local);
  SetSource(u"A", source);
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{local});
  EXPECT_EQ(SourceValues(u"A"), Values{source});
  EXPECT_EQ(Traced(), Records());
}

INSTANTIATE_TEST_SUITE_P(Types, OtherType,
                         ::testing::Values(TypeCase{"None", 0}, TypeCase{"ExpandString", 2},
                                           TypeCase{"Binary", 3}, TypeCase{"Dword", 4},
                                           TypeCase{"MultiString", 7}, TypeCase{"Qword", 11}),
                         [](const auto& test) { return test.param.name; });

TEST_F(RegistryRewrite, LocalMarkOfAnotherTypeDoesNotKeepTheSourceMark) {
  SetLocal(u"A", {u"LocalPackageNotExist", 2, Utf16Bytes(u"C:\\a", 1)});
  SetSource(u"A", Text(u"PackageNameNotExist", u"marked.msi"));
  Run();
  EXPECT_EQ(SourceValues(u"A"), Values{FixedName()});
  EXPECT_EQ(Traced(), Records{SourceUpdate("A")});
}

TEST_F(RegistryRewrite, LongMarkedValuesAreReadAndWrittenWhole) {
  for (const std::size_t length : {63u, 64u, 65u, 1000u, 32'000u}) {
    const std::u16string text(length, u'ü');
    SetLocal(u"A", Text(u"LocalPackageNotExist", text));
    Run();
    EXPECT_EQ(LocalValues(u"A"), Values{Text(u"LocalPackage", text)}) << length;
  }
}

struct DataCase {
  const char* name;
  std::vector<std::uint8_t> marked;
  std::vector<std::uint8_t> restored;
};

void PrintTo(const DataCase& dataCase, std::ostream* out) { *out << dataCase.name; }

class MarkedData : public tests::InstallerRecords,
                   public ::testing::WithParamInterface<DataCase> {};

TEST_P(MarkedData, IsRestoredAsTheText) {
  SetLocal(u"A", {u"LocalPackageNotExist", 1, GetParam().marked});
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{(Value{u"LocalPackage", 1, GetParam().restored})});
}

// A stored text that ends in a zero is left alone by the system, any other gets the zero behind it.
INSTANTIATE_TEST_SUITE_P(
    Data, MarkedData,
    ::testing::Values(
        DataCase{"NoTerminator", Utf16Bytes(u"abcd", 0), Utf16Bytes(u"abcd", 1)},
        DataCase{"OneTerminator", Utf16Bytes(u"abcd", 1), Utf16Bytes(u"abcd", 1)},
        DataCase{"TwoTerminatorsLoseOne", Utf16Bytes(u"abcd", 2), Utf16Bytes(u"abcd", 1)},
        DataCase{"ThreeTerminatorsLoseOne", Utf16Bytes(u"abcd", 3), Utf16Bytes(u"abcd", 2)},
        DataCase{"EmbeddedZero", Utf16Bytes(std::u16string(u"a\0b", 3), 1),
                 Utf16Bytes(std::u16string(u"a\0b", 3), 1)},
        DataCase{"OddByteIsLost", {'a', 0, 'b', 0, 'c'}, Utf16Bytes(u"ab", 1)},
        DataCase{"LoneSurrogate", {0x00, 0xD8, 0, 0}, {0x00, 0xD8, 0, 0}}),
    [](const auto& test) { return test.param.name; });

TEST_F(RegistryRewrite, OrdinaryValuesAreOverwrittenWhateverTheyAre) {
  MarkProduct(u"A");
  SetLocal(u"A", {u"LocalPackage", 4, {1, 2, 3, 4}});
  SetSource(u"A", {u"PackageName", 3, std::vector<std::uint8_t>(500, 7)});
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{Text(u"LocalPackage", u"C:\\windows\\Installer\\A.msi")});
  EXPECT_EQ(SourceValues(u"A"), Values{FixedName()});
}

TEST_F(RegistryRewrite, SecondRunChangesNothing) {
  MarkProduct(u"A");
  MarkProduct(u"B");
  Run();
  const Values local = LocalValues(u"A");
  const Values source = SourceValues(u"B");
  EXPECT_EQ(Traced().size(), 4u);
  Run();
  EXPECT_EQ(LocalValues(u"A"), local);
  EXPECT_EQ(SourceValues(u"B"), source);
  // The second run has a begin and an end and nothing between them.
  EXPECT_EQ(Traced().size(), 6u);
}

TEST_F(RegistryRewrite, AnyMarkedPackageNameGivesTheFixedOne) {
  const std::u16string texts[] = {u"", u"x", u"zum_win.msi", std::u16string(3000, u'y'),
                                  u"имя пакета.msi"};
  for (const std::u16string& text : texts) {
    SetLocal(u"A", Text(u"LocalPackage", u"C:\\a.msi"));
    SetSource(u"A", Text(u"PackageNameNotExist", text));
    Run();
    EXPECT_EQ(SourceValues(u"A"), Values{FixedName()});
  }
}

TEST_F(RegistryRewrite, OtherValuesAndKeysStay) {
  MarkProduct(u"A");
  SetLocal(u"A", {u"EstimatedSize", 4, {1, 0, 0, 0}});
  SetLocal(u"A", {u"", 1, Utf16Bytes(u"default", 1)});
  SetSource(u"A", Text(u"LastUsedSource", u"n;1;C:\\"));
  tests::CreateKey(SourceList(u"A") + u"\\Net");
  Run();
  EXPECT_EQ(LocalValues(u"A"), (Values{Value{u"", 1, Utf16Bytes(u"default", 1)},
                                       Value{u"EstimatedSize", 4, {1, 0, 0, 0}},
                                       Text(u"LocalPackage", u"C:\\windows\\Installer\\A.msi")}));
  EXPECT_EQ(SourceValues(u"A"), (Values{Text(u"LastUsedSource", u"n;1;C:\\"), FixedName()}));
  EXPECT_TRUE(tests::KeyExists(SourceList(u"A") + u"\\Net"));
}

TEST_F(RegistryRewrite, MarksInTheOtherKeyStay) {
  SetLocal(u"A", Text(u"PackageNameNotExist", u"a.msi"));
  SetSource(u"A", Text(u"LocalPackageNotExist", u"C:\\a.msi"));
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{Text(u"PackageNameNotExist", u"a.msi")});
  EXPECT_EQ(SourceValues(u"A"), Values{Text(u"LocalPackageNotExist", u"C:\\a.msi")});
  EXPECT_EQ(Traced(), Records());
}

TEST_F(RegistryRewrite, EverySubkeyCountsAsAProductInTheOrderOfTheKeys) {
  const std::u16string odd = u"not a code {x} ü";
  MarkProduct(odd);
  MarkProduct(u"0A");
  MarkProduct(u"b");
  Run();
  EXPECT_EQ(SourceValues(odd), Values{FixedName()});
  EXPECT_EQ(Traced(), (Records{LocalUpdate("0A"), SourceUpdate("0A"), LocalUpdate("b"),
                               SourceUpdate("b"), LocalUpdate("not a code {x} \xC3\xBC"),
                               SourceUpdate("not a code {x} \xC3\xBC")}));
}

TEST_F(RegistryRewrite, LongestSubkeyNameIsProcessed) {
  const std::u16string name(255, u'n');
  MarkProduct(name);
  Run();
  EXPECT_EQ(SourceValues(name), Values{FixedName()});
}

TEST_F(RegistryRewrite, The32BitViewStays) {
  const std::u16string path =
      u"SOFTWARE\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\"
      u"Products";
  const tests::ScopedTree tree(path);
  tests::CreateKey(path + u"\\A\\InstallProperties");
  const Value marked = Text(u"LocalPackageNotExist", u"C:\\a.msi");
  SetValue(path + u"\\A\\InstallProperties", marked);
  Run();
  EXPECT_EQ(tests::Values(path + u"\\A\\InstallProperties"), Values{marked});
  EXPECT_EQ(Traced(), Records());
}

}  // namespace
