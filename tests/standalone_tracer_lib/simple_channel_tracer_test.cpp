#include "standalone_tracer_lib/simple_channel_tracer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "oru/rtl/alloc_std.h"
#include "oru/rtl/object_impl.h"
#include "oru/rtl/object_ptr.h"
#include "oru/rtl/result_code.h"
#include "oru/rtl/trace_inserters.h"
#include "oru/rtl/tracer.h"
#include "oru/system/datetime/datetime.h"
#include "tests/standalone_tracer_lib/recording_channel.h"
#include "tests/support/checks.h"
#include "winapi/errors.h"
#include "winapi/process.h"
#include "winapi/time.h"

namespace standalone::trace::detail {
namespace {

using tests::RecordingChannel;

constexpr oru::ResultCode kLevelOk = oru::MakeResultCode(0x80000079);
constexpr oru::ResultCode kLevelProhibited = oru::MakeResultCode(0x8000007A);
constexpr oru::ResultCode kNotMatched = oru::MakeResultCode(0x8000004A);
constexpr oru::ResultCode kOutOfMemory = oru::MakeResultCode(0x80000041);
constexpr oru::ResultCode kInvalidArgument = oru::MakeResultCode(0x80000046);

// A tracer at `maximum` and the channel that it writes to.
struct Fixture {
  explicit Fixture(std::uint32_t maximum = 700)
      : channel(oru::CreateObject<RecordingChannel>()),
        tracer(oru::CreateObject<SimpleChannelTracer>(channel.Get(), maximum)) {}

  char* Open(std::uint32_t level, std::uint32_t size = 512) const {
    char* text = nullptr;
    EXPECT_EQ(tracer->ReserveRecord(level, &text, size), oru::sOk);
    EXPECT_NE(text, nullptr);
    return text;
  }
  // Writes a record by the stream, as a statement does; false when it doesn't open.
  template <typename Insert>
  bool Trace(std::uint32_t level, Insert insert) const {
    oru::RecordHandle handle;
    if (!handle.Open(tracer.Get(), level)) return false;
    oru::TraceStream stream(handle);
    insert(stream);
    stream.Commit();
    return true;
  }
  [[nodiscard]] const std::vector<RecordingChannel::Written>& Written() const {
    return channel->written;
  }

  oru::ObjectPtr<RecordingChannel> channel;
  oru::ObjectPtr<SimpleChannelTracer> tracer;
};

TEST(SimpleChannelTracerTest, ProbeComparesWithTheMaximum) {
  struct Case {
    std::uint32_t maximum, level;
    oru::ResultCode expected;
  };
  const Case cases[] = {
      {700, 0, kLevelOk},           {700, 700, kLevelOk},   {700, 701, kLevelProhibited},
      {700, 800, kLevelProhibited}, {0, 0, kLevelOk},       {0, 1, kLevelProhibited},
      {1000, 750, kLevelOk},        {1000, 1000, kLevelOk}, {0xFFFFFFFF, 0xFFFFFFFF, kLevelOk},
  };
  for (const Case& row : cases) {
    const Fixture fixture(row.maximum);
    EXPECT_EQ(fixture.tracer->ReserveRecord(row.level, nullptr, 0), row.expected)
        << row.maximum << " " << row.level;
  }
}

TEST(SimpleChannelTracerTest, OpensTheLevelsUpToTheMaximum) {
  for (std::uint32_t level = 0; level <= 700; level += 100) {
    const Fixture fixture;
    EXPECT_TRUE(fixture.Trace(level, [](oru::TraceStream&) {})) << level;
    EXPECT_EQ(fixture.Written().size(), 1u) << level;
  }
}

TEST(SimpleChannelTracerTest, RefusesTheLevelsAboveTheMaximum) {
  const Fixture fixture;
  for (const std::uint32_t level : {800u, 900u, 1000u}) {
    char* text = nullptr;
    EXPECT_EQ(fixture.tracer->ReserveRecord(level, &text, 512), kNotMatched) << level;
    EXPECT_EQ(text, nullptr) << level;
  }
  EXPECT_TRUE(fixture.Written().empty());
}

TEST(SimpleChannelTracerTest, OpensAnAreaOfZeros) {
  const Fixture fixture;
  for (const std::uint32_t size : {0u, 1u, 512u, 100000u}) {
    // A block that was used before is the one that comes back.
    char* text = fixture.Open(700, size);
    std::memset(text, 'x', size);
    (void)fixture.tracer->CommitRecord(text, size);
    text = fixture.Open(700, size);
    EXPECT_EQ(std::string(text, size), std::string(size, '\0')) << size;
    (void)fixture.tracer->CommitRecord(text, size);
  }
}

TEST(SimpleChannelTracerTest, GrowthKeepsTextAndLevel) {
  const Fixture fixture;
  char* text = fixture.Open(300, 8);
  std::memcpy(text, "abcdefgh", 8);
  for (const std::uint32_t size : {512u, 4096u, 1000000u}) {
    // The level of a growth isn't looked at: 1000 is above the maximum.
    ASSERT_EQ(fixture.tracer->ReserveRecord(1000, &text, size), oru::sOk);
    EXPECT_EQ(std::string(text, 8), "abcdefgh") << size;
    text[size - 1] = 'z';
  }
  ASSERT_EQ(fixture.tracer->CommitRecord(text, 8), oru::sOk);
  ASSERT_EQ(fixture.Written().size(), 1u);
  EXPECT_EQ(fixture.Written()[0].text, "abcdefgh");
  EXPECT_EQ(fixture.Written()[0].record.level, 300u);
}

TEST(SimpleChannelTracerTest, SizeThatNeedsMoreThan32BitsIsOutOfMemory) {
  const Fixture fixture;
  for (const std::uint32_t size : {0xFFFFFFFCu, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    char* text = nullptr;
    EXPECT_EQ(fixture.tracer->ReserveRecord(700, &text, size), kOutOfMemory) << size;
    EXPECT_EQ(text, nullptr) << size;
    text = fixture.Open(700);
    char* const before = text;
    EXPECT_EQ(fixture.tracer->ReserveRecord(700, &text, size), kOutOfMemory) << size;
    EXPECT_EQ(text, before) << size;
    EXPECT_EQ(fixture.tracer->CommitRecord(text, 0), oru::sOk);
  }
}

TEST(SimpleChannelTracerTest, CommitOfNullIsAnInvalidArgument) {
  const Fixture fixture;
  EXPECT_EQ(fixture.tracer->CommitRecord(nullptr, 0), kInvalidArgument);
  EXPECT_EQ(fixture.tracer->CommitRecord(nullptr, 5), kInvalidArgument);
  EXPECT_TRUE(fixture.Written().empty());
}

TEST(SimpleChannelTracerTest, RecordHasItsFieldsInBothPlaces) {
  const Fixture fixture;
  char* const text = fixture.Open(500);
  std::memcpy(text, "a\0b", 3);
  ASSERT_EQ(fixture.tracer->CommitRecord(text, 3), oru::sOk);
  ASSERT_EQ(fixture.Written().size(), 1u);
  EXPECT_EQ(fixture.Written()[0].text, std::string("a\0b", 3));
  const oru::tracer::TraceRecord& record = fixture.Written()[0].record;
  EXPECT_EQ(record.textEnd - record.textBegin, 3);
  EXPECT_EQ(record.textBegin2, record.textBegin);
  EXPECT_EQ(record.textEnd2, record.textEnd);
  EXPECT_EQ(record.reservedBegin, nullptr);
  EXPECT_EQ(record.reservedEnd, nullptr);
  EXPECT_EQ(record.reservedBegin2, nullptr);
  EXPECT_EQ(record.reservedEnd2, nullptr);
  EXPECT_EQ(record.reserved, 0u);
  EXPECT_EQ(record.level, 500u);
  EXPECT_EQ(record.threadId, winapi::GetCurrentThreadId());
  EXPECT_EQ(record.processId, winapi::GetCurrentProcessId());
}

TEST(SimpleChannelTracerTest, TimeIsThatOfTheCommit) {
  const Fixture fixture;
  const std::uint64_t opened = oru::datetime::Now().ticks;
  char* const text = fixture.Open(700);
  winapi::Sleep(40);
  const std::uint64_t before = oru::datetime::Now().ticks;
  ASSERT_EQ(fixture.tracer->CommitRecord(text, 0), oru::sOk);
  const std::uint64_t after = oru::datetime::Now().ticks;
  ASSERT_EQ(fixture.Written().size(), 1u);
  const std::uint64_t time = fixture.Written()[0].record.time;
  EXPECT_GT(time, opened);
  EXPECT_GE(time, before);
  EXPECT_LE(time, after);
}

TEST(SimpleChannelTracerTest, IgnoresWhatTheChannelAnswers) {
  const Fixture fixture;
  fixture.channel->answer = [] { return oru::errUnexpected; };
  EXPECT_EQ(fixture.tracer->CommitRecord(fixture.Open(700), 0), oru::sOk);
  EXPECT_EQ(fixture.Written().size(), 1u);
}

TEST(SimpleChannelTracerTest, WhatTheChannelThrowsPasses) {
  const Fixture fixture;
  fixture.channel->answer = []() -> oru::ResultCode { throw std::bad_alloc(); };
  EXPECT_THROW((void)fixture.tracer->CommitRecord(fixture.Open(700), 0), std::bad_alloc);
  fixture.channel->answer = []() -> oru::ResultCode { throw oru::datetime::TimeSystemError(); };
  EXPECT_THROW((void)fixture.tracer->CommitRecord(fixture.Open(700), 0),
               oru::datetime::TimeSystemError);
}

TEST(SimpleChannelTracerTest, LeavesTheLastErrorAlone) {
  const Fixture fixture;
  winapi::SetLastError(1234);
  char* text = nullptr;
  (void)fixture.tracer->ReserveRecord(700, &text, 512);
  EXPECT_EQ(winapi::GetLastError(), 1234u) << "opening";
  (void)fixture.tracer->ReserveRecord(1000, &text, 0xFFFFFFFB);
  EXPECT_EQ(winapi::GetLastError(), 1234u) << "growth";
  (void)fixture.tracer->CommitRecord(text, 0);
  EXPECT_EQ(winapi::GetLastError(), 1234u) << "commit";
  fixture.channel->answer = []() -> oru::ResultCode { throw std::bad_alloc(); };
  EXPECT_THROW((void)fixture.tracer->CommitRecord(fixture.Open(700), 0), std::bad_alloc);
  EXPECT_EQ(winapi::GetLastError(), 1234u) << "commit that throws";
}

TEST(SimpleChannelTracerTest, TextOf512BytesDoesntGrow) {
  const Fixture fixture;
  EXPECT_TRUE(fixture.Trace(700, [](oru::TraceStream& stream) {
    stream << std::string(512, 'x').c_str();
    EXPECT_EQ(stream.Capacity(), 512u);
  }));
  EXPECT_EQ(fixture.Written()[0].text, std::string(512, 'x'));
}

TEST(SimpleChannelTracerTest, TextOf513BytesDoublesTheCapacity) {
  const Fixture fixture;
  EXPECT_TRUE(fixture.Trace(700, [](oru::TraceStream& stream) {
    stream << std::string(512, 'x').c_str() << "y";
    EXPECT_EQ(stream.Capacity(), 1024u);
  }));
  std::string expected(512, 'x');
  expected.push_back('y');
  EXPECT_EQ(fixture.Written()[0].text, expected);
  EXPECT_EQ(fixture.Written()[0].record.level, 700u);
}

TEST(SimpleChannelTracerTest, Text5000BytesLongGives5000AtOnce) {
  const Fixture fixture;
  EXPECT_TRUE(fixture.Trace(700, [](oru::TraceStream& stream) {
    stream << std::string(5000, 'x').c_str();
    EXPECT_EQ(stream.Capacity(), 5000u);
  }));
  EXPECT_EQ(fixture.Written()[0].text, std::string(5000, 'x'));
}

TEST(SimpleChannelTracerTest, HoldsItsChannelAndLetsGoOfIt) {
  auto channel = oru::CreateObject<RecordingChannel>();
  {
    const auto tracer = oru::CreateObject<SimpleChannelTracer>(channel.Get(), 700u);
    EXPECT_EQ(channel->AddRef(), 3u);
    EXPECT_EQ(channel->Release(), 2u);
  }
  EXPECT_EQ(channel->AddRef(), 2u);
  EXPECT_EQ(channel->Release(), 1u);
}

TEST(SimpleChannelTracerTest, EachHasAnAllocatorObjectOfItsOwn) {
  const std::int32_t before = oru::AllocStd::LiveCount();
  {
    const Fixture first;
    EXPECT_EQ(oru::AllocStd::LiveCount(), before + 1);
    {
      const Fixture second;
      EXPECT_EQ(oru::AllocStd::LiveCount(), before + 2);
    }
    EXPECT_EQ(oru::AllocStd::LiveCount(), before + 1);
  }
  EXPECT_EQ(oru::AllocStd::LiveCount(), before);
}

TEST(SimpleChannelTracerTestOwnProcess, MissingChannelIsReportedAtTheCommitToo) {
  const auto tracer = oru::CreateObject<SimpleChannelTracer>(nullptr, 700u);
  EXPECT_EQ(tests::CountReported("m_p"), 1u);
  char* text = nullptr;
  ASSERT_EQ(tracer->ReserveRecord(700, &text, 512), oru::sOk);
  EXPECT_EQ(tracer->CommitRecord(text, 0), oru::sOk);
  EXPECT_EQ(tests::CountReported("m_p"), 2u);  // the second site
}

TEST(SimpleChannelTracerTest, AnswersItsTwoInterfaceNumbers) {
  const Fixture fixture;
  for (const std::uint32_t number : {0u, 0x6EF3329Bu}) {
    void* out = nullptr;
    ASSERT_EQ(fixture.tracer->QueryInterface(number, &out), oru::sOk) << number;
    EXPECT_EQ(out, static_cast<oru::ITracer*>(fixture.tracer.Get())) << number;
    EXPECT_EQ(fixture.tracer->Release(), 1u) << number;
  }
}

TEST(SimpleChannelTracerTest, AnswersNoOtherNumber) {
  const Fixture fixture;
  for (const std::uint32_t number : {1u, 0x029286C5u, 0x9CCA5603u}) {
    void* out = nullptr;
    EXPECT_EQ(fixture.tracer->QueryInterface(number, &out), oru::MakeResultCode(0x80000001))
        << number;
    EXPECT_EQ(out, nullptr) << number;
  }
}

}  // namespace
}  // namespace standalone::trace::detail
