#include "oru/rtl/trace.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "oru/rtl/string_sink.h"
#include "tests/support/object_stub.h"
#include "tests/support/recording_tracer.h"
#include "winapi/errors.h"

namespace {

using tests::RecordingTracer;
using Call = RecordingTracer::Call;
using Seen = RecordingTracer::Seen;
using Texts = std::vector<std::string>;

// The process's tracer of this test.
std::function<oru::ITracer*()>& Source() {
  static std::function<oru::ITracer*()> source = []() -> oru::ITracer* { return nullptr; };
  return source;
}

void Install(oru::ITracer* tracer) {
  Source() = [tracer] { return tracer; };
}

// Refuses everything as a tracer does that is none.
class RefusingTracer final : public tests::ObjectStub<oru::ITracer> {
 public:
  oru::ResultCode ReserveRecord(std::uint32_t, char**, std::uint32_t) override {
    ++calls;
    return oru::MakeResultCode(0x80000043);
  }
  oru::ResultCode CommitRecord(char*, std::uint32_t) override {
    ++calls;
    return oru::MakeResultCode(0x80000043);
  }

  int calls = 0;
};

const char* Counted(int& count) {
  ++count;
  return "counted";
}

const char* Throwing() { throw std::runtime_error("argument"); }

const char* LastError() { return winapi::GetLastError() == 77 ? "77" : "another"; }

}  // namespace

extern "C" oru::ITracer* GetTracer() { return Source()(); }

namespace {

TEST(TraceStatement, WritesItsRecord) {
  RecordingTracer tracer;
  Install(&tracer);
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[name] "
                                      << "path = " << u"c:\\x");
  EXPECT_EQ(tracer.Records(),
            (std::vector<RecordingTracer::Record>{{700, "setup\t[name] path = c:\\x", 512}}));
  EXPECT_EQ(tracer.OpenAreas(), 0u);
}

TEST(TraceStatement, TakesCommasInItsArguments) {
  RecordingTracer tracer;
  Install(&tracer);
  ORU_TRACE(300, oru::Format(std::uint32_t{5}, oru::FormatSpec{.width = 2, .fill = u'0'})
                     << ", end");
  EXPECT_EQ(tracer.Texts(), (Texts{"05, end"}));
}

TEST(TraceStatement, CostsOneCallWhenItIsRefused) {
  RecordingTracer tracer(700);
  Install(&tracer);
  int count = 0;
  ORU_TRACE(800, Counted(count));
  ORU_TRACE(900, Counted(count));
  ORU_TRACE(1000, Counted(count));
  EXPECT_EQ(count, 0);
  EXPECT_EQ(tracer.Calls(),
            (std::vector<Seen>{
                {Call::kOpen, 800, 512}, {Call::kOpen, 900, 512}, {Call::kOpen, 1000, 512}}));
  ORU_TRACE(700, Counted(count));
  EXPECT_EQ(count, 1);
}

TEST(TraceStatement, EvaluatesNothingWithATracerThatIsNone) {
  RefusingTracer tracer;
  Install(&tracer);
  int count = 0;
  ORU_TRACE(0, Counted(count));
  EXPECT_EQ(count, 0);
  EXPECT_EQ(tracer.calls, 1);
  EXPECT_FALSE(oru::IsTraceLevelAllowed(&tracer, 0));
}

TEST(TraceStatement, EvaluatesNothingWithoutATracer) {
  Install(nullptr);
  int count = 0;
  ORU_TRACE(0, Counted(count));
  EXPECT_EQ(count, 0);
}

TEST(TraceStatement, ARecordThatGrowsStaysIntactBelowLevel1000) {
  RecordingTracer tracer(700);
  Install(&tracer);
  const std::string text(600, 'x');
  ORU_TRACE(700, "begin " << text.c_str() << " end");
  std::string expected("begin ");
  expected.append(text).append(" end");
  EXPECT_EQ(tracer.Records(), (std::vector<RecordingTracer::Record>{{700, expected, 1024}}));
}

TEST(TraceStatement, DropsWhatGettingTheTracerThrows) {
  Source() = []() -> oru::ITracer* { throw std::bad_alloc(); };
  int count = 0;
  ORU_TRACE(0, Counted(count));
  EXPECT_EQ(count, 0);
}

TEST(TraceStatement, DropsWhatOpeningThrows) {
  RecordingTracer tracer;
  Install(&tracer);
  tracer.Throw(Call::kOpen, std::runtime_error("open"));
  tracer.Throw(Call::kOpen, 5);
  int count = 0;
  ORU_TRACE(0, Counted(count));
  ORU_TRACE(0, Counted(count));
  EXPECT_EQ(count, 0);
  EXPECT_EQ(tracer.Calls().size(), 2u);
}

TEST(TraceStatement, CommitsWhatItHasWhenAnArgumentThrows) {
  RecordingTracer tracer;
  Install(&tracer);
  ORU_TRACE(0, "before " << Throwing() << " behind");
  EXPECT_EQ(tracer.Texts(), (Texts{"before "}));
  EXPECT_EQ(tracer.OpenAreas(), 0u);
}

TEST(TraceStatement, CommitsAnEmptyRecordWhenGrowingThrows) {
  RecordingTracer tracer;
  Install(&tracer);
  tracer.Throw(Call::kGrow, std::bad_alloc());
  ORU_TRACE(0, "before " << std::string(600, 'x').c_str() << " behind");
  EXPECT_EQ(tracer.Texts(), (Texts{""}));
}

TEST(TraceStatement, DropsWhatCommittingThrows) {
  RecordingTracer tracer;
  Install(&tracer);
  tracer.Throw(Call::kCommit, std::runtime_error("channel"));
  tracer.Throw(Call::kCommit, 5);
  ORU_TRACE(0, "one");
  ORU_TRACE(0, "two");
  ORU_TRACE(0, "three");
  EXPECT_EQ(tracer.Texts(), (Texts{"one", "two", "three"}));
}

TEST(TraceStatement, AFailedCommitChangesNothing) {
  RecordingTracer tracer;
  Install(&tracer);
  tracer.Fail(Call::kCommit, oru::errInvalidArgument);
  ORU_TRACE(0, "one");
  EXPECT_EQ(tracer.Texts(), (Texts{"one"}));
}

TEST(TraceStatement, ArgumentsMayTraceThemselves) {
  RecordingTracer tracer;
  Install(&tracer);
  const auto inner = [] {
    ORU_TRACE(700, "inner");
    return "outer";
  };
  ORU_TRACE(700, inner());
  EXPECT_EQ(tracer.Texts(), (Texts{"inner", "outer"}));
}

TEST(TraceStatement, LeavesTheLastErrorAlone) {
  RecordingTracer tracer(700);
  const auto trace = [](std::uint32_t level, const char* (*argument)()) {
    winapi::SetLastError(77);
    ORU_TRACE(level, std::string(600, 'x').c_str() << argument());
    return winapi::GetLastError();
  };
  Source() = [&]() -> oru::ITracer* {
    winapi::SetLastError(99);
    return &tracer;
  };
  const auto spoil = [] {
    winapi::SetLastError(88);
    return "";
  };
  EXPECT_EQ(trace(700, spoil), 77u);
  EXPECT_EQ(trace(800, spoil), 77u);
  EXPECT_EQ(trace(700, Throwing), 77u);
  tracer.Throw(Call::kOpen, 1);
  EXPECT_EQ(trace(700, spoil), 77u);
  tracer.Throw(Call::kCommit, 1);
  EXPECT_EQ(trace(700, spoil), 77u);
}

TEST(TraceStatement, ItsArgumentsSeeTheLastErrorThatItFound) {
  RecordingTracer tracer;
  Source() = [&]() -> oru::ITracer* {
    winapi::SetLastError(99);
    return &tracer;
  };
  winapi::SetLastError(77);
  ORU_TRACE(700, "error = " << LastError());
  ORU_TRACE(700, std::string(600, 'x').c_str() << LastError());
  std::string longOne(600, 'x');
  longOne.append("77");
  EXPECT_EQ(tracer.Texts(), (Texts{"error = 77", longOne}));
}

TEST(TraceProbe, AsksForTheLevelAlone) {
  RecordingTracer tracer(700);
  EXPECT_TRUE(oru::IsTraceLevelAllowed(&tracer, 700));
  EXPECT_FALSE(oru::IsTraceLevelAllowed(&tracer, 701));
  EXPECT_EQ(tracer.Calls(), (std::vector<Seen>{{Call::kProbe, 700, 0}, {Call::kProbe, 701, 0}}));
}

TEST(TraceProbe, OnlyTheOneCodeAllows) {
  RecordingTracer tracer;
  for (const std::uint32_t code : {0u, 1u, 0x8000007Au, 0x80000043u, 0x8000004Au, 0x79u}) {
    tracer.Fail(Call::kProbe, oru::MakeResultCode(code));
    EXPECT_FALSE(oru::IsTraceLevelAllowed(&tracer, 0)) << code;
  }
  tracer.Fail(Call::kProbe, oru::MakeResultCode(0x80000079));
  EXPECT_TRUE(oru::IsTraceLevelAllowed(&tracer, 4000));
}

TEST(TraceProbe, RefusesWithoutATracerAndWhenItThrows) {
  EXPECT_FALSE(oru::IsTraceLevelAllowed(nullptr, 0));
  RecordingTracer tracer;
  tracer.Throw(Call::kProbe, std::runtime_error("probe"));
  winapi::SetLastError(77);
  EXPECT_FALSE(oru::IsTraceLevelAllowed(&tracer, 0));
  EXPECT_EQ(winapi::GetLastError(), 77u);
}

TEST(TraceScope, WritesBeginAndEndWithTwoBlanks) {
  RecordingTracer tracer;
  Install(&tracer);
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, oru::kTraceLevelInfo, u"zs_util\t[main] ");
    EXPECT_EQ(tracer.Texts(), (Texts{"zs_util\t[main]  begin"}));
    EXPECT_EQ(tracer.references, 1u);
  }
  EXPECT_EQ(tracer.Records(),
            (std::vector<RecordingTracer::Record>{{700, "zs_util\t[main]  begin", 512},
                                                  {700, "zs_util\t[main]  end", 512}}));
  EXPECT_EQ(tracer.references, 0u);
}

TEST(TraceScope, IsSilentWhenItWasNeverStarted) {
  RecordingTracer tracer;
  Install(&tracer);
  { const oru::TraceScope scope; }
  EXPECT_TRUE(tracer.Calls().empty());
}

TEST(TraceScope, IsSilentWhenTheProbeIsRefused) {
  RecordingTracer tracer(699);
  Install(&tracer);
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"name ");
  }
  EXPECT_EQ(tracer.Calls(), (std::vector<Seen>{{Call::kProbe, 700, 0}}));
  RefusingTracer refusing;
  Install(&refusing);
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"name ");
  }
  EXPECT_EQ(refusing.calls, 1);
  EXPECT_EQ(refusing.references, 0u);
  Install(nullptr);
  oru::TraceScope scope;
  ORU_TRACE_SCOPE(scope, 700, u"name ");
}

TEST(TraceScope, ProbesAtTheGivenLevelAndWritesAt700) {
  RecordingTracer tracer(700);
  Install(&tracer);
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 300, u"n");
  }
  EXPECT_EQ(tracer.Calls().at(0), (Seen{Call::kProbe, 300, 0}));
  EXPECT_EQ(tracer.Records().at(0).level, 700u);
  EXPECT_EQ(tracer.Records().at(1).level, 700u);
}

TEST(TraceScope, EndsWhereItBeganAfterAReplacement) {
  RecordingTracer first;
  RecordingTracer second;
  Install(&first);
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"name ");
    Install(&second);
    ORU_TRACE(700, "between");
  }
  EXPECT_EQ(first.Texts(), (Texts{"name  begin", "name  end"}));
  EXPECT_EQ(second.Texts(), (Texts{"between"}));
  EXPECT_EQ(first.references, 0u);
  EXPECT_EQ(second.references, 0u);
}

// Ends with its last reference and says so.
class CountedTracer final : public tests::ObjectStub<oru::ITracer> {
 public:
  explicit CountedTracer(bool* ended) : m_ended(ended) { references = 1; }
  std::uint32_t Release() noexcept override {
    const std::uint32_t left = ObjectStub::Release();
    if (left == 0) {
      *m_ended = true;
      delete this;
    }
    return left;
  }
  oru::ResultCode ReserveRecord(std::uint32_t, char** buffer, std::uint32_t size) override {
    if (buffer == nullptr) return oru::errTraceLevelOk;
    *buffer = new char[size];
    return oru::sOk;
  }
  oru::ResultCode CommitRecord(char* buffer, std::uint32_t) override {
    delete[] buffer;
    return oru::sOk;
  }

 private:
  ~CountedTracer() = default;
  bool* m_ended;
};

TEST(TraceScope, KeepsItsTracerAliveToTheEnd) {
  bool ended = false;
  auto* const tracer = new CountedTracer(&ended);
  Install(tracer);
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"name ");
    Install(nullptr);
    tracer->Release();
    EXPECT_FALSE(ended);
  }
  EXPECT_TRUE(ended);
}

TEST(TraceScope, AnEmptyNameIsAName) {
  RecordingTracer tracer;
  {
    oru::TraceScope scope;
    scope.Start(&tracer, oru::String16());
  }
  EXPECT_EQ(tracer.Texts(), (Texts{" begin", " end"}));
}

TEST(TraceScope, KeepsItsNameAsACopy) {
  RecordingTracer tracer;
  {
    oru::TraceScope scope;
    oru::String16 name(u"a long name that isn't inline ");
    scope.Start(&tracer, name);
    name.clear();
    name << u"other";
  }
  EXPECT_EQ(tracer.Texts(),
            (Texts{"a long name that isn't inline  begin", "a long name that isn't inline  end"}));
}

TEST(TraceScope, ASecondStartEndsTheFirst) {
  RecordingTracer first;
  RecordingTracer second;
  {
    oru::TraceScope scope;
    scope.Start(&first, u"a");
    scope.Start(&second, u"b");
    EXPECT_EQ(first.references, 0u);
  }
  EXPECT_EQ(first.Texts(), (Texts{"a begin", "a end"}));
  EXPECT_EQ(second.Texts(), (Texts{"b begin", "b end"}));
}

TEST(TraceScope, ANullTracerEndsTheFirstAndStartsNothing) {
  RecordingTracer tracer;
  {
    oru::TraceScope scope;
    scope.Start(&tracer, u"a");
    scope.Start(nullptr, u"b");
    EXPECT_EQ(tracer.Texts(), (Texts{"a begin", "a end"}));
    EXPECT_EQ(tracer.references, 0u);
  }
  EXPECT_EQ(tracer.Texts(), (Texts{"a begin", "a end"}));
}

TEST(TraceScope, DropsWhatItsTracerThrows) {
  RecordingTracer tracer;
  Install(&tracer);
  tracer.Throw(Call::kProbe, std::runtime_error("probe"));
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"never ");
  }
  EXPECT_TRUE(tracer.Records().empty());
  tracer.Throw(Call::kCommit, std::runtime_error("begin"));
  tracer.Throw(Call::kCommit, 5);
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"n ");
  }
  EXPECT_EQ(tracer.Texts(), (Texts{"n  begin", "n  end"}));
  tracer.Throw(Call::kOpen, std::runtime_error("open"), 2);
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"n ");
  }
  EXPECT_EQ(tracer.Records().size(), 2u);
  EXPECT_EQ(tracer.references, 0u);
  Source() = []() -> oru::ITracer* { throw std::bad_alloc(); };
  oru::TraceScope scope;
  ORU_TRACE_SCOPE(scope, 700, u"n ");
}

TEST(TraceScope, ARefusedBeginStillEnds) {
  RecordingTracer tracer;
  Install(&tracer);
  tracer.Fail(Call::kOpen, oru::errOutOfMemory);
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"n ");
  }
  EXPECT_EQ(tracer.Texts(), (Texts{"n  end"}));
}

TEST(TraceScope, LeavesTheLastErrorAlone) {
  RecordingTracer tracer;
  Source() = [&]() -> oru::ITracer* {
    winapi::SetLastError(99);
    return &tracer;
  };
  winapi::SetLastError(77);
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"n ");
    EXPECT_EQ(winapi::GetLastError(), 77u);
    winapi::SetLastError(78);
  }
  EXPECT_EQ(winapi::GetLastError(), 78u);
}

TEST(TraceScope, WritesItsEndWhileAnExceptionPasses) {
  RecordingTracer tracer;
  Install(&tracer);
  try {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"n ");
    throw std::runtime_error("stage");
  } catch (const std::runtime_error& caught) {
    EXPECT_STREQ(caught.what(), "stage");
  }
  EXPECT_EQ(tracer.Texts(), (Texts{"n  begin", "n  end"}));
}

}  // namespace
