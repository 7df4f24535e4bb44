// The trace file with a clock and an identity of the test's own, and with things going wrong.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "oru/rtl/object_impl.h"
#include "oru/rtl/object_ptr.h"
#include "oru/rtl/result_code.h"
#include "oru/rtl/trace.h"
#include "oru/rtl/tracer.h"
#include "oru/system/datetime/datetime.h"
#include "standalone_tracer_lib/empty_tracer.h"
#include "standalone_tracer_lib/file_channel.h"
#include "standalone_tracer_lib/file_tracer.h"
#include "standalone_tracer_lib/simple_channel_tracer.h"
#include "standalone_tracer_lib/trace_file_path.h"
#include "standalone_tracer_lib/tracer_holder.h"
#include "tests/oru/system/datetime/time_samples.h"
#include "tests/standalone_tracer_lib/recording_channel.h"
#include "tests/standalone_tracer_lib/trace_file.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/checks.h"
#include "tests/support/directory_tree.h"
#include "tests/support/temporary_folder.h"
#include "winapi/host/control.h"

namespace standalone::trace {
namespace {

namespace host = winapi::host;
using host::Repeat;
using tests::Instant;
using tests::PathIn;
using tests::ReadAll;
using Tracer = oru::ObjectPtr<oru::ITracer>;

constexpr TraceSettings kSettings{.enabled = true, .maxLevel = 700};
constexpr oru::ResultCode kOutOfMemory = oru::MakeResultCode(0x80000041);

constexpr char kHeader[] =
    "TVX TRACE FILE\tTime: 15.11.2026 05:27  PID: 4660(0x1234)\r\n"
    "Command line: x\r\n"
    "Time(UTC) : 15.11.2026 02:27  \r\n"
    "\r\n"
    "\r\n";
constexpr char kFooter[] = "End of trace file, time: 15.11.2026 05:27:41\r\n";

void SetMilliseconds(unsigned millisecond) {
  host::SetClock(Instant(2026, 11, 15, 2, 27, 41, millisecond).ticks);
}

// The world of the example: a zone three hours ahead, a clock that stands, process and thread.
void SetExample() {
  host::SetTimeZoneRule([](unsigned) {
    winapi::TimeZoneInformation zone{};
    zone.Bias = -180;
    return std::optional(zone);
  });
  SetMilliseconds(31);
  host::SetIdentity(4660, 0x1A2C);
}

void Trace(const Tracer& tracer, const std::string& text) {
  char* area = nullptr;
  const auto size = static_cast<std::uint32_t>(text.size());
  ASSERT_EQ(tracer->ReserveRecord(700, &area, size), oru::sOk);
  std::memcpy(area, text.data(), text.size());
  (void)tracer->CommitRecord(area, size);
}

bool WritesNothing(const Tracer& tracer) {
  return tracer && tracer->ReserveRecord(0, nullptr, 0) == oru::MakeResultCode(0x80000043);
}

TEST(TraceFileTest, IsTheExampleByteForByte) {
  const tests::TemporaryFolder folder;
  SetExample();
  TracerHolder& holder = TracerHolder::Instance();
  holder.Install(CreateFileTracer(PathIn(folder, u"t.log"),
                                  "Command line: zum_setup_util.exe --trace-output=C:\\t /unblock",
                                  kSettings));
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"zs_util\t[main] ");
    SetMilliseconds(94);
  }
  SetMilliseconds(95);
  ORU_TRACE(700, "zs_util\t[main] exit with result = " << oru::ResultCodeText{0});
  holder.Install(CreateEmptyTracer());
  EXPECT_EQ(ReadAll(folder.Path() / "t.log"), tests::kExampleFile);
}

TEST(TraceFileTest, PathIsTheExamples) {
  SetExample();
  EXPECT_EQ(MakeTraceFilePath(u"C:\\t", u"all"),
            u"C:\\t\\zum-setup-util-2026-11-15-05-27-41-all.log");
  EXPECT_EQ(MakeTraceFilePath(u"C:\\t\\", u"srv"),
            u"C:\\t\\zum-setup-util-2026-11-15-05-27-41-srv.log");
}

TEST(TraceFileTest, PathsOfOneSecondAreTheSame) {
  SetExample();
  const oru::String16 first = MakeTraceFilePath(u"C:\\t", u"all");
  SetMilliseconds(999);
  EXPECT_EQ(MakeTraceFilePath(u"C:\\t", u"all"), first);
  SetMilliseconds(1000);
  EXPECT_FALSE(MakeTraceFilePath(u"C:\\t", u"all") == first);
}

TEST(TraceFileTest, MidnightShowsByTheHourAlone) {
  const tests::TemporaryFolder folder;
  SetExample();
  {
    const Tracer tracer = CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings);
    host::SetClock(Instant(2026, 11, 15, 20, 59, 59, 999).ticks);
    Trace(tracer, "before");
    host::SetClock(Instant(2026, 11, 15, 21).ticks);
    Trace(tracer, "after");
  }
  EXPECT_EQ(ReadAll(folder.Path() / "t.log"),
            std::string(kHeader) +
                "23:59:59.999\t0x1a2c\tINF\tbefore\r\n"
                "00:00:00.000\t0x1a2c\tINF\tafter\r\n"
                "End of trace file, time: 16.11.2026 00:00:00\r\n");
}

TEST(TraceFileTest, ClockIsReadOncePerPart) {
  const tests::TemporaryFolder folder;
  SetExample();
  host::StartCallLog();
  const auto readings = [] { return host::CallsOf("GetSystemTimeAsFileTime").size(); };
  Tracer tracer = CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings);
  EXPECT_EQ(readings(), 1u) << "header";
  Trace(tracer, "y");
  EXPECT_EQ(readings(), 2u) << "record";
  tracer = {};
  EXPECT_EQ(readings(), 3u) << "footer";
}

TEST(TraceFileTest, RecordsTimeIsThatOfTheCommit) {
  SetExample();
  const auto channel = oru::CreateObject<tests::RecordingChannel>();
  const auto tracer = oru::CreateObject<detail::SimpleChannelTracer>(channel.Get(), 700u);
  char* text = nullptr;
  ASSERT_EQ(tracer->ReserveRecord(700, &text, 512), oru::sOk);
  SetMilliseconds(94);
  ASSERT_EQ(tracer->CommitRecord(text, 0), oru::sOk);
  EXPECT_EQ(channel->written[0].record.time, 134391832610940000u);
  EXPECT_EQ(channel->written[0].record.processId, 4660u);
  EXPECT_EQ(channel->written[0].record.threadId, 0x1A2Cu);
}

// Of the channel itself: the tracer above it doesn't look at the answer.
TEST(TraceFileTest, WriteToAFullDiskIsASuccess) {
  SetExample();
  const auto channel = oru::CreateObject<FileChannel>(u"Z:\\dev\\full", "x");
  const std::string text(4096, 'y');
  oru::tracer::TraceRecord record{};
  record.textBegin = text.data();
  record.textEnd = text.data() + text.size();
  for (int i = 0; i < 100; ++i) EXPECT_EQ(channel->WriteRecord(&record), oru::sOk) << i;
}

TEST(TraceFileTest, RefusedOpeningGivesATracerThatWritesNothing) {
  const tests::TemporaryFolder folder;
  host::FailCall("OpenOutputStream", 1, 5);
  EXPECT_TRUE(WritesNothing(CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings)));
  EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(TraceFileTest, HeaderThatCantBeComposedLeavesAnEmptyFile) {
  const tests::TemporaryFolder folder;
  SetExample();
  for (const std::size_t nth : {1u, 2u, 3u}) {  // the local time's two, and that in UTC
    host::ClearFaults();
    host::FailCall("FileTimeToSystemTime", nth, 87);
    EXPECT_TRUE(WritesNothing(CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings))) << nth;
    EXPECT_EQ(host::InjectedFaultCount(), 1u) << nth;
    EXPECT_EQ(ReadAll(folder.Path() / "t.log"), "") << nth;
  }
}

TEST(TraceFileTest, FooterThatCantBeComposedIsLeftOut) {
  const tests::TemporaryFolder folder;
  SetExample();
  Tracer tracer = CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings);
  Trace(tracer, "y");
  host::FailCall("FileTimeToSystemTime", 1, 87);
  tracer = {};
  EXPECT_EQ(host::InjectedFaultCount(), 1u);
  EXPECT_EQ(ReadAll(folder.Path() / "t.log"),
            std::string(kHeader) + "05:27:41.031\t0x1a2c\tINF\ty\r\n");
}

TEST(TraceFileTest, RecordThatCantBeComposedThrowsAndIsLeftOut) {
  const tests::TemporaryFolder folder;
  SetExample();
  Tracer tracer = CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings);
  host::FailCall("FileTimeToSystemTime", 1, 87);
  EXPECT_THROW(Trace(tracer, "lost"), oru::datetime::TimeSystemError);
  host::ClearFaults();
  Trace(tracer, "y");
  tracer = {};
  EXPECT_EQ(ReadAll(folder.Path() / "t.log"),
            std::string(kHeader) + "05:27:41.031\t0x1a2c\tINF\ty\r\n" + kFooter);
}

TEST(TraceFileTest, StatementDropsARecordThatCantBeComposed) {
  const tests::TemporaryFolder folder;
  SetExample();
  TracerHolder& holder = TracerHolder::Instance();
  holder.Install(CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings));
  host::FailCall("FileTimeToSystemTime", 1, 87);
  ORU_TRACE(700, "lost");
  EXPECT_EQ(host::InjectedFaultCount(), 1u);
  ORU_TRACE(700, "y");
  holder.Install(CreateEmptyTracer());
  EXPECT_EQ(ReadAll(folder.Path() / "t.log"),
            std::string(kHeader) + "05:27:41.031\t0x1a2c\tINF\ty\r\n" + kFooter);
}

TEST(TraceFileTest, ObjectThatCantBeMadeGivesATracerThatWritesNothing) {
  const tests::TemporaryFolder folder;
  const oru::String16 path = PathIn(folder, u"t.log");
  SetExample();
  host::FailCall("HeapAlloc", 1, 8);  // the channel
  EXPECT_TRUE(WritesNothing(CreateFileTracer(path, "x", kSettings)));
  EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
  host::ClearFaults();
  host::FailCall("HeapAlloc", 2, 8);  // the tracer: the channel ends its file
  EXPECT_TRUE(WritesNothing(CreateFileTracer(path, "x", kSettings)));
  EXPECT_EQ(ReadAll(folder.Path() / "t.log"), std::string(kHeader) + kFooter);
}

TEST(TraceFileTest, NoMemoryForAnyTracerThrows) {
  const tests::TemporaryFolder folder;
  const oru::String16 path = PathIn(folder, u"t.log");
  host::FailCall("HeapAlloc", 1, 8, Repeat::kForever);
  EXPECT_THROW((void)CreateFileTracer(path, "x", kSettings), std::bad_alloc);
  EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(TraceFileTestOwnProcess, FirstTracerThatCantBeMadeIsTriedAgain) {
  host::FailCall("HeapAlloc", 1, 8);
  EXPECT_THROW((void)::GetTracer(), std::bad_alloc);
  EXPECT_NE(::GetTracer(), nullptr);
}

TEST(TraceFileTest, EachAllocationOfTheCreationMayFail) {
  const tests::TemporaryFolder folder;
  SetExample();
  const oru::String16 path = PathIn(folder, u"t.log");
  const std::size_t blocks = host::Live().heapBlocks;
  const std::size_t runs = tests::SweepAllocations([&](std::size_t nth) {
    Tracer tracer = CreateFileTracer(path, "x", kSettings);
    const bool faulty = host::AllocationCount() >= nth;
    EXPECT_EQ(WritesNothing(tracer), faulty) << nth;
    tracer = {};
    EXPECT_EQ(host::Live().heapBlocks, blocks) << nth;
  });
  EXPECT_GT(runs, 0u);
}

// One record; true when its line was written.
bool TryRecord(const Tracer& tracer, std::uint32_t size) {
  char* area = nullptr;
  const oru::ResultCode rc = tracer->ReserveRecord(700, &area, size);
  if (rc != oru::sOk) {
    EXPECT_EQ(rc, kOutOfMemory);
    EXPECT_EQ(area, nullptr);
    return false;
  }
  std::memset(area, 'y', size);
  try {
    EXPECT_EQ(tracer->CommitRecord(area, size), oru::sOk);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

TEST(TraceFileTest, EachAllocationOfARecordMayFail) {
  const tests::TemporaryFolder folder;
  SetExample();
  Tracer tracer = CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings);
  std::size_t written = 0;
  const std::size_t runs = tests::SweepAllocations([&](std::size_t) {
    if (TryRecord(tracer, 300)) ++written;
  });
  EXPECT_GE(runs, 2u) << "the record's and at least one of the line's";
  EXPECT_EQ(written, 1u) << "only the run without a fault";
  tracer = {};
  EXPECT_EQ(ReadAll(folder.Path() / "t.log"), std::string(kHeader) + "05:27:41.031\t0x1a2c\tINF\t" +
                                                  std::string(300, 'y') + "\r\n" + kFooter);
}

TEST(TraceFileTest, EachAllocationOfTheFooterMayFail) {
  const tests::TemporaryFolder folder;
  SetExample();
  for (std::size_t nth = 1;; ++nth) {
    Tracer tracer = CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings);
    std::size_t allocations = 0;
    {
      const tests::ScopedAllocationFault fault(nth);
      tracer = {};
      allocations = host::AllocationCount();
    }
    const std::string bytes = ReadAll(folder.Path() / "t.log");
    if (allocations < nth) {
      EXPECT_EQ(bytes, std::string(kHeader) + kFooter);
      EXPECT_GT(nth, 1u) << "no allocation failed";
      return;
    }
    EXPECT_EQ(bytes, kHeader) << nth;
  }
}

// Takes records and keeps nothing of them.
class AnsweringChannel : public oru::inherit_ifaces<oru::tracer::IChannel>,
                         private oru::ObjectModuleAutoLockTyped<AnsweringChannel>,
                         private oru::NonCopyable {
 public:
  oru::ResultCode WriteRecord(const oru::tracer::TraceRecord*) override { return answer(); }

  oru::ResultCode (*answer)() = [] { return oru::sOk; };

 protected:
  ~AnsweringChannel() = default;
};

void CommitOne(detail::SimpleChannelTracer& tracer) {
  char* text = nullptr;
  ASSERT_EQ(tracer.ReserveRecord(700, &text, 512), oru::sOk);
  ASSERT_EQ(tracer.ReserveRecord(700, &text, 5000), oru::sOk);
  try {
    EXPECT_EQ(tracer.CommitRecord(text, 5000), oru::sOk);
  } catch (const std::bad_alloc&) {
    // The channel's.
  }
}

TEST(TraceFileTest, RecordsMemoryIsFreedWhateverTheChannelDoes) {
  using Answer = oru::ResultCode (*)();
  const auto channel = oru::CreateObject<AnsweringChannel>();
  const auto tracer = oru::CreateObject<detail::SimpleChannelTracer>(channel.Get(), 700u);
  CommitOne(*tracer.Get());  // the first one may make what stays
  for (const Answer answer :
       {Answer([] { return oru::sOk; }), Answer([] { return oru::errUnexpected; }),
        Answer([]() -> oru::ResultCode { throw std::bad_alloc(); })}) {
    channel->answer = answer;
    const std::ptrdiff_t blocks = tests::LiveBlocks();
    CommitOne(*tracer.Get());
    EXPECT_EQ(tests::LiveBlocks(), blocks);
  }
}

TEST(TraceFileOwnProcess, RecordsMemoryIsFreedWithoutAChannel) {
  const auto tracer = oru::CreateObject<detail::SimpleChannelTracer>(nullptr, 700u);
  CommitOne(*tracer.Get());  // reports at its first time, which may allocate
  EXPECT_EQ(tests::CountReported("m_p"), 2u);
  const std::ptrdiff_t blocks = tests::LiveBlocks();
  CommitOne(*tracer.Get());
  EXPECT_EQ(tests::LiveBlocks(), blocks);
}

TEST(TraceFileTest, FailedGrowthLeavesTheRecordAlone) {
  const auto channel = oru::CreateObject<tests::RecordingChannel>();
  const auto tracer = oru::CreateObject<detail::SimpleChannelTracer>(channel.Get(), 700u);
  char* text = nullptr;
  ASSERT_EQ(tracer->ReserveRecord(700, &text, 8), oru::sOk);
  std::memcpy(text, "abcdefgh", 8);
  char* const before = text;
  {
    const tests::ScopedAllocationFault fault(1);
    EXPECT_EQ(tracer->ReserveRecord(1000, &text, 100000), kOutOfMemory);
  }
  EXPECT_EQ(text, before);
  ASSERT_EQ(tracer->CommitRecord(text, 8), oru::sOk);
  EXPECT_EQ(channel->written[0].text, "abcdefgh");
}

TEST(TraceFileTest, FailedGrowthOfAStatementCommitsAnEmptyRecord) {
  const tests::TemporaryFolder folder;
  SetExample();
  TracerHolder& holder = TracerHolder::Instance();
  holder.Install(CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings));
  const std::string longText(600, 'y');
  const char* const text = longText.c_str();
  host::FailAllocation(2);  // behind the opening's
  ORU_TRACE(700, "lost" << text << "lost too");
  host::ClearFaults();
  holder.Install(CreateEmptyTracer());
  EXPECT_EQ(ReadAll(folder.Path() / "t.log"),
            std::string(kHeader) + "05:27:41.031\t0x1a2c\tINF\t\r\n" + kFooter);
}

}  // namespace
}  // namespace standalone::trace
