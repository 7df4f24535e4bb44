#include "standalone_tracer_lib/file_tracer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "oru/rtl/object_ptr.h"
#include "oru/rtl/result_code.h"
#include "oru/rtl/tracer.h"
#include "tests/standalone_tracer_lib/trace_file.h"
#include "tests/support/current_directory.h"
#include "tests/support/directory_tree.h"
#include "tests/support/temporary_folder.h"

namespace standalone::trace {
namespace {

using tests::ExpectedFile;
using tests::MaskTimes;
using tests::PathIn;
using tests::ReadAll;

constexpr TraceSettings kSettings{.enabled = true, .maxLevel = 700};
using Tracer = oru::ObjectPtr<oru::ITracer>;

void Trace(const Tracer& tracer, std::uint32_t level, const std::string& text) {
  char* area = nullptr;
  const auto size = static_cast<std::uint32_t>(text.size());
  if (tracer->ReserveRecord(level, &area, size) != oru::sOk) return;
  std::memcpy(area, text.data(), text.size());
  EXPECT_EQ(tracer->CommitRecord(area, size), oru::sOk);
}

bool WritesNothing(const Tracer& tracer) {
  return tracer && tracer->ReserveRecord(0, nullptr, 0) == oru::MakeResultCode(0x80000043);
}

TEST(TraceSettingsTest, AreOffUnlessSet) {
  const TraceSettings settings;
  EXPECT_FALSE(settings.enabled);
  EXPECT_EQ(settings.maxLevel, 0u);
}

TEST(CreateFileTracerTest, WritesTheWholeFile) {
  const tests::TemporaryFolder folder;
  {
    const Tracer tracer =
        CreateFileTracer(PathIn(folder, u"t.log"), "Command line: tool /unblock", kSettings);
    Trace(tracer, 700, "zs_util\t[main]  begin");
    Trace(tracer, 300, "setup\t[x] failed");
    Trace(tracer, 700, "");
  }
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "t.log")),
            ExpectedFile("Command line: tool /unblock",
                         {"INF\tzs_util\t[main]  begin", "ERR\tsetup\t[x] failed", "INF\t"}));
}

TEST(CreateFileTracerTest, FileWithoutRecordsHasHeaderAndFooter) {
  const tests::TemporaryFolder folder;
  (void)CreateFileTracer(PathIn(folder, u"t.log"), "", kSettings);
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "t.log")), ExpectedFile("", {}));
}

TEST(CreateFileTracerTest, RecordAboveTheMaximumLeavesNoLine) {
  const tests::TemporaryFolder folder;
  {
    const Tracer tracer = CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings);
    Trace(tracer, 800, "no");
    Trace(tracer, 701, "no");
    Trace(tracer, 700, "yes");
    Trace(tracer, 0, "yes");
  }
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "t.log")),
            ExpectedFile("x", {"INF\tyes", "NON\tyes"}));
}

TEST(CreateFileTracerTest, UnknownLevelPassesBelowTheMaximum) {
  const tests::TemporaryFolder folder;
  {
    const Tracer tracer =
        CreateFileTracer(PathIn(folder, u"t.log"), "x", {.enabled = true, .maxLevel = 1000});
    Trace(tracer, 750, "unknown");
    Trace(tracer, 1000, "any");
    Trace(tracer, 1001, "above");
  }
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "t.log")),
            ExpectedFile("x", {"???\tunknown", "ANY\tany"}));
}

TEST(CreateFileTracerTest, TextGoesInByteByByte) {
  const tests::TemporaryFolder folder;
  const std::string text("\xC3\xA4 \x80\xFF\ttab\r\nline\nend\r \0zero \x1A", 28);
  {
    const Tracer tracer = CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings);
    Trace(tracer, 700, text);
  }
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "t.log")), ExpectedFile("x", {"INF\t" + text}));
}

TEST(CreateFileTracerTest, LongRecordIsWhole) {
  const tests::TemporaryFolder folder;
  const std::string text(1'000'000, 'x');
  {
    const Tracer tracer = CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings);
    Trace(tracer, 700, text);
    Trace(tracer, 700, "behind");
  }
  const std::string bytes = ReadAll(folder.Path() / "t.log");
  EXPECT_NE(bytes.find("\tINF\t" + text + "\r\n"), std::string::npos);
  EXPECT_NE(bytes.find("\tINF\tbehind\r\nEnd of trace file"), std::string::npos);
}

TEST(CreateFileTracerTest, TruncatesAnExistingFile) {
  const tests::TemporaryFolder folder;
  std::ofstream(folder.Path() / "t.log") << std::string(100'000, 'o');
  (void)CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings);
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "t.log")), ExpectedFile("x", {}));
}

TEST(CreateFileTracerTest, SecondTracerOnOnePathTruncatesTheFirstOnesFile) {
  const tests::TemporaryFolder folder;
  const oru::String16 path = PathIn(folder, u"t.log");
  Tracer first = CreateFileTracer(path, "first", kSettings);
  first = {};
  const Tracer second = CreateFileTracer(path, "second", kSettings);
  EXPECT_FALSE(WritesNothing(second));
  EXPECT_EQ(ReadAll(folder.Path() / "t.log"), "");  // its header lies in the stream's buffer
}

TEST(CreateFileTracerTest, OthersMayReadAndWriteMeanwhile) {
  const tests::TemporaryFolder folder;
  const auto file = folder.Path() / "t.log";
  const Tracer tracer = CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings);
  for (int i = 0; i < 1000; ++i) Trace(tracer, 700, std::string(100, 'x'));

  std::ifstream reader(file, std::ios::binary);
  EXPECT_TRUE(reader.is_open());
  std::string line;
  EXPECT_TRUE(std::getline(reader, line));
  EXPECT_EQ(line.substr(0, 15), "TVX TRACE FILE\t");
  std::fstream both(file, std::ios::binary | std::ios::in | std::ios::out);
  EXPECT_TRUE(both.is_open());
  both.put('t').flush();
  EXPECT_TRUE(both.good());
}

TEST(CreateFileTracerTest, FileIsCompleteWhenTheLastReferenceGoes) {
  const tests::TemporaryFolder folder;
  Tracer tracer = CreateFileTracer(PathIn(folder, u"t.log"), "x", kSettings);
  Tracer other = tracer;
  EXPECT_EQ(other->AddRef(), 3u);
  EXPECT_EQ(other->Release(), 2u);
  tracer = {};
  EXPECT_EQ(ReadAll(folder.Path() / "t.log"), "");
  Trace(other, 700, "late");
  other = {};
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "t.log")), ExpectedFile("x", {"INF\tlate"}));
}

TEST(CreateFileTracerTest, MissingDirectoryGivesATracerThatWritesNothing) {
  const tests::TemporaryFolder folder;
  const Tracer tracer = CreateFileTracer(PathIn(folder, u"missing\\t.log"), "x", kSettings);
  EXPECT_TRUE(WritesNothing(tracer));
  EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(CreateFileTracerTest, PathThatIsADirectoryGivesATracerThatWritesNothing) {
  const tests::TemporaryFolder folder;
  std::filesystem::create_directory(folder.Path() / "taken");
  EXPECT_TRUE(WritesNothing(CreateFileTracer(PathIn(folder, u"taken"), "x", kSettings)));
  EXPECT_TRUE(WritesNothing(CreateFileTracer(u"", "x", kSettings)));
}

TEST(CreateFileTracerTest, FileInPlaceOfTheDirectoryGivesATracerThatWritesNothing) {
  const tests::TemporaryFolder folder;
  std::ofstream(folder.Path() / "taken") << "kept";
  EXPECT_TRUE(WritesNothing(CreateFileTracer(PathIn(folder, u"taken\\t.log"), "x", kSettings)));
  EXPECT_EQ(ReadAll(folder.Path() / "taken"), "kept");
}

TEST(CreateFileTracerTest, DisabledGivesATracerThatWritesNothingAndNoFile) {
  const tests::TemporaryFolder folder;
  const TraceSettings off{.enabled = false, .maxLevel = 1000};
  EXPECT_TRUE(WritesNothing(CreateFileTracer(PathIn(folder, u"t.log"), "x", off)));
  EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(CreateFileTracerTest, RelativePathCountsFromTheCurrentDirectory) {
  const tests::TemporaryFolder folder;
  std::filesystem::create_directory(folder.Path() / "sub");
  {
    const tests::CurrentDirectory inFolder(folder.Path());
    (void)CreateFileTracer(u"sub\\t.log", "x", kSettings);
    (void)CreateFileTracer(u"plain.log", "x", kSettings);
  }
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "sub" / "t.log")), ExpectedFile("x", {}));
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "plain.log")), ExpectedFile("x", {}));
}

TEST(CreateFileTracerTest, PathIsSixteenBitText) {
  const tests::TemporaryFolder folder;
  (void)CreateFileTracer(PathIn(folder, u"\u00E4\u0416\u6F22.log"), "x", kSettings);
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / std::filesystem::path(u"\u00E4\u0416\u6F22.log"))),
            ExpectedFile("x", {}));
}

}  // namespace
}  // namespace standalone::trace
