#include "standalone_tracer_lib/tracer_holder.h"

#include <gtest/gtest.h>

#include <string>

#include "oru/rtl/object_ptr.h"
#include "oru/rtl/result_code.h"
#include "oru/rtl/trace.h"
#include "oru/rtl/tracer.h"
#include "standalone_tracer_lib/empty_tracer.h"
#include "standalone_tracer_lib/file_tracer.h"
#include "tests/standalone_tracer_lib/trace_file.h"
#include "tests/support/directory_tree.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/temporary_folder.h"
#include "winapi/modules.h"

namespace standalone::trace {
namespace {

using tests::ExpectedFile;
using tests::MaskTimes;
using tests::PathIn;
using tests::ReadAll;

constexpr TraceSettings kSettings{.enabled = true, .maxLevel = 700};

void InstallFile(const oru::String16& path) {
  TracerHolder::Instance().Install(CreateFileTracer(path, "x", kSettings));
}
// Lets go of a tracer that doesn't outlive the test.
void InstallEmpty() { TracerHolder::Instance().Install(CreateEmptyTracer()); }

TEST(TracerHolderTest, StartsWithATracerThatWritesNothing) {
  oru::ITracer* const tracer = ::GetTracer();
  ASSERT_NE(tracer, nullptr);
  EXPECT_EQ(tracer->ReserveRecord(0, nullptr, 0), oru::MakeResultCode(0x80000043));
}

TEST(TracerHolderTest, GetTracerGivesItsPointerAndAddsNoReference) {
  oru::ITracer* const tracer = ::GetTracer();
  EXPECT_EQ(::GetTracer(), tracer);
  EXPECT_EQ(TracerHolder::Instance().Get(), tracer);
  EXPECT_EQ(tracer->AddRef(), 2u);
  EXPECT_EQ(tracer->Release(), 1u);
}

TEST(TracerHolderTest, RefusedStatementEvaluatesNothing) {
  int evaluated = 0;
  ORU_TRACE(0, "x" << static_cast<std::uint32_t>(++evaluated));
  EXPECT_EQ(evaluated, 0);
}

TEST(TracerHolderTest, InstallTakesOverAndReleasesTheOldOne) {
  tests::RecordingTracer first;
  tests::RecordingTracer second;
  TracerHolder::Instance().Install(oru::ObjectPtr<oru::ITracer>::Share(&first));
  EXPECT_EQ(first.references, 1u);
  EXPECT_EQ(::GetTracer(), &first);
  TracerHolder::Instance().Install(oru::ObjectPtr<oru::ITracer>::Share(&second));
  EXPECT_EQ(first.references, 0u);
  EXPECT_EQ(second.references, 1u);
  EXPECT_EQ(::GetTracer(), &second);
  InstallEmpty();
  EXPECT_EQ(second.references, 0u);
}

TEST(TracerHolderTest, StatementsGoToTheInstalledTracer) {
  const tests::TemporaryFolder folder;
  InstallFile(PathIn(folder, u"t.log"));
  int evaluated = 0;
  ORU_TRACE(700, "number " << static_cast<std::uint32_t>(++evaluated));
  ORU_TRACE(800, "number " << static_cast<std::uint32_t>(++evaluated));
  ORU_TRACE(300, oru::ResultCodeText{0} << u"\u00E4");
  EXPECT_EQ(evaluated, 1);
  InstallEmpty();
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "t.log")),
            ExpectedFile("x", {"INF\tnumber 1", "ERR\t0x00000000\xC3\xA4"}));
}

TEST(TracerHolderTest, ScopeEndsWhereItBegan) {
  const tests::TemporaryFolder folder;
  InstallFile(PathIn(folder, u"first.log"));
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"zs_util\t[main] ");
    InstallFile(PathIn(folder, u"second.log"));
    ORU_TRACE(700, "between");
    EXPECT_EQ(ReadAll(folder.Path() / "first.log"), "") << "the scope holds its tracer";
  }
  InstallEmpty();
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "first.log")),
            ExpectedFile("x", {"INF\tzs_util\t[main]  begin", "INF\tzs_util\t[main]  end"}));
  EXPECT_EQ(MaskTimes(ReadAll(folder.Path() / "second.log")), ExpectedFile("x", {"INF\tbetween"}));
}

#ifdef _WIN32
TEST(GetTracerTest, IsExportedUndecorated) {
  const winapi::Module program = winapi::GetModuleHandleW(nullptr);
  const winapi::Procedure found = winapi::GetProcAddress(program, "GetTracer");
  EXPECT_EQ(reinterpret_cast<void*>(found), reinterpret_cast<void*>(&::GetTracer));
}
#endif

}  // namespace
}  // namespace standalone::trace
