#include "standalone_tracer_lib/file_channel.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "oru/rtl/exception.h"
#include "oru/rtl/object_impl.h"
#include "oru/rtl/object_ptr.h"
#include "oru/rtl/result_code.h"
#include "oru/rtl/tracer.h"
#include "oru/system/datetime/datetime.h"
#include "tests/standalone_tracer_lib/trace_file.h"
#include "tests/support/directory_tree.h"
#include "tests/support/temporary_folder.h"
#include "winapi/process.h"

namespace standalone::trace {
namespace {

using oru::tracer::TraceRecord;
using tests::ExpectedFile;
using tests::MaskTimes;
using tests::PathIn;
using tests::ReadAll;

TraceRecord Record(std::string_view text) {
  TraceRecord record{};
  record.textBegin = text.data();
  record.textEnd = text.data() + text.size();
  record.threadId = winapi::GetCurrentThreadId();
  record.time = oru::datetime::Now().ticks;
  record.level = 700;
  return record;
}

TEST(FileChannelTest, WritesHeaderRecordsAndFooter) {
  const tests::TemporaryFolder folder;
  {
    const auto channel = oru::CreateObject<FileChannel>(PathIn(folder, u"t.log"), "x /y");
    const TraceRecord first = Record("one");
    const TraceRecord second = Record("");
    EXPECT_EQ(channel->WriteRecord(&first), oru::sOk);
    EXPECT_EQ(channel->WriteRecord(&second), oru::sOk);
  }
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "t.log")),
            ExpectedFile("x /y", {"INF\tone", "INF\t"}));
}

TEST(FileChannelTest, HeaderAndFooterHaveTheTimeOfThisMoment) {
  const tests::TemporaryFolder folder;
  const auto times = [] {
    return std::pair(tests::LocalTime("\tTime: %d.%m.%Y %H:%M  "),
                     tests::UtcTime("Time(UTC) : %d.%m.%Y %H:%M  "));
  };
  const auto before = times();
  const std::string footerBefore = tests::LocalTime("time: %d.%m.%Y %H:%M:%S\r\n");
  (void)oru::CreateObject<FileChannel>(PathIn(folder, u"t.log"), "x");
  const auto after = times();
  const std::string footerAfter = tests::LocalTime("time: %d.%m.%Y %H:%M:%S\r\n");

  // The minute or the second may pass on the way.
  const std::string text = ReadAll(folder.Path() / "t.log");
  const auto has = [&](const std::string& part) { return text.find(part) != std::string::npos; };
  EXPECT_TRUE((has(before.first) && has(before.second)) || (has(after.first) && has(after.second)))
      << text;
  EXPECT_TRUE(text.ends_with(footerBefore) || text.ends_with(footerAfter)) << text;
}

TEST(FileChannelTest, FileThatCantBeOpenedThrowsWithAnEmptyMessage) {
  const tests::TemporaryFolder folder;
  std::filesystem::create_directory(folder.Path() / "taken");
  for (const char16_t* const name : {u"missing\\t.log", u"taken", u""}) {
    try {
      (void)oru::CreateObject<FileChannel>(PathIn(folder, name), "x");
      ADD_FAILURE() << "nothing thrown";
    } catch (const oru::CheckFailedException& error) {
      EXPECT_STREQ(error.File(), "zum_setup_util/standalone_tracer_lib/file_channel");
      EXPECT_EQ(error.Line(), 101u);
      EXPECT_TRUE(error.Message().empty());
      EXPECT_EQ(error.Inner(), nullptr);
    }
  }
  EXPECT_FALSE(std::filesystem::exists(folder.Path() / "missing"));
}

TEST(FileChannelTest, RecordThatCantBeComposedThrowsAndLeavesNothing) {
  const tests::TemporaryFolder folder;
  {
    const auto channel = oru::CreateObject<FileChannel>(PathIn(folder, u"t.log"), "x");
    TraceRecord bad = Record("bad");
    bad.time = 0x8000000000000000;
    EXPECT_THROW((void)channel->WriteRecord(&bad), oru::datetime::TimeSystemError);
    const TraceRecord good = Record("good");
    EXPECT_EQ(channel->WriteRecord(&good), oru::sOk);
  }
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "t.log")), ExpectedFile("x", {"INF\tgood"}));
}

TEST(FileChannelTest, AnswersItsTwoInterfaceNumbers) {
  const tests::TemporaryFolder folder;
  const auto channel = oru::CreateObject<FileChannel>(PathIn(folder, u"t.log"), "x");
  for (const std::uint32_t number : {0u, 0x029286C5u}) {
    void* out = nullptr;
    ASSERT_EQ(channel->QueryInterface(number, &out), oru::sOk) << number;
    EXPECT_EQ(out, static_cast<oru::tracer::IChannel*>(channel.Get())) << number;
    EXPECT_EQ(channel->Release(), 1u) << number;
  }
  for (const std::uint32_t number : {1u, 0x6EF3329Bu, 0x9CCA5603u}) {
    void* out = nullptr;
    EXPECT_EQ(channel->QueryInterface(number, &out), oru::MakeResultCode(0x80000001)) << number;
    EXPECT_EQ(out, nullptr) << number;
  }
}

}  // namespace
}  // namespace standalone::trace
