// The two checks of the extra arguments: the allow list, and the silent switch.
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/zum_setup_util_lib/command_line_forms.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"

namespace {

using tests::CommandOutcome;
using tests::InstalledTracer;
using tests::kNotAllowed;
using tests::kSilentMissing;
using tests::MakeCommand;
using tests::Narrow;
using tests::TraceRecords;
using tests::Words;

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
  return std::ranges::any_of(kAllowed, [&argument](const std::u16string& entry) {
    return argument.compare(0, entry.size(), entry) == 0;
  });
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

void PrintTo(const PrefixCase& row, std::ostream* out) { *out << row.name; }

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

void PrintTo(const SilentCase& row, std::ostream* out) { *out << row.name; }

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

// What the installer itself understands, or what begins like it, and isn't on the list.
constexpr std::u16string_view kRefused =
    u"TRANSFORMS=a.mst REINSTALL=ALL REINSTALLMODE=vomus REBOOT=Force REBOOTPROMPT=S ADDLOCAL=ALL "
    u"ADDSOURCE=ALL ADDDEFAULT=ALL ADVERTISE=ALL REMOVE=ALL TARGETDIR=C:\\ PATCH=C:\\a.msp "
    u"ALLUSERS=1 ALLUSERS= MSIINSTALLPERUSER=1 MSIFASTINSTALL=7 MSIPATCHREMOVE=a MSIRMSHUTDOWN=0 "
    u"MSIRESTARTMANAGERCONTROL=Disable MSIENFORCEUPGRADECOMPONENTRULES=1 ACTION=ADMIN "
    u"ROOTDRIVE=D:\\ DISABLEROLLBACK=1 LOGVERBOSE=1 SKIPREBOOTPENDING=1 PROPERTY=1 QV=1 QVPASS=1 "
    u"INSTALL=1 INSTALLPATH=C:\\ SETUP=1 /i /x /a /f /fa /l /lv /l* /log /p /j /jm /t /g /y /z /h "
    u"/? /help /package /update /uninstall /passive /norestart /promptrestart /forcerestart "
    u"/unblock -q -qn --quiet \\q //q q qn quiet * = \"/q\" \"EULA=1\"";

Words SplitAtBlanks(std::u16string_view text) {
  Words words;
  for (std::size_t from = 0; from < text.size();) {
    const std::size_t to = std::min(text.find(u' ', from), text.size());
    words.emplace_back(text.substr(from, to - from));
    from = to + 1;
  }
  return words;
}

TEST(AllowList, RefusesWhatTheInstallerTakesBesideIt) {
  const Words refused = SplitAtBlanks(kRefused);
  ASSERT_GT(refused.size(), 50u);
  for (const std::u16string& argument : refused) {
    const CommandOutcome outcome = MakeCommand({u"/installmsi", u"p", u"/q", argument});
    EXPECT_EQ(outcome.command, nullptr) << Narrow(argument);
    EXPECT_EQ(outcome.code, kNotAllowed) << Narrow(argument);
  }
}

// Pieces of entries, put together as chance has it: only the list that is typed here decides.
TEST(AllowList, DecidesOverRandomWordsByItsEntries) {
  const Words pieces = SplitAtBlanks(
      u"QV PASSWD HEX AREA C LOGIN EULA = / q n uiet INSTALL DIR LEVEL SKIP PRODUCT CHECK "
      u"UNINSTALL "
      u"SETUP REG TRACES ENABLE 1 eula ALLOWREBOOT EULA= QVC= SETUPREG= QVPASSWD /q");
  std::mt19937 random(20261121);
  std::size_t passed = 0;
  for (int i = 0; i < 4000; ++i) {
    std::u16string word;
    for (int count = 0; count < 3; ++count) word += pieces[random() % pieces.size()];
    const CommandOutcome outcome = MakeCommand({u"/installmsi", u"p", u"/q", word});
    EXPECT_EQ(outcome.command != nullptr, IsAllowed(word)) << Narrow(word);
    passed += IsAllowed(word) ? 1u : 0u;
  }
  EXPECT_GT(passed, 200u);
  EXPECT_LT(passed, 2000u);
}

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

}  // namespace
