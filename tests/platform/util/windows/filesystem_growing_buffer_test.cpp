#include "platform/util/windows/filesystem/growing_buffer.h"
#include "tests/support/result_code.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "winapi/errors.h"

namespace {

using product_platform::filesystem::CallWithGrowingBuffer;
using tests::Code;

// Behind one of these the compiler doesn't see the lengths: it would warn of texts on paths that no
// run takes.
using SystemCall = std::function<winapi::Dword(winapi::Dword size, char16_t* buffer)>;
using Sizes = std::vector<winapi::Dword>;

// Answers so, one call after the other, and fills all of the buffer that it may.
struct ScriptedAnswers {
  Sizes lengths;
  Sizes asked = {};

  winapi::Dword operator()(winapi::Dword size, char16_t* buffer) {
    asked.push_back(size);
    std::fill_n(buffer, size, u'x');
    return lengths.at(asked.size() - 1);
  }
};

TEST(CallWithGrowingBuffer, TextThatFitsTakesOneCallWith260) {
  ScriptedAnswers answers{{3}};
  std::u16string result = u"before";
  EXPECT_EQ(CallWithGrowingBuffer(result, answers), oru::sOk);
  EXPECT_EQ(result, u"xxx");
  EXPECT_EQ(answers.asked, (Sizes{260}));
}

TEST(CallWithGrowingBuffer, LengthOfExactlyTheSizeFits) {
  ScriptedAnswers answers{{260}};
  std::u16string result;
  EXPECT_EQ(CallWithGrowingBuffer(result, answers), oru::sOk);
  EXPECT_EQ(result, std::u16string(260, u'x'));
  EXPECT_EQ(answers.asked, (Sizes{260}));
}

TEST(CallWithGrowingBuffer, LargerLengthIsTheNextSize) {
  ScriptedAnswers answers{{261, 260}};
  std::u16string result;
  EXPECT_EQ(CallWithGrowingBuffer(result, answers), oru::sOk);
  EXPECT_EQ(result, std::u16string(260, u'x'));
  EXPECT_EQ(answers.asked, (Sizes{260, 261}));
}

TEST(CallWithGrowingBuffer, FifthCallMayStillFit) {
  ScriptedAnswers answers{{300, 400, 500, 600, 599}};
  std::u16string result;
  EXPECT_EQ(CallWithGrowingBuffer(result, answers), oru::sOk);
  EXPECT_EQ(result.size(), 599u);
  EXPECT_EQ(answers.asked, (Sizes{260, 300, 400, 500, 600}));
}

TEST(CallWithGrowingBuffer, FiveLargerLengthsEndQuietlyWithNothing) {
  ScriptedAnswers answers{{300, 400, 500, 600, 700}};
  std::u16string result = u"before";
  EXPECT_EQ(CallWithGrowingBuffer(result, answers), oru::sOk);
  EXPECT_EQ(result, u"");
  EXPECT_EQ(answers.asked.size(), 5u);
}

TEST(CallWithGrowingBuffer, LengthOfZeroIsTheLastErrorsFailure) {
  std::u16string result = u"before";
  const oru::ResultCode rc = CallWithGrowingBuffer(result, [](winapi::Dword, char16_t*) {
    winapi::SetLastError(5);
    return winapi::Dword{0};
  });
  EXPECT_EQ(Code(rc), 0x80000045u);
  EXPECT_EQ(result, u"");
}

// Where the function sets no last error, what stands there from before is no success.
TEST(CallWithGrowingBuffer, LengthOfZeroWithoutAnErrorIsAFailureToo) {
  std::u16string result = u"before";
  const oru::ResultCode rc = CallWithGrowingBuffer(result, [](winapi::Dword, char16_t*) {
    winapi::SetLastError(0);
    return winapi::Dword{0};
  });
  EXPECT_EQ(Code(rc), 0x8000004Bu);
  EXPECT_EQ(result, u"");
}

TEST(CallWithGrowingBuffer, FailureAfterGrowingIsAFailureToo) {
  std::u16string result;
  int calls = 0;
  const SystemCall call = [&calls](winapi::Dword, char16_t*) {
    winapi::SetLastError(3);
    return ++calls == 1 ? winapi::Dword{1000} : winapi::Dword{0};
  };
  EXPECT_EQ(Code(CallWithGrowingBuffer(result, call)), 0x80010103u);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(result, u"");
}

}  // namespace
