// How much memory the gate asks for: an operation that isn't known costs no copy of the arguments,
// and the code's expression is compiled whatever the code is.
#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <set>
#include <string>

#include "oru/rtl/exception.h"
#include "tests/support/allocation_faults.h"
#include "tests/zum_setup_util_lib/command_line_forms.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/wide_regex.h"

namespace host = winapi::host;

namespace {

using tests::Words;

// An operation and its first words, with so many arguments behind them that no string keeps in
// itself.
Words WithTail(Words words, std::size_t count) {
  words.push_back(u"/q");
  words.insert(words.end(), count, u"PRIVACYPOLICY=a value of some length");
  return words;
}

std::size_t AllocationsOf(const Words& words) {
  const tests::ScopedAllocationFault none(0);
  const tests::CommandOutcome outcome = tests::MakeCommand(words);
  return host::AllocationCount();
}

std::size_t AllocationsOfTheExpression() {
  const tests::ScopedAllocationFault none(0);
  const correct_setup::helpers::WideRegex syntax(
      u"^[{]{1}[0-9a-fA-F]{8}-([0-9a-fA-F]{4}-){3}[0-9a-fA-F]{12}[}]{1}$");
  return host::AllocationCount();
}

TEST(CreateCommandMsiMemory, UnknownOperationCopiesNoTail) {
  (void)AllocationsOf({u"/nothing", u"p"});  // what is made once only
  EXPECT_EQ(AllocationsOf(WithTail({u"/nothing", u"p"}, 100)),
            AllocationsOf(WithTail({u"/nothing", u"p"}, 0)));
}

// As often for each operation, whatever that costs.
TEST(CreateCommandMsiMemory, TailIsCopiedForEachOperationAlike) {
  const std::u16string guid = u"{12345678-1234-1234-1234-1234567890ab}";
  std::set<std::size_t> costs;
  for (const Words& head : {Words{u"/installmsi", u"p"}, Words{u"/installmsp", u"p"},
                            Words{u"/uninstallmsi", u"p"}, Words{u"/uninstallmsp", u"p", guid}}) {
    (void)AllocationsOf(WithTail(head, 0));
    costs.insert(AllocationsOf(WithTail(head, 110)) - AllocationsOf(WithTail(head, 10)));
  }
  EXPECT_EQ(costs.size(), 1u) << testing::PrintToString(costs);
}

TEST(CreateCommandMsiMemory, ExpressionIsCompiledForAnEmptyCodeToo) {
  (void)AllocationsOfTheExpression();
  const std::size_t expression = AllocationsOfTheExpression();
  (void)AllocationsOf({u"/uninstallmsp", u"p", u"", u"/q"});
  const std::size_t refused = AllocationsOf({u"/uninstallmsp", u"", u"", u"FOO"});
  EXPECT_GT(expression, refused);
  EXPECT_GT(AllocationsOf({u"/uninstallmsp", u"p", u"", u"/q"}), expression);
}

// Nothing else comes out of a lack of memory, and no command.
TEST(CreateCommandMsiMemory, LackOfMemoryIsThrownAsItIs) {
  const Words words =
      WithTail({u"/uninstallmsp", u"p", u"{12345678-1234-1234-1234-1234567890ab}"}, 2);
  EXPECT_NE(tests::MakeCommand(words).command, nullptr);
  std::size_t thrown = 0;
  const std::size_t faults = tests::SweepAllocations([&](std::size_t) {
    try {
      (void)correct_setup::CreateCommandMsi(words.begin(), words.end());
    } catch (const std::bad_alloc&) {
      ++thrown;
    }
  });
  EXPECT_EQ(thrown, faults);
  EXPECT_GT(faults, AllocationsOfTheExpression());
}

}  // namespace
