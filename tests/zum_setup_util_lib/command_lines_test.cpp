// The four commands, and the installer's command lines that they compose.
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <type_traits>

#include "oru/rtl/exception.h"
#include "tests/support/expected_failure.h"
#include "tests/support/result_code.h"
#include "tests/support/vtable_slot.h"
#include "tests/zum_setup_util_lib/command_line_forms.h"
#include "zum_setup_util_lib/commands_msi.h"

namespace {

using correct_setup::ICommandMsi;
using tests::CommandOutcome;
using tests::kGuid;
using tests::kInvalidArgument;
using tests::MakeCommand;
using tests::Narrow;
using tests::Words;

// The destructor takes the first two slots of this ABI, or one where that is Windows' own.
TEST(CommandMsi, SlotsAreInTheOrderOfDeclaration) {
  const int first = tests::VtableSlot(&ICommandMsi::GetMsiCommandLine);
  EXPECT_EQ(first, 2);
  EXPECT_EQ(tests::VtableSlot(&ICommandMsi::GetFullPathToPackage), first + 1);
  EXPECT_EQ(tests::VtableSlot(&ICommandMsi::SetFullPathToPackage), first + 2);
}

static_assert(std::has_virtual_destructor_v<ICommandMsi>);
static_assert(std::is_abstract_v<ICommandMsi>);
static_assert(std::is_final_v<correct_setup::CommandInstallMsi>);

// Counts its ends.
class CountingCommand final : public ICommandMsi {
 public:
  explicit CountingCommand(int* ends) : m_ends(ends) {}
  CountingCommand(const CountingCommand&) = delete;
  CountingCommand& operator=(const CountingCommand&) = delete;
  ~CountingCommand() override { ++*m_ends; }
  std::u16string GetMsiCommandLine() const override { return {}; }
  std::u16string GetFullPathToPackage() const override { return {}; }
  void SetFullPathToPackage(const std::u16string& /*path*/) override {}

 private:
  int* m_ends;
};

TEST(CommandMsi, IsDeletedThroughTheInterface) {
  int ends = 0;
  std::unique_ptr<ICommandMsi> command = std::make_unique<CountingCommand>(&ends);
  command.reset();
  EXPECT_EQ(ends, 1);
}

TEST(CommandMsi, ArgumentsAreCopied) {
  Words arguments = {u"/q", u"EULA=1"};
  std::u16string package = u"p.msi";
  const correct_setup::CommandInstallMsi command(package, arguments);
  arguments[1] = u"EULA=0";
  package = u"other.msi";
  EXPECT_EQ(command.GetMsiCommandLine(), u"/norestart /i p.msi /q EULA=1 SKIPREBOOTPENDING=1");
}

struct Line {
  const char* name;
  Words words;
  std::u16string line;
};

void PrintTo(const Line& row, std::ostream* out) { *out << row.name; }

class CommandLines : public testing::TestWithParam<Line> {};

TEST_P(CommandLines, AreComposedFromThePrivateCopy) {
  const CommandOutcome outcome = MakeCommand(GetParam().words);
  ASSERT_NE(outcome.command, nullptr) << std::hex << outcome.code;
  const std::u16string typed = GetParam().words[1];
  EXPECT_EQ(outcome.command->GetFullPathToPackage(), typed);
  const std::u16string copy = u"D\\" + typed.substr(typed.rfind(u'\\') + 1);
  outcome.command->SetFullPathToPackage(copy);
  EXPECT_EQ(outcome.command->GetFullPathToPackage(), copy);
  EXPECT_EQ(Narrow(outcome.command->GetMsiCommandLine()), Narrow(GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(
    Commands, CommandLines,
    testing::Values(
        Line{"InstallMsi",
             {u"/installmsi", u"C:\\Setup\\zum_win.msi", u"/qn", u"EULA=1"},
             u"/norestart /i D\\zum_win.msi /qn EULA=1 SKIPREBOOTPENDING=1"},
        Line{"InstallMsp",
             {u"/installmsp", u"C:\\Setup\\fix.msp", u"/q"},
             u"/norestart /update D\\fix.msp /q SKIPREBOOTPENDING=1"},
        Line{"UninstallMsi",
             {u"/uninstallmsi", u"C:\\Setup\\zum_win.msi", u"/quiet", u"QVPASSWD=x"},
             u"/norestart /x D\\zum_win.msi /quiet QVPASSWD=x SKIPREBOOTPENDING=1"},
        Line{"UninstallMsp",
             {u"/uninstallmsp", u"C:\\Setup\\fix.msp", u"{12345678-1234-1234-1234-1234567890AB}",
              u"/qn"},
             u"/norestart /uninstall D\\fix.msp /package {12345678-1234-1234-1234-1234567890AB} "
             u"/qn SKIPREBOOTPENDING=1"},
        Line{"BlanksAreNotQuoted",
             {u"/installmsi", u"C:\\My Setup\\my package.msi", u"/q"},
             u"/norestart /i D\\my package.msi /q SKIPREBOOTPENDING=1"},
        Line{"QuotesPassThrough",
             {u"/installmsi", u"p.msi", u"INSTALLDIR=\"C:\\a b\"", u"/q"},
             u"/norestart /i D\\p.msi INSTALLDIR=\"C:\\a b\" /q SKIPREBOOTPENDING=1"},
        Line{"PatchWithBlanks",
             {u"/uninstallmsp", u"C:\\a\\my fix.msp", kGuid, u"EULA=1", u"/quiet"},
             u"/norestart /uninstall D\\my fix.msp /package "
             u"{12345678-1234-1234-1234-1234567890ab} EULA=1 /quiet SKIPREBOOTPENDING=1"},
        Line{"SameArgumentTwice",
             {u"/installmsi", u"p.msi", u"/q", u"EULA=1", u"EULA=1"},
             u"/norestart /i D\\p.msi /q EULA=1 EULA=1 SKIPREBOOTPENDING=1"}),
    [](const auto& tested) { return tested.param.name; });

TEST(CommandLines, ReflectTheReplacedPath) {
  const CommandOutcome outcome = MakeCommand({u"/installmsi", u"a b.msi", u"/q"});
  ASSERT_NE(outcome.command, nullptr);
  EXPECT_EQ(outcome.command->GetMsiCommandLine(), u"/norestart /i a b.msi /q SKIPREBOOTPENDING=1");
  outcome.command->SetFullPathToPackage(u"c.msi");
  EXPECT_EQ(outcome.command->GetMsiCommandLine(), u"/norestart /i c.msi /q SKIPREBOOTPENDING=1");
}

TEST(CommandUninstallMsp, PathIsThePatchAndNeverTheGuid) {
  const CommandOutcome outcome = MakeCommand({u"/uninstallmsp", u"a.msp", kGuid, u"/q"});
  ASSERT_NE(outcome.command, nullptr);
  EXPECT_EQ(outcome.command->GetFullPathToPackage(), u"a.msp");
}

struct Setter {
  const char* name;
  Words words;
  std::u16string message;
  std::u16string line;  // of the command afterwards, with nothing in the path's place
};

void PrintTo(const Setter& row, std::ostream* out) { *out << row.name; }

class EmptyReplacement : public testing::TestWithParam<Setter> {};

TEST_P(EmptyReplacement, HasReplacedThePathWhenItIsRefused) {
  const CommandOutcome outcome = MakeCommand(GetParam().words);
  ASSERT_NE(outcome.command, nullptr);
  tests::ExpectFailureOf(
      "zum_setup_util_lib/commands_msi", kInvalidArgument,
      [&] { outcome.command->SetFullPathToPackage(u""); }, GetParam().message);
  EXPECT_EQ(outcome.command->GetFullPathToPackage(), u"");
  EXPECT_EQ(Narrow(outcome.command->GetMsiCommandLine()), Narrow(GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(
    Commands, EmptyReplacement,
    testing::Values(
        Setter{"InstallMsi",
               {u"/installmsi", u"p", u"/q"},
               u"[correct_setup::CommandInstallMsi::SetFullPathToPackage] empty path",
               u"/norestart /i  /q SKIPREBOOTPENDING=1"},
        Setter{"InstallMsp",
               {u"/installmsp", u"p", u"/q"},
               u"[correct_setup::CommandInstallMsp::SetFullPathToPackage] empty path",
               u"/norestart /update  /q SKIPREBOOTPENDING=1"},
        Setter{"UninstallMsi",
               {u"/uninstallmsi", u"p", u"/q"},
               u"[correct_setup::CommandUninstallMsi::SetFullPathToPackage] empty path",
               u"/norestart /x  /q SKIPREBOOTPENDING=1"},
        Setter{"UninstallMsp",
               {u"/uninstallmsp", u"p", kGuid, u"/q"},
               u"[correct_setup::CommandUninstallMsp::SetFullPathToPackage] empty path",
               u"/norestart /uninstall  /package {12345678-1234-1234-1234-1234567890ab} /q "
               u"SKIPREBOOTPENDING=1"}),
    [](const auto& tested) { return tested.param.name; });

}  // namespace
