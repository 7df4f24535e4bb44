// The gate that the installer's arguments have to pass.

#include "zum_setup_util_lib/commands_msi.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/zum_setup_util_lib/command_line_forms.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"

namespace {

using tests::CommandOutcome;
using tests::InstalledTracer;
using tests::MakeCommand;
using tests::Narrow;
using tests::TraceRecords;
using tests::Words;

constexpr std::uint32_t kSilentMissing = 0xA1780004;
constexpr std::uint32_t kNotAllowed = 0xA1780009;
constexpr std::uint32_t kOperationInvalid = 0xA178000A;
constexpr std::uint32_t kGuidInvalid = 0xA178000B;
constexpr std::uint32_t kInvalidArgument = 0x80000046;

const std::u16string kGuid = u"{12345678-1234-1234-1234-1234567890ab}";
const std::u16string kSilentPrefix =
    u"[correct_setup::`anonymous-namespace'::CheckSilentArguments] ";

// --- What is refused, and how.

struct Refusal {
  const char* name;
  Words words;
  std::uint32_t code;
  std::u16string message;
};

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
        Refusal{"GuidBeforeTheEmptyPath",
                {u"/uninstallmsp", u"", u"{1}", u"/q"},
                kGuidInvalid,
                u"not correct guid = {1}"},
        Refusal{"ArgumentsBeforeTheGuid",
                {u"/uninstallmsp", u"p.msp", u"{1}"},
                kSilentMissing,
                kSilentPrefix + u"not valid args, not silent mode"}),
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

TEST(CreateCommandMsi, LeavesTheListAlone) {
  const Words words = {u"/uninstallmsp", u"p.msp", kGuid, u"/q", u"QVPASSWD=x"};
  const Words before = words;
  EXPECT_NE(MakeCommand(words).command, nullptr);
  EXPECT_EQ(words, before);
}

// --- The patch removal's product code.

struct GuidCase {
  const char* name;
  std::u16string guid;
  bool valid;
};

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
    testing::Values(GuidCase{"LowerCase", kGuid, true},
                    GuidCase{"UpperCase", u"{12345678-ABCD-EF01-2345-6789ABCDEF01}", true},
                    GuidCase{"NoBraces", u"12345678-1234-1234-1234-1234567890ab", false},
                    GuidCase{"OpenBraceOnly", u"{12345678-1234-1234-1234-1234567890ab", false},
                    GuidCase{"TwoBraces", u"{{12345678-1234-1234-1234-1234567890ab}}", false},
                    GuidCase{"OneDigitMore", u"{12345678-1234-1234-1234-1234567890abc}", false},
                    GuidCase{"OneDigitLess", u"{12345678-1234-1234-1234-1234567890a}", false},
                    GuidCase{"NoHexDigit", u"{12345678-1234-1234-1234-1234567890ag}", false},
                    GuidCase{"TextBehind", kGuid + u"x", false},
                    GuidCase{"TextBefore", u"x" + kGuid, false},
                    GuidCase{"LineEndBehind", kGuid + u"\n", false}, GuidCase{"Empty", u"", false},
                    GuidCase{"VeryLong", std::u16string(30'000, u'a'), false}),
    [](const auto& tested) { return tested.param.name; });

// --- The allow list: by beginning, and case counts. Each entry exact, shorter, longer, in other
// case.

const std::vector<std::u16string> kAllowed = {u"ADDENVIRONMENT=",
                                              u"ALLOWREBOOT=",
                                              u"EULA=",
                                              u"PRIVACYPOLICY=",
                                              u"INSTALLDIR=",
                                              u"QVLOGIN=",
                                              u"QVPASSWD=",
                                              u"QVPASSWDHEX=",
                                              u"QVPASSWDAREA=",
                                              u"QVC=",
                                              u"SELFPROTECTION=",
                                              u"SKIPPRODUCTCHECK=",
                                              u"SKIPPRODUCTUNINSTALL=",
                                              u"SETUPREG=",
                                              u"ENABLETRACES=",
                                              u"TRACESLEVEL=",
                                              u"INSTALLLEVEL=",
                                              u"/qn",
                                              u"/q",
                                              u"/quiet"};
const std::vector<std::u16string> kSilentForms = {u"/qn", u"/q",     u"/quiet", u"/QN",
                                                  u"/Q",  u"/Quiet", u"/qN"};

bool IsAllowed(const std::u16string& argument) {
  for (const std::u16string& entry : kAllowed) {
    if (argument.compare(0, entry.size(), entry) == 0) return true;
  }
  return false;
}

std::u16string OtherCase(std::u16string text) {
  for (char16_t& unit : text) {
    if (unit >= u'a' && unit <= u'z')
      unit = static_cast<char16_t>(unit - 32);
    else if (unit >= u'A' && unit <= u'Z')
      unit = static_cast<char16_t>(unit + 32);
  }
  return text;
}

void ExpectGate(const std::u16string& silent, const std::u16string& argument) {
  const CommandOutcome outcome = MakeCommand({u"/installmsi", u"p.msi", silent, argument});
  const bool passes = IsAllowed(silent) && IsAllowed(argument);
  EXPECT_EQ(outcome.command != nullptr, passes) << Narrow(silent) << ' ' << Narrow(argument);
  EXPECT_EQ(outcome.code, passes ? 0 : kNotAllowed) << Narrow(silent) << ' ' << Narrow(argument);
}

TEST(AllowList, TakesEachEntryByItsBeginningWithEachSilentSwitch) {
  for (const std::u16string& silent : kSilentForms) {
    for (const std::u16string& entry : kAllowed) {
      ExpectGate(silent, entry);
      ExpectGate(silent, entry + u"value");
      ExpectGate(silent, entry.substr(0, entry.size() - 1));
      ExpectGate(silent, OtherCase(entry));
      ExpectGate(silent, u" " + entry);
    }
  }
}

struct PrefixCase {
  const char* name;
  std::u16string argument;
  bool allowed;
};

class AllowedBeginnings : public testing::TestWithParam<PrefixCase> {};

TEST_P(AllowedBeginnings, DecideAlone) {
  const CommandOutcome outcome = MakeCommand({u"/installmsi", u"p", u"/q", GetParam().argument});
  EXPECT_EQ(outcome.command != nullptr, GetParam().allowed);
  EXPECT_EQ(outcome.code, GetParam().allowed ? 0 : kNotAllowed);
}

INSTANTIATE_TEST_SUITE_P(
    AllowList, AllowedBeginnings,
    testing::Values(PrefixCase{"PropertyWithoutValue", u"EULA=", true},
                    PrefixCase{"PropertyWithAnyValue", u"EULA= a\"b;&|", true},
                    PrefixCase{"PropertyInOtherCase", u"eula=1", false},
                    PrefixCase{"PropertyWithoutEqualSign", u"EULA", false},
                    PrefixCase{"PropertyWithBlankBeforeTheSign", u"EULA =1", false},
                    PrefixCase{"Password", u"QVPASSWD=x", true},
                    PrefixCase{"PasswordInHexadecimal", u"QVPASSWDHEX=x", true},
                    PrefixCase{"OtherPassword", u"QVPASSWDX=x", false},
                    PrefixCase{"PasswordWithoutSign", u"QVPASSWD", false},
                    PrefixCase{"SwitchesOfTheSameBeginning", u"/qb", true},
                    PrefixCase{"SwitchWithDash", u"-q", false},
                    PrefixCase{"SwitchInCapitals", u"/QN", false}, PrefixCase{"Slash", u"/", false},
                    PrefixCase{"NotAscii", u"\u0415ULA=1", false}),
    [](const auto& tested) { return tested.param.name; });

// --- The silent switch: the whole argument, and case doesn't count.

struct SilentCase {
  const char* name;
  std::u16string argument;
  bool silent;
};

class SilentSwitches : public testing::TestWithParam<SilentCase> {};

// The last argument is never allowed, so the code tells how far the checks came.
TEST_P(SilentSwitches, AreComparedWholeAndWithoutCase) {
  const CommandOutcome outcome = MakeCommand({u"/installmsi", u"p", GetParam().argument, u"FOO"});
  EXPECT_EQ(outcome.command, nullptr);
  EXPECT_EQ(outcome.code, GetParam().silent ? kNotAllowed : kSilentMissing);
}

INSTANTIATE_TEST_SUITE_P(
    CheckSilentArguments, SilentSwitches,
    testing::Values(SilentCase{"Qn", u"/qn", true}, SilentCase{"Q", u"/q", true},
                    SilentCase{"Quiet", u"/quiet", true}, SilentCase{"QnCapitals", u"/QN", true},
                    SilentCase{"QCapital", u"/Q", true}, SilentCase{"QuietMixed", u"/QuIeT", true},
                    SilentCase{"QnLonger", u"/qn+", false}, SilentCase{"QLonger", u"/qb", false},
                    SilentCase{"QuietLonger", u"/quietly", false},
                    SilentCase{"QuietShorter", u"/quie", false},
                    SilentCase{"BlankBefore", u" /q", false},
                    SilentCase{"BlankBehind", u"/q ", false}, SilentCase{"NoSlash", u"q", false},
                    SilentCase{"Dash", u"-q", false}, SilentCase{"Quoted", u"\"/q\"", false},
                    SilentCase{"Empty", u"", false}),
    [](const auto& tested) { return tested.param.name; });

TEST(CheckSilentArguments, OneAnywhereIsEnough) {
  EXPECT_NE(MakeCommand({u"/installmsi", u"p", u"EULA=1", u"/q"}).command, nullptr);
  EXPECT_NE(MakeCommand({u"/installmsi", u"p", u"/q", u"EULA=1"}).command, nullptr);
}

TEST(AllowList, EntriesAreTwenty) { EXPECT_EQ(kAllowed.size(), 20u); }

TEST(AllowList, LongerSwitchesPassButAreNotSilent) {
  EXPECT_EQ(MakeCommand({u"/installmsi", u"p", u"/qb"}).code, kSilentMissing);
  EXPECT_EQ(MakeCommand({u"/installmsi", u"p", u"/quietly"}).code, kSilentMissing);
  EXPECT_NE(MakeCommand({u"/installmsi", u"p", u"/qb", u"/quietly", u"/q"}).command, nullptr);
}

TEST(AllowList, OwnPropertyCanNotBeSupplied) {
  EXPECT_EQ(MakeCommand({u"/installmsi", u"p", u"/q", u"SKIPREBOOTPENDING=0"}).code, kNotAllowed);
}

TEST(AllowList, AllRefusedArgumentsStandInOneRecord) {
  const InstalledTracer tracer;
  EXPECT_EQ(MakeCommand({u"/installmsi", u"p", u"FOO=1", u"/q", u"/l*v"}).code, kNotAllowed);
  EXPECT_EQ(tracer.Records(),
            (TraceRecords{
                {700, "setup\t[correct_setup::CommandInstallMsi::CommandInstallMsi] call"},
                {700, "setup\t[correct_setup::`anonymous-namespace'::CheckAllowList] call"},
                {300,
                 "setup\t[correct_setup::`anonymous-namespace'::CheckAllowList] not allowed args = "
                 "[ FOO=1,/l*v ]"}}));
}

TEST(AllowList, OneRefusedArgumentStandsAlone) {
  const InstalledTracer tracer;
  EXPECT_EQ(MakeCommand({u"/installmsi", u"package", u"/q", u"/l*v"}).code, kNotAllowed);
  ASSERT_EQ(tracer.Records().size(), 3u);
  EXPECT_EQ(tracer.Records()[2].second,
            "setup\t[correct_setup::`anonymous-namespace'::CheckAllowList] not allowed args = "
            "[ /l*v ]");
}

TEST(AllowList, IsNotReachedWithoutASilentSwitch) {
  const InstalledTracer tracer;
  EXPECT_EQ(MakeCommand({u"/installmsi", u"p", u"FOO=1"}).code, kSilentMissing);
  EXPECT_EQ(
      tracer.Records(),
      (TraceRecords{{700, "setup\t[correct_setup::CommandInstallMsi::CommandInstallMsi] call"}}));
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

}  // namespace
