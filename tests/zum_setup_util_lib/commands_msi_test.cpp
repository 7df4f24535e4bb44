// The gate that the installer's arguments have to pass.

#include "zum_setup_util_lib/commands_msi.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/support/result_code.h"
#include "tests/zum_setup_util_lib/command_line_forms.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"

namespace {

using tests::CommandOutcome;
using tests::InstalledTracer;
using tests::kGuid;
using tests::kInvalidArgument;
using tests::kNotAllowed;
using tests::kSilentMissing;
using tests::MakeCommand;
using tests::Narrow;
using tests::TraceRecords;
using tests::Words;

constexpr std::uint32_t kOperationInvalid = 0xA178000A;
constexpr std::uint32_t kGuidInvalid = 0xA178000B;

const std::u16string kSilentPrefix =
    u"[correct_setup::`anonymous-namespace'::CheckSilentArguments] ";

// --- What is refused, and how.

struct Refusal {
  const char* name;
  Words words;
  std::uint32_t code;
  std::u16string message;
};

void PrintTo(const Refusal& row, std::ostream* out) { *out << row.name; }

class Refusals : public testing::TestWithParam<Refusal> {};

TEST_P(Refusals, GiveTheirCodeAndMessage) {
  const CommandOutcome outcome = MakeCommand(GetParam().words);
  EXPECT_EQ(outcome.command, nullptr);
  EXPECT_EQ(outcome.code, GetParam().code);
  EXPECT_EQ(Narrow(outcome.message), Narrow(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    CreateCommandMsi, Refusals,
    testing::Values(
        Refusal{"NoArguments",
                {},
                kOperationInvalid,
                u"[correct_setup::CreateCommandMsi] empty operation"},
        Refusal{"OneKnownWord",
                {u"/installmsi"},
                kInvalidArgument,
                u"[correct_setup::CreateCommandMsi] not valid argument"},
        Refusal{"OneUnknownWord",
                {u"/nothing"},
                kInvalidArgument,
                u"[correct_setup::CreateCommandMsi] not valid argument"},
        Refusal{"UnknownOperation",
                {u"/repairmsi", u"p.msi", u"/q"},
                kOperationInvalid,
                u"[correct_setup::CreateCommandMsi] not valid operation for msi"},
        Refusal{"OperationInOtherCase",
                {u"/InstallMsi", u"p.msi", u"/q"},
                kOperationInvalid,
                u"[correct_setup::CreateCommandMsi] not valid operation for msi"},
        Refusal{"LongerOperation",
                {u"/installmsix", u"p.msi", u"/q"},
                kOperationInvalid,
                u"[correct_setup::CreateCommandMsi] not valid operation for msi"},
        Refusal{"PatchRemovalWithoutGuid",
                {u"/uninstallmsp", u"p.msp"},
                kOperationInvalid,
                u"[correct_setup::CreateCommandMsi] not guid for operation"},
        Refusal{"NothingBehindThePackage",
                {u"/installmsi", u"package"},
                kSilentMissing,
                kSilentPrefix + u"not valid args, not silent mode"},
        Refusal{"SilentSwitchTakenForThePackage",
                {u"/installmsi", u"/q"},
                kSilentMissing,
                kSilentPrefix + u"not valid args, not silent mode"},
        Refusal{"NoSilentSwitch",
                {u"/installmsp", u"p.msp", u"EULA=1"},
                kSilentMissing,
                kSilentPrefix + u"not valid args, not silent mode"},
        Refusal{"SilentBeforeAllowed",
                {u"/uninstallmsi", u"p.msi", u"FOO=1"},
                kSilentMissing,
                kSilentPrefix + u"not valid args, not silent mode"},
        Refusal{"LogSwitch",
                {u"/installmsi", u"package", u"/q", u"/l*v"},
                kNotAllowed,
                u"not allowed args"},
        Refusal{"SilentInCapitals",
                {u"/installmsi", u"package", u"/QUIET"},
                kNotAllowed,
                u"not allowed args"},
        Refusal{"EmptyArgument",
                {u"/installmsi", u"package", u"/q", u""},
                kNotAllowed,
                u"not allowed args"},
        Refusal{"EmptyPath",
                {u"/installmsi", u"", u"/q"},
                kInvalidArgument,
                u"[correct_setup::CommandInstallMsi::CommandInstallMsi] empty path"},
        Refusal{"EmptyPatchPath",
                {u"/installmsp", u"", u"/q"},
                kInvalidArgument,
                u"[correct_setup::CommandInstallMsp::CommandInstallMsp] empty path"},
        Refusal{"EmptyPathToRemove",
                {u"/uninstallmsi", u"", u"/q"},
                kInvalidArgument,
                u"[correct_setup::CommandUninstallMsi::CommandUninstallMsi] empty path"},
        Refusal{"EmptyPatchToRemove",
                {u"/uninstallmsp", u"", kGuid, u"/q"},
                kInvalidArgument,
                u"[correct_setup::CommandUninstallMsp::CommandUninstallMsp] empty path"},
        Refusal{"ArgumentsBeforeTheEmptyPath",
                {u"/installmsi", u"", u"/q", u"FOO=1"},
                kNotAllowed,
                u"not allowed args"},
        Refusal{"ArgumentsBeforeTheEmptyPatchPath",
                {u"/installmsp", u"", u"/q", u"FOO=1"},
                kNotAllowed,
                u"not allowed args"},
        Refusal{"ArgumentsBeforeTheEmptyPathToRemove",
                {u"/uninstallmsi", u"", u"EULA=1"},
                kSilentMissing,
                kSilentPrefix + u"not valid args, not silent mode"},
        Refusal{"ArgumentsBeforeTheEmptyPatchToRemove",
                {u"/uninstallmsp", u"", kGuid, u"/q", u"FOO=1"},
                kNotAllowed,
                u"not allowed args"},
        Refusal{"GuidBeforeTheEmptyPath",
                {u"/uninstallmsp", u"", u"{1}", u"/q"},
                kGuidInvalid,
                u"not correct guid = {1}"},
        Refusal{"ArgumentsBeforeTheGuid",
                {u"/uninstallmsp", u"p.msp", u"{1}"},
                kSilentMissing,
                kSilentPrefix + u"not valid args, not silent mode"},
        Refusal{"AllowListBeforeTheGuid",
                {u"/uninstallmsp", u"p", u"{1}", u"/q", u"FOO=1"},
                kNotAllowed,
                u"not allowed args"}),
    [](const auto& tested) { return tested.param.name; });

TEST(CreateCommandMsi, RefusalNamesItsSource) {
  for (const Words& words :
       {Words{}, Words{u"/x"}, Words{u"/x", u"p"}, Words{u"/uninstallmsp", u"p"},
        Words{u"/installmsi", u"p"}, Words{u"/installmsi", u"p", u"/q", u"x"},
        Words{u"/installmsi", u"", u"/q"}, Words{u"/uninstallmsp", u"p", u"{}", u"/q"}}) {
    const CommandOutcome outcome = MakeCommand(words);
    EXPECT_EQ(outcome.file, "zum_setup_util_lib/commands_msi") << words.size();
    EXPECT_GT(outcome.line, 0u) << words.size();
  }
}

TEST(CreateCommandMsi, GuidIsMissedBeforeAnyConstructorRuns) {
  const InstalledTracer tracer;
  EXPECT_EQ(MakeCommand({u"/uninstallmsp", u"p"}).code, kOperationInvalid);
  EXPECT_TRUE(tracer.Records().empty());
}

// --- The patch removal's product code.

struct GuidCase {
  const char* name;
  std::u16string guid;
  bool valid;
};

void PrintTo(const GuidCase& row, std::ostream* out) { *out << row.name; }

const std::u16string kEmbeddedZero =
    u"{1234567" + std::u16string(1, u'\0') + u"-1234-1234-1234-1234567890ab}";

class GuidSyntax : public testing::TestWithParam<GuidCase> {};

TEST_P(GuidSyntax, IsTheWholeText) {
  const CommandOutcome outcome = MakeCommand({u"/uninstallmsp", u"p.msp", GetParam().guid, u"/q"});
  EXPECT_EQ(outcome.command != nullptr, GetParam().valid);
  if (GetParam().valid) return;
  EXPECT_EQ(outcome.code, kGuidInvalid);
  EXPECT_EQ(Narrow(outcome.message), Narrow(u"not correct guid = " + GetParam().guid));
}

INSTANTIATE_TEST_SUITE_P(
    CommandUninstallMsp, GuidSyntax,
    testing::Values(
        GuidCase{"LowerCase", kGuid, true},
        GuidCase{"UpperCase", u"{12345678-ABCD-EF01-2345-6789ABCDEF01}", true},
        GuidCase{"NoBraces", u"12345678-1234-1234-1234-1234567890ab", false},
        GuidCase{"OpenBraceOnly", u"{12345678-1234-1234-1234-1234567890ab", false},
        GuidCase{"TwoBraces", u"{{12345678-1234-1234-1234-1234567890ab}}", false},
        GuidCase{"OneDigitMore", u"{12345678-1234-1234-1234-1234567890abc}", false},
        GuidCase{"OneDigitLess", u"{12345678-1234-1234-1234-1234567890a}", false},
        GuidCase{"NoHexDigit", u"{12345678-1234-1234-1234-1234567890ag}", false},
        GuidCase{"TextBehind", kGuid + u"x", false}, GuidCase{"TextBefore", u"x" + kGuid, false},
        GuidCase{"LineEndBehind", kGuid + u"\n", false}, GuidCase{"Empty", u"", false},
        GuidCase{"MixedCase", u"{aBcDeF09-AbCd-eF01-2345-6789aBCDEf01}", true},
        GuidCase{"DashMovedByOne", u"{1234567-81234-1234-1234-1234567890ab}", false},
        GuidCase{"LaterDashMovedByOne", u"{12345678-1234-1234-12341-234567890ab}", false},
        GuidCase{"NoDashes", u"{123456781234123412341234567890abcdef}", false},
        GuidCase{"DigitForADash", u"{12345678-1234-123451234-1234567890ab}", false},
        GuidCase{"BlankForADash", u"{12345678 1234-1234-1234-1234567890ab}", false},
        GuidCase{"ClosingBraceOnly", u"12345678-1234-1234-1234-1234567890ab}", false},
        GuidCase{"DoubledBraceForADigit", u"{{2345678-1234-1234-1234-1234567890ab}", false},
        GuidCase{"DoubledBraceForTheOther", u"{{12345678-1234-1234-1234-1234567890ab", false},
        GuidCase{"Parentheses", u"(12345678-1234-1234-1234-1234567890ab)", false},
        GuidCase{"BracesOnly", u"{}", false},
        GuidCase{"FullWidthDigit", u"{\uFF112345678-1234-1234-1234-1234567890ab}", false},
        GuidCase{"EmbeddedZero", kEmbeddedZero, false},
        GuidCase{"ZeroBehind", kGuid + std::u16string(1, u'\0'), false},
        // Matching needs no stack for each character.
        GuidCase{"VeryLong", std::u16string(30'000, u'a'), false},
        GuidCase{"VeryLongInBraces", u"{" + std::u16string(30'000, u'a') + u"}", false},
        GuidCase{"VeryLongBehindAValidOne", kGuid + std::u16string(30'000, u'1'), false}),
    [](const auto& tested) { return tested.param.name; });

std::uint32_t CodeFor(const std::u16string& guid) {
  return MakeCommand({u"/uninstallmsp", u"p.msp", guid, u"/q"}).code;
}

// Each of the 38 places left out, doubled, and taken by what may stand in no place, and by what may
// stand in another one.
TEST(CommandUninstallMspGuid, EveryPlaceCounts) {
  ASSERT_EQ(CodeFor(kGuid), 0u);
  for (std::size_t place = 0; place < kGuid.size(); ++place) {
    std::u16string other = kGuid;
    EXPECT_EQ(CodeFor(other.erase(place, 1)), kGuidInvalid) << place;
    other = kGuid;
    EXPECT_EQ(CodeFor(other.insert(place, 1, kGuid[place])), kGuidInvalid) << place;
    const bool isDigit = kGuid[place] != u'{' && kGuid[place] != u'}' && kGuid[place] != u'-';
    for (const char16_t replaced : {u'g', u' ', u'\0', isDigit ? u'-' : u'0'}) {
      other = kGuid;
      other[place] = replaced;
      EXPECT_EQ(CodeFor(other), kGuidInvalid) << place << ' ' << static_cast<int>(replaced);
    }
  }
}

TEST(CommandTraces, EachClassHasItsOwnPrefix) {
  const InstalledTracer tracer;
  EXPECT_NE(MakeCommand({u"/installmsp", u"p", u"/q"}).command, nullptr);
  EXPECT_NE(MakeCommand({u"/uninstallmsi", u"p", u"/q"}).command, nullptr);
  EXPECT_NE(MakeCommand({u"/uninstallmsp", u"p", kGuid, u"/q"}).command, nullptr);
  const std::string allowed = "setup\t[correct_setup::`anonymous-namespace'::CheckAllowList] call";
  EXPECT_EQ(
      tracer.Records(),
      (TraceRecords{{700, "setup\t[correct_setup::CommandInstallMsp::CommandInstallMsp] call"},
                    {700, allowed},
                    {700, "setup\t[correct_setup::CommandUninstallMsi::CommandUninstallMsi] call"},
                    {700, allowed},
                    {700, "setup\t[correct_setup::CommandUninstallMsp::CommandUninstallMsp] call"},
                    {700, allowed}}));
}

// --- Hiding of refused passwords: a safeguard that a regular run doesn't reach.

TEST(HideSensitiveArguments, KeepsTheBeginningOfTheTwoPasswords) {
  const Words arguments = {u"QVPASSWD=secret", u"QVPASSWDHEX=aa", u"QVPASSWDAREA=x", u"EULA=1",
                           u"qvpasswd=secret"};
  EXPECT_EQ(
      correct_setup::HideSensitiveArguments(arguments),
      (Words{u"QVPASSWD=<sensitive data was hidden>", u"QVPASSWDHEX=<sensitive data was hidden>",
             u"QVPASSWDAREA=x", u"EULA=1", u"qvpasswd=secret"}));
  EXPECT_EQ(arguments[0], u"QVPASSWD=secret");
}

TEST(HideSensitiveArguments, HidesAnEmptyValueToo) {
  EXPECT_EQ(
      correct_setup::HideSensitiveArguments({u"QVPASSWD=", u"QVPASSWDHEX="}),
      (Words{u"QVPASSWD=<sensitive data was hidden>", u"QVPASSWDHEX=<sensitive data was hidden>"}));
}

TEST(HideSensitiveArguments, LeavesANameWithoutTheSign) {
  const Words arguments = {u"QVPASSWD", u"QVPASSWDHEX", u" QVPASSWD=x", u""};
  EXPECT_EQ(correct_setup::HideSensitiveArguments(arguments), arguments);
}

TEST(HideSensitiveArguments, EmptyListStaysEmpty) {
  EXPECT_EQ(correct_setup::HideSensitiveArguments({}), Words{});
}

}  // namespace
