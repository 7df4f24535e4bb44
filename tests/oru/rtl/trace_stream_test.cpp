#include "oru/rtl/trace_stream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "oru/rtl/exception.h"
#include "oru/rtl/exception_text.h"
#include "oru/rtl/trace_inserters.h"
#include "tests/support/checks.h"
#include "tests/support/recording_tracer.h"
#include "winapi/errors.h"

namespace {

using tests::RecordingTracer;
using Call = RecordingTracer::Call;
using Seen = RecordingTracer::Seen;

// A stream over an open record of a tracer of its own.
class Opened {
 public:
  Opened() : stream((m_record.Open(&tracer, 700), m_record)) {}

  // Commits and gives what arrived.
  RecordingTracer::Record Commit() {
    stream.Commit();
    EXPECT_EQ(tracer.OpenAreas(), 0u);
    return tracer.Records().empty() ? RecordingTracer::Record{} : tracer.Records().back();
  }

  RecordingTracer tracer;

 private:
  oru::RecordHandle m_record;

 public:
  oru::TraceStream stream;
};

// The capacities asked for by growths.
std::vector<std::uint32_t> Growths(const RecordingTracer& tracer) {
  std::vector<std::uint32_t> sizes;
  for (const Seen& seen : tracer.Calls()) {
    if (seen.call == Call::kGrow) sizes.push_back(seen.size);
  }
  return sizes;
}

TEST(TraceStream, FlagsHaveTheValuesOfTheHostsLibrary) {
  EXPECT_EQ(oru::TraceStream::kSkipWhiteSpace, 0x001u);
  EXPECT_EQ(oru::TraceStream::kShowBase, 0x008u);
  EXPECT_EQ(oru::TraceStream::kLeft, 0x040u);
  EXPECT_EQ(oru::TraceStream::kRight, 0x080u);
  EXPECT_EQ(oru::TraceStream::kInternal, 0x100u);
  EXPECT_EQ(oru::TraceStream::kAdjustField, 0x1C0u);
  EXPECT_EQ(oru::TraceStream::kDecimal, 0x200u);
  EXPECT_EQ(oru::TraceStream::kOctal, 0x400u);
  EXPECT_EQ(oru::TraceStream::kHexadecimal, 0x800u);
}

TEST(TraceStream, StartsWithTheFormattingStateOfTheHostsLibrary) {
  Opened opened;
  EXPECT_EQ(opened.stream.Capacity(), 512u);
  EXPECT_EQ(opened.stream.Length(), 0u);
  EXPECT_EQ(opened.stream.Flags(), 0x201u);
  EXPECT_EQ(opened.stream.Precision(), 6u);
  // Width 0 and a blank as the fill show in what is inserted.
  opened.stream << "a";
  opened.stream.SetWidth(3);
  opened.stream << "b";
  EXPECT_EQ(opened.Commit().text, "a  b");
}

TEST(TraceStream, CommitsWhatWasWrittenAndNoMore) {
  Opened opened;
  opened.stream << "ab"
                << ""
                << "c";
  EXPECT_EQ(opened.stream.Length(), 3u);
  EXPECT_EQ(opened.Commit(), (RecordingTracer::Record{700, "abc", 512}));
}

TEST(TraceStream, AnEmptyRecordIsCommittedToo) {
  Opened opened;
  EXPECT_EQ(opened.Commit(), (RecordingTracer::Record{700, "", 512}));
  EXPECT_EQ(opened.tracer.Records().size(), 1u);
}

TEST(TraceStream, TakesNothingBehindTheCommit) {
  Opened opened;
  opened.stream << "a";
  opened.stream.Commit();
  opened.stream << "b" << std::string(600, 'c').c_str();
  EXPECT_EQ(opened.stream.Reserve(1), nullptr);
  opened.stream.Commit();
  EXPECT_EQ(opened.tracer.Texts(), (std::vector<std::string>{"a"}));
  EXPECT_EQ(opened.tracer.Calls().size(), 2u);
}

TEST(TraceStream, A512ByteTextDoesntGrow) {
  Opened opened;
  const std::string text(512, 'x');
  opened.stream << text.c_str();
  EXPECT_EQ(opened.Commit(), (RecordingTracer::Record{700, text, 512}));
  EXPECT_TRUE(Growths(opened.tracer).empty());
}

TEST(TraceStream, A513ByteTextGrowsTo1024) {
  Opened opened;
  const std::string text(513, 'x');
  opened.stream << text.c_str();
  EXPECT_EQ(opened.stream.Capacity(), 1024u);
  EXPECT_EQ(opened.Commit(), (RecordingTracer::Record{700, text, 1024}));
  EXPECT_EQ(Growths(opened.tracer), (std::vector<std::uint32_t>{1024}));
}

TEST(TraceStream, OneByteBehind512GrowsTo1024) {
  Opened opened;
  opened.stream << std::string(512, 'x').c_str() << "y";
  std::string expected(512, 'x');
  expected += 'y';
  EXPECT_EQ(opened.Commit(), (RecordingTracer::Record{700, expected, 1024}));
}

TEST(TraceStream, FiveThousandBytesAtOnceGive5000) {
  Opened opened;
  const std::string text(5000, 'x');
  opened.stream << text.c_str();
  EXPECT_EQ(opened.stream.Capacity(), 5000u);
  EXPECT_EQ(opened.Commit(), (RecordingTracer::Record{700, text, 5000}));
  EXPECT_EQ(Growths(opened.tracer), (std::vector<std::uint32_t>{5000}));
}

TEST(TraceStream, GrowsByDoublingUnderManySmallTexts) {
  Opened opened;
  std::string expected;
  for (int i = 0; i < 300; ++i) {
    opened.stream << "0123456789";
    expected += "0123456789";
  }
  EXPECT_EQ(opened.Commit().text, expected);
  EXPECT_EQ(Growths(opened.tracer), (std::vector<std::uint32_t>{1024, 2048, 4096}));
}

TEST(TraceStream, ReserveGivesThePlaceBehindWhatIsThere) {
  Opened opened;
  char* const first = opened.stream.Reserve(3);
  ASSERT_NE(first, nullptr);
  char* const second = opened.stream.Reserve(0);
  EXPECT_EQ(second, first + 3);
  std::copy_n("abc", 3, first);
  EXPECT_EQ(opened.Commit().text, "abc");
}

TEST(TraceStream, ASizeThatWrapsIsRefusedAndChangesNothing) {
  Opened opened;
  opened.stream << "ab";
  EXPECT_EQ(opened.stream.Reserve(0xFFFFFFFE), nullptr);
  EXPECT_EQ(opened.stream.Reserve(0xFFFFFFFF), nullptr);
  EXPECT_TRUE(Growths(opened.tracer).empty());
  opened.stream << "c";
  EXPECT_EQ(opened.Commit().text, "abc");
}

TEST(TraceStream, TheLargestSizeIsAskedForAsItIs) {
  Opened opened;
  opened.stream << "ab";
  opened.tracer.Fail(Call::kGrow, oru::errOutOfMemory);
  EXPECT_EQ(opened.stream.Reserve(0xFFFFFFFD), nullptr);
  EXPECT_EQ(Growths(opened.tracer), (std::vector<std::uint32_t>{0xFFFFFFFF}));
}

TEST(TraceStream, ADoubledCapacityThatWrapsGivesWayToTheNeed) {
  Opened opened;
  // The tracer says yes without growing; nothing is written there.
  opened.tracer.Fail(Call::kGrow, oru::sOk, 2);
  EXPECT_NE(opened.stream.Reserve(0x80000000), nullptr);
  EXPECT_NE(opened.stream.Reserve(1), nullptr);
  EXPECT_EQ(Growths(opened.tracer), (std::vector<std::uint32_t>{0x80000000, 0x80000001}));
  EXPECT_EQ(opened.stream.Capacity(), 0x80000001u);
}

TEST(TraceStream, AFailedGrowthEmptiesTheRecordForGood) {
  Opened opened;
  opened.stream << "lost";
  opened.tracer.Fail(Call::kGrow, oru::errOutOfMemory);
  opened.stream << std::string(600, 'x').c_str();
  EXPECT_EQ(opened.stream.Length(), 0u);
  EXPECT_EQ(opened.stream.Capacity(), 0u);
  // The tracer would grow again by now.
  opened.stream << "more" << u"more" << std::uint32_t{1} << oru::ResultCodeText{0};
  EXPECT_EQ(opened.Commit(), (RecordingTracer::Record{700, "", 512}));
  EXPECT_EQ(Growths(opened.tracer).size(), 1u);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(TraceStream, AGrowthThatThrowsIsAFailedOne) {
  Opened opened;
  opened.stream << "lost";
  opened.tracer.Throw(Call::kGrow, std::runtime_error("grow"));
  opened.stream << std::string(600, 'x').c_str() << "more";
  EXPECT_EQ(opened.Commit(), (RecordingTracer::Record{700, "", 512}));
}

TEST(TraceStream, ASuccessfulGrowthWithoutAnAreaLosesTheRecord) {
  Opened opened;
  char* area = nullptr;
  opened.tracer.Script(Call::kGrow, [&](char** buffer) {
    area = std::exchange(*buffer, nullptr);
    return oru::sOk;
  });
  opened.stream << std::string(600, 'x').c_str() << "more";
  opened.stream.Commit();
  EXPECT_TRUE(opened.tracer.Records().empty());
  EXPECT_EQ(opened.tracer.CommitRecord(area, 0), oru::sOk);
}

TEST(TraceStream, InsertionsLeaveTheLastErrorAlone) {
  Opened opened;
  winapi::SetLastError(1234);
  opened.stream << std::string(600, 'x').c_str() << u"16" << std::uint32_t{7}
                << oru::CheckFailedException("f", 1);
  EXPECT_EQ(winapi::GetLastError(), 1234u);
  opened.stream.Commit();
  EXPECT_EQ(winapi::GetLastError(), 1234u);
}

}  // namespace
