// The reading loop on values whose size changes between two reads, counted pass by pass.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/util/windows/registry.h"
#include "platform/util/windows/registry_query.h"
#include "tests/platform/util/windows/registry_fixture.h"
#include "tests/support/checks.h"
#include "winapi/host/control.h"

namespace host = winapi::host;
using tests::CountReported;
using tests::ReportedChecks;
using tests::Utf16Bytes;
using windows_helpers::CharacterArray;
using windows_helpers::QueryValueInto;
using windows_helpers::ReadMultiStringValue;
using windows_helpers::ReadStringValue;
using windows_helpers::RegKey;

namespace {

using Reports = std::vector<std::string>;
using Sizes = std::vector<std::uint32_t>;
using QueryAnswers = std::vector<host::QueryAnswer>;

// 234 with a value of that many characters.
host::QueryAnswer TooSmall(std::uint32_t characters) { return {234, 1, characters * 2, {}}; }

host::QueryAnswer Text(const std::u16string& text, std::uint32_t type = 1) {
  const auto data = Utf16Bytes(text, 1);
  return {0, type, static_cast<winapi::Dword>(data.size()), data};
}

class QueryOnHost : public tests::RegistryTest {
 protected:
  QueryOnHost() { Open(m_key); }
  ~QueryOnHost() override {
    host::SetQueryScript({});
    host::ClearFaults();
  }

  // The reads of the value get these answers, one after the other; the last one for ever.
  void Script(QueryAnswers answers) {
    m_answers = std::move(answers);
    host::SetQueryScript([this](std::u16string_view, winapi::Dword size) {
      m_asked.push_back(size / 2);
      EXPECT_EQ(size % 2, 0u);
      return std::optional(m_answers[std::min(m_asked.size(), m_answers.size()) - 1]);
    });
  }

  // The capacities of the reads, in characters.
  [[nodiscard]] const Sizes& Asked() const { return m_asked; }
  [[nodiscard]] const RegKey& Key() const { return m_key; }

 private:
  RegKey m_key;
  QueryAnswers m_answers;
  Sizes m_asked;
};
using QueryOnHostOwnProcess = QueryOnHost;

TEST_F(QueryOnHost, SixtyThreeCharactersTakeOnePass) {
  Set(u"v", 1, Utf16Bytes(std::u16string(63, u'a'), 1));
  host::StartCallLog();
  host::ClearCallLog();
  oru::String16 value;
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_EQ(value.size(), 63u);
  EXPECT_EQ(host::CallsOf("RegQueryValueExW").size(), 1u);
}

TEST_F(QueryOnHost, SixtyFourCharactersTakeTwoPasses) {
  Set(u"v", 1, Utf16Bytes(std::u16string(64, u'a'), 1));
  host::StartCallLog();
  host::ClearCallLog();
  oru::String16 value;
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_EQ(value.size(), 64u);
  const auto calls = host::CallsOf("RegQueryValueExW");
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0].Argument("size"), "128");
  EXPECT_EQ(calls[1].Argument("size"), "130");
}

TEST_F(QueryOnHost, ShortTextNeedsNoBufferOfItsOwn) {
  Set(u"v", 1, Utf16Bytes(u"seven77", 1));
  host::FailCall("HeapAlloc", 1, 0, host::Repeat::kForever);
  oru::String16 value;
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_EQ(value.view(), u"seven77");
}

// The value has 10 characters more at each read.
TEST_F(QueryOnHost, PassesFromTheFifthOnAskForTwiceTheSize) {
  Script({TooSmall(100), TooSmall(110), TooSmall(120), TooSmall(130), TooSmall(140), TooSmall(150),
          TooSmall(310), Text(u"done")});
  oru::String16 value;
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_EQ(value.view(), u"done");
  EXPECT_EQ(Asked(), (Sizes{64, 100, 110, 120, 130, 140, 300, 620}));
  EXPECT_EQ(ReportedChecks(), Reports());
}

TEST_F(QueryOnHost, ArrayFormGrowsByTheSameRule) {
  Script({TooSmall(100), TooSmall(110), TooSmall(120), TooSmall(130), TooSmall(140), TooSmall(150),
          TooSmall(310), Text(u"done", 7)});
  CharacterArray value;
  EXPECT_EQ(QueryValueInto(Key(), u"v", 7, value), 0u);
  EXPECT_EQ(std::u16string(value.begin(), value.end()), std::u16string(u"done\0", 5));
  EXPECT_EQ(value.capacity(), 620u);
  EXPECT_EQ(Asked(), (Sizes{64, 100, 110, 120, 130, 140, 300, 620}));
  EXPECT_EQ(ReportedChecks(), Reports());
}

// A value that is always one character too long: the loop has no end of its own.
TEST_F(QueryOnHostOwnProcess, Pass69IsReportedOnceAndTheLoopGoesOn) {
  QueryAnswers answers(75, TooSmall(65));
  answers.push_back(Text(u"at last"));
  Script(answers);
  oru::String16 value;
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_EQ(value.view(), u"at last");
  EXPECT_EQ(Asked().size(), 76u);
  EXPECT_EQ(CountReported("i < OverallInterationsLimit"), 1u);
}

TEST_F(QueryOnHostOwnProcess, SixtyNinePassesAreNotReported) {
  QueryAnswers answers(68, TooSmall(65));
  answers.push_back(Text(u"just so"));
  Script(answers);
  oru::String16 value;
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_EQ(Asked().size(), 69u);
  EXPECT_EQ(CountReported("i < OverallInterationsLimit"), 0u);
}

TEST_F(QueryOnHostOwnProcess, SeventiethPassIsReported) {
  QueryAnswers answers(69, TooSmall(65));
  answers.push_back(Text(u"one more"));
  Script(answers);
  oru::String16 value;
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_EQ(Asked().size(), 70u);
  EXPECT_EQ(CountReported("i < OverallInterationsLimit"), 1u);
}

TEST_F(QueryOnHostOwnProcess, SizeThatDidNotGrowIsReportedOnce) {
  Script({TooSmall(64), TooSmall(64), Text(u"x")});
  oru::String16 value;
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_EQ(ReportedChecks(), Reports{"newCapacity > capacity"});
}

TEST_F(QueryOnHostOwnProcess, SmallerSizeLeavesTheCapacity) {
  Script({TooSmall(200), TooSmall(10), Text(u"x")});
  oru::String16 value;
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_EQ(Asked(), (Sizes{64, 200, 200}));
}

TEST_F(QueryOnHost, TargetOfSixtyThreeCharactersIsNotReadInto) {
  Script({Text(u"x")});
  oru::String16 value;
  value.reserve(63);
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_EQ(Asked(), Sizes{64});
}

TEST_F(QueryOnHost, TargetOfSixtyFourCharactersIsReadInto) {
  Script({Text(u"x")});
  oru::String16 value;
  value.reserve(64);
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_EQ(Asked(), Sizes{64});
  EXPECT_EQ(value.capacity(), 64u);

  value.reserve(1000);
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_EQ(Asked(), (Sizes{64, 1000}));
}

// At the doubling pass: the string has no place for that many characters, the array asks for all
// its bytes.
TEST_F(QueryOnHost, StringAtTheLargestSizeIsOutOfMemory) {
  Script(
      {TooSmall(65), TooSmall(66), TooSmall(67), TooSmall(68), TooSmall(69), TooSmall(0x3FFFFFFF)});
  oru::String16 value;
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 8u);
  EXPECT_EQ(Asked().size(), 6u);
  EXPECT_EQ(std::u16string(value.c_str()), u"");
}

TEST_F(QueryOnHost, ReserveThatFailsIsOutOfMemory) {
  Script({TooSmall(500)});
  oru::String16 value;
  host::FailCall("HeapAlloc", 1, 0);
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 8u);
  EXPECT_EQ(Asked(), Sizes{64});
}

// A nasty system: it writes into the buffer and then says that the value didn't fit.
class OwnStorage : public QueryOnHost {
 protected:
  OwnStorage() {
    m_value.reserve(100);
    m_storage = m_value.data();
  }

  void ScriptAfterWriting(host::QueryAnswer answer) {
    host::SetQueryScript([this, answer](std::u16string_view, winapi::Dword) {
      if (m_storage == m_value.data()) std::fill_n(m_storage, 100, u'!');
      return std::optional(answer);
    });
  }

  void ExpectEmptyAndTerminated() const {
    EXPECT_EQ(m_value.size(), 0u);
    EXPECT_EQ(m_value.c_str()[0], u'\0');
  }

  oru::String16 m_value;
  char16_t* m_storage;
};

TEST_F(OwnStorage, OtherTypeLeavesItEmptyAndTerminated) {
  ScriptAfterWriting({0, 3, 8, Utf16Bytes(u"data", 0)});
  EXPECT_EQ(ReadStringValue(Key(), u"v", m_value), 1629u);
  ExpectEmptyAndTerminated();
}

TEST_F(OwnStorage, OtherErrorLeavesItEmptyAndTerminated) {
  ScriptAfterWriting({1018, 1, 8, {}});
  EXPECT_EQ(ReadStringValue(Key(), u"v", m_value), 1018u);
  ExpectEmptyAndTerminated();
}

TEST_F(OwnStorage, MoreDataWithoutMemoryLeavesItEmptyAndTerminated) {
  ScriptAfterWriting({234, 1, 400, {}});
  host::FailCall("HeapAlloc", 1, 0);
  EXPECT_EQ(ReadStringValue(Key(), u"v", m_value), 8u);
  ExpectEmptyAndTerminated();
}

TEST_F(OwnStorage, DataThatFillsItGetsATerminatorBehind) {
  const std::u16string text(100, u'x');
  ScriptAfterWriting({0, 1, 200, Utf16Bytes(text, 0)});
  EXPECT_EQ(ReadStringValue(Key(), u"v", m_value), 0u);
  EXPECT_EQ(std::u16string(m_value.c_str()), text);
}

// What can't be is taken for what there was room for.
TEST_F(OwnStorage, SuccessWithAnImpossibleSizeStaysInside) {
  ScriptAfterWriting({0, 1, 4000, {}});
  EXPECT_EQ(ReadStringValue(Key(), u"v", m_value), 0u);
  EXPECT_EQ(m_value.size(), 100u);
}

TEST_F(QueryOnHost, ZeroBytesGiveAnEmptyString) {
  Script({{0, 1, 0, {}}});
  oru::String16 value(u"old");
  EXPECT_EQ(ReadStringValue(Key(), u"v", value), 0u);
  EXPECT_TRUE(value.empty());
}

TEST_F(QueryOnHost, ListThatGrowsIsReadWhole) {
  const std::u16string data = std::u16string(100, u'a') + u'\0' + std::u16string(100, u'b') + u'\0';
  std::vector<std::u16string> values;
  Script({TooSmall(120), TooSmall(203), Text(data, 7)});
  EXPECT_EQ(ReadMultiStringValue(Key(), u"v", values), 0u);
  EXPECT_EQ(values,
            (std::vector<std::u16string>{std::u16string(100, u'a'), std::u16string(100, u'b')}));
  EXPECT_EQ(Asked(), (Sizes{64, 120, 203}));
}

}  // namespace
