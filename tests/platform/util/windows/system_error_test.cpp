#include "platform/util/windows/system_error.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "oru/rtl/exception_text.h"
#include "tests/support/checks.h"

using oru::MakeResultCode;
using windows_helpers::FormatSystemMessage;
using windows_helpers::MakeWin32CheckFailure;
using windows_helpers::WindowsErrorException;

namespace {

std::u16string MessageOf(const oru::Exception& exception) {
  return std::u16string(exception.Message().view());
}

// Shows the field that has no accessor.
class Open : public WindowsErrorException {
 public:
  using WindowsErrorException::WindowsErrorException;
  template <typename Member>
  [[nodiscard]] std::size_t Offset(const Member& member) const {
    return static_cast<std::size_t>(reinterpret_cast<const char*>(&member) -
                                    reinterpret_cast<const char*>(this));
  }
  [[nodiscard]] std::vector<std::size_t> Offsets() const {
    return {Offset(m_resultCode), Offset(systemError)};
  }
};

constexpr winapi::Dword kWithoutText = 0x2000BEEF;

TEST(FormatSystemMessage, UnknownStatusGivesAnEmptyText) {
  EXPECT_EQ(FormatSystemMessage(kWithoutText), u"");
}

TEST(FormatSystemMessage, KnownErrorHasATextWithoutLineEndAndFullStop) {
  for (const winapi::Dword error : {2u, 5u, 87u, 1603u, 0x80070005u}) {
    const std::u16string text = FormatSystemMessage(error);
    ASSERT_FALSE(text.empty()) << error;
    EXPECT_EQ(std::u16string(u"\r\n.").find(text.back()), std::u16string::npos) << error;
  }
}

struct TrimCase {
  const char* name;
  const char16_t* text;
  const char16_t* expected;
};

void PrintTo(const TrimCase& trimCase, std::ostream* out) { *out << trimCase.name; }

class TrimTable : public ::testing::TestWithParam<TrimCase> {};

TEST_P(TrimTable, TakesLineEndsAndFullStopsOffTheEnd) {
  std::u16string text = GetParam().text;
  windows_helpers::detail::TrimSystemMessage(text);
  EXPECT_EQ(text, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(FormatSystemMessage, TrimTable,
                         ::testing::Values(TrimCase{"ManyFullStops", u"a...\r\n", u"a"},
                                           TrimCase{"MixedOrder", u"a.\r\n.\r\n", u"a"},
                                           TrimCase{"NothingElse", u"\r\n.", u""},
                                           TrimCase{"FullStopInside", u"a.b", u"a.b"},
                                           TrimCase{"BlankAtTheEnd", u"a. ", u"a. "},
                                           TrimCase{"Empty", u"", u""}),
                         [](const auto& test) { return test.param.name; });

TEST(WindowsErrorException, UnknownStatusLeavesNothingBetweenTheLiterals) {
  const WindowsErrorException exception(kWithoutText, "F(x)");
  EXPECT_EQ(MessageOf(exception), u"System error: 0x2000beef. . Expression: 'F(x)'");
}

TEST(WindowsErrorException, StatusHasEightDigitsFilledWithZeros) {
  const WindowsErrorException exception(5, "F(x)");
  EXPECT_EQ(MessageOf(exception),
            u"System error: 0x00000005. " + FormatSystemMessage(5) + u". Expression: 'F(x)'");
}

TEST(WindowsErrorException, ExpressionGoesInAsItStands) {
  const char expression[] = "::CreateProcessW( a.c_str(), b.empty() ? nullptr : \"it's\", &c )";
  const WindowsErrorException exception(kWithoutText, expression);
  EXPECT_EQ(MessageOf(exception),
            u"System error: 0x2000beef. . Expression: '::CreateProcessW( a.c_str(), b.empty() ? "
            u"nullptr : \"it's\", &c )'");
}

struct CodeCase {
  const char* name;
  winapi::Dword status;
  std::uint32_t expected;
};

void PrintTo(const CodeCase& codeCase, std::ostream* out) { *out << codeCase.name; }

class CodeTable : public ::testing::TestWithParam<CodeCase> {};

TEST_P(CodeTable, MapsErrorsAndStatuses) {
  const WindowsErrorException exception(GetParam().status, "F(x)");
  EXPECT_EQ(exception.Code(), MakeResultCode(GetParam().expected));
  EXPECT_EQ(exception.systemError, GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(WindowsErrorException, CodeTable,
                         ::testing::Values(CodeCase{"Win32Error", 5, 0x80000045},
                                           CodeCase{"HresultOfAWin32Error", 0x80070005, 0x80000045},
                                           CodeCase{"NtStatus", 0xC0000022, 0x80000045},
                                           CodeCase{"TimeOut", 258, 0x80000221},
                                           CodeCase{"OtherHresult", 0x800B0100, 0x80010100},
                                           CodeCase{"ErrorWithoutACode", 1000, 0x800703E8}),
                         [](const auto& test) { return test.param.name; });

TEST(WindowsErrorException, NameIsThatOfItsBase) {
  const WindowsErrorException exception(5, "F(x)");
  EXPECT_STREQ(exception.what(), "ResultCodeException");
}

TEST(WindowsErrorException, DescriptionIsThatOfItsBase) {
  const WindowsErrorException exception(kWithoutText, "F(x)");
  EXPECT_EQ(exception.GetDescription().view(),
            u"System error: 0x2000beef. . Expression: 'F(x)': 0x00000000 (No error)");
}

TEST(WindowsErrorException, SettersKeepTheTypeForTheThrow) {
  try {
    throw WindowsErrorException(5, "F(x)") << oru::SetFile("a/b") << oru::SetLine(235);
  } catch (const WindowsErrorException& exception) {
    EXPECT_STREQ(exception.File(), "a/b");
    EXPECT_EQ(exception.Line(), 235u);
    EXPECT_EQ(exception.systemError, 5u);
    EXPECT_EQ(exception.Code(), MakeResultCode(0x80000045));
  }
}

TEST(WindowsErrorException, DisplayTextNamesThePosition) {
  const auto exception = WindowsErrorException(kWithoutText, "F(x)")
                         << oru::SetFile("a/b") << oru::SetLine(12);
  EXPECT_EQ(oru::GetDisplayText(exception).view(),
            u"ResultCodeException - System error: 0x2000beef. . Expression: 'F(x)': 0x00000000 (No "
            u"error). At a/b(12) ");
}

TEST(WindowsErrorException, CopyHasTheStatus) {
  const WindowsErrorException exception(0xC0000022, "F(x)");
  const WindowsErrorException copy(exception);
  EXPECT_EQ(copy.systemError, 0xC0000022u);
  EXPECT_EQ(MessageOf(copy), MessageOf(exception));
}

TEST(WindowsErrorException, StatusStandsBehindTheResultCode) {
  const std::vector<std::size_t> offsets = Open(5, "F(x)").Offsets();
#ifdef _WIN32
  EXPECT_EQ(offsets, (std::vector<std::size_t>{52, 56}));
  EXPECT_EQ(sizeof(WindowsErrorException), 60u);
#else
  EXPECT_EQ(offsets[1], offsets[0] + 4);
#endif
}

TEST(WindowsErrorException, RethrowAndCloneKnowTheType) {
  const WindowsErrorException exception(0xC0000022, "F(x)");
  const oru::Exception& base = exception;
  EXPECT_THROW(base.Rethrow(), WindowsErrorException);
  const std::unique_ptr<oru::Exception> clone = base.Clone();
  const auto* const copy = dynamic_cast<const WindowsErrorException*>(clone.get());
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->systemError, 0xC0000022u);
  EXPECT_EQ(copy->Code(), MakeResultCode(0x80000045));
}

TEST(MakeWin32CheckFailure, HasPositionCodeAndText) {
  const oru::CheckResultFailedException exception = MakeWin32CheckFailure("a/b", 17, 5);
  EXPECT_STREQ(exception.File(), "a/b");
  EXPECT_EQ(exception.Line(), 17u);
  EXPECT_EQ(exception.Code(), MakeResultCode(0x80000045));
  EXPECT_EQ(MessageOf(exception), u"system result code: 5");
  EXPECT_STREQ(exception.what(), "CheckResultFailedException");
}

// Numbers that mean something else as a status.
TEST(MakeWin32CheckFailure, TakesTheNumberForAnErrorAndForNoStatus) {
  EXPECT_EQ(MakeWin32CheckFailure("f", 1, 258).Code(), MakeResultCode(0x80070102));
  EXPECT_EQ(MakeWin32CheckFailure("f", 1, 1115).Code(), MakeResultCode(0x8007045B));
  EXPECT_EQ(MakeWin32CheckFailure("f", 1, 0xC0000022).Code(), MakeResultCode(0x80010100));
}

TEST(MakeWin32CheckFailure, ErrorIsAnUnsignedNumber) {
  EXPECT_EQ(MessageOf(MakeWin32CheckFailure("f", 1, 0x80070005)),
            u"system result code: 2147942405");
  EXPECT_EQ(MessageOf(MakeWin32CheckFailure("f", 1, 0)), u"system result code: 0");
}

TEST(MakeWin32CheckFailure, WhatIsAppendedFollowsDirectly) {
  try {
    throw MakeWin32CheckFailure("f", 1, 1018) << u"[a] " << u"value = b";
  } catch (const oru::CheckResultFailedException& exception) {
    EXPECT_EQ(MessageOf(exception), u"system result code: 1018[a] value = b");
  }
}

}  // namespace
