#include "oru/rtl/exception_guard.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/checks.h"
#include "tests/support/object_stub.h"
#include "tests/support/recording_tracer.h"
#include "winapi/errors.h"

namespace {

using oru::MakeResultCode;
using tests::RecordingTracer;
using Call = RecordingTracer::Call;
using Record = RecordingTracer::Record;

constexpr char kPrefix[] = "setup\t[name] ";
constexpr char kSuccessCheck[] = "result != oru::sOk";
constexpr char kForeignCheck[] = "IgnoreC4127(false)";

// Runs the guard in the handler of what `raise` throws.
template <typename... Arguments>
oru::ResultCode Guarded(const std::function<void()>& raise, Arguments... arguments) {
  try {
    raise();
  } catch (...) {
    return oru::ExceptionGuard(arguments...);
  }
  ADD_FAILURE() << "nothing was thrown";
  return 0;
}

struct DerivedAllocationFailure : std::bad_alloc {
  [[nodiscard]] const char* what() const noexcept override { return "my pool is empty"; }
};
struct SilentAllocationFailure : std::bad_alloc {};
struct WithoutWhat : std::exception {
  [[nodiscard]] const char* what() const noexcept override { return nullptr; }
};
struct NotOfTheStandardBase {};

std::string Prefixed(const char* text) {
  std::string result(kPrefix);
  return result.append(text);
}

struct RaisedRow {
  const char* name;
  std::function<void()> raise;
  std::uint32_t code;
  // Without the prefix; null where there is no record.
  const char* text;
};

const std::vector<RaisedRow>& RaisedRows() {
  static const std::vector<RaisedRow> rows = {
      {"ResultCodeException",
       [] { throw oru::ResultCodeException("f", 1, MakeResultCode(0x80000046), u"Bad path"); },
       0x80000046, "ResultCodeException - Bad path: 0x80000046 (Invalid argument). At f(1) "},
      {"CheckResultFailedException",
       [] { throw oru::CheckResultFailedException("f", 2, MakeResultCode(0xA1780005)); },
       0xA1780005, "CheckResultFailedException - 0xa1780005 (Unknown result code). At f(2) "},
      {"SystemException", [] { throw oru::SystemException("f", 3, MakeResultCode(0x80010102)); },
       0x80010102, "SystemException - 0x80010102 (File not found). At f(3) "},
      {"CreateInstanceException",
       [] { throw oru::CreateInstanceException(0, "f", 4, MakeResultCode(0x80000041)); },
       0x80000041, "CreateInstanceException - 0x80000041 (Out of memory): iid:00000000. At f(4) "},
      {"a success code other than 0", [] { throw oru::ResultCodeException("f", 5, 1); }, 1,
       "ResultCodeException - 0x00000001 (False). At f(5) "},
      {"a code of 0", [] { throw oru::ResultCodeException("f", 6, 0); }, 0x80000040,
       "ResultCodeException - 0x00000000 (No error). At f(6) "},
      {"Exception", [] { throw oru::Exception("f", 7); }, 0x80000072,
       "Unknown exception - . At f(7) "},
      {"CheckFailedException", [] { throw oru::CheckFailedException("f", 8) << u"text"; },
       0x80000072, "CheckFailedException - text. At f(8) "},
      {"std::bad_alloc", [] { throw std::bad_alloc(); }, 0x80000041, "bad allocation"},
      {"std::bad_alloc without a what() of its own", [] { throw SilentAllocationFailure(); },
       0x80000041, "bad allocation"},
      {"std::bad_alloc with a what() of its own", [] { throw DerivedAllocationFailure(); },
       0x80000041, "my pool is empty"},
      {"std::length_error", [] { throw std::length_error("too long"); }, 0x80000041, "too long"},
      {"std::runtime_error", [] { throw std::runtime_error("broken"); }, 0x80000072, "broken"},
      {"std::logic_error, which std::length_error is of", [] { throw std::logic_error("wrong"); },
       0x80000072, "wrong"},
      {"a null what()", [] { throw WithoutWhat(); }, 0x80000072, "(null)"},
      {"int", [] { throw 5; }, 0x80000072, nullptr},
      {"a class without the standard base", [] { throw NotOfTheStandardBase(); }, 0x80000072,
       nullptr},
  };
  return rows;
}

TEST(ExceptionGuardOwnProcess, GivesTheCodeAndTracesByTheTable) {
  for (const RaisedRow& row : RaisedRows()) {
    RecordingTracer tracer;
    EXPECT_EQ(Guarded(row.raise, static_cast<oru::ITracer*>(&tracer), 300u, kPrefix),
              MakeResultCode(row.code))
        << row.name;
    std::vector<Record> expected;
    if (row.text != nullptr) expected.push_back({300, Prefixed(row.text), 512});
    EXPECT_EQ(tracer.Records(), expected) << row.name;
    EXPECT_EQ(tracer.OpenAreas(), 0u) << row.name;
  }
}

TEST(ExceptionGuardOwnProcess, GivesTheSameCodesWithoutATracer) {
  for (const RaisedRow& row : RaisedRows()) {
    EXPECT_EQ(Guarded(row.raise), MakeResultCode(row.code)) << row.name;
  }
}

TEST(ExceptionGuardOwnProcess, GivesTheSameCodesWithANullTracer) {
  for (const RaisedRow& row : RaisedRows()) {
    EXPECT_EQ(Guarded(row.raise, static_cast<oru::ITracer*>(nullptr), 300u, kPrefix),
              MakeResultCode(row.code))
        << row.name;
  }
}

TEST(ExceptionGuardOwnProcess, ReportsACodeOf0) {
  EXPECT_EQ(Guarded([] { throw oru::ResultCodeException("f", 1, 0); }), MakeResultCode(0x80000040));
  EXPECT_EQ(tests::ReportedChecks(), (std::vector<std::string>{kSuccessCheck}));
  EXPECT_EQ(Guarded([] { throw oru::SystemException(); }), MakeResultCode(0x80000040));
  EXPECT_EQ(tests::CountReported(kSuccessCheck), 1u);
}

TEST(ExceptionGuardOwnProcess, ReportsWhatIsntOfTheStandardBase) {
  RecordingTracer tracer;
  EXPECT_EQ(Guarded([] { throw 5; }, static_cast<oru::ITracer*>(&tracer), 300u, kPrefix),
            MakeResultCode(0x80000072));
  EXPECT_EQ(tests::ReportedChecks(), (std::vector<std::string>{kForeignCheck}));
  EXPECT_TRUE(tracer.Calls().empty());
}

TEST(ExceptionGuard, ReportsNothingForTheOthers) {
  for (const RaisedRow& row : RaisedRows()) {
    if (row.text != nullptr && row.code != 0x80000040) (void)Guarded(row.raise);
  }
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(ExceptionGuardOwnProcess, OutsideOfAHandlerThereIsNothingToGuard) {
  RecordingTracer tracer;
  EXPECT_EQ(oru::ExceptionGuard(&tracer, 300u, kPrefix), MakeResultCode(0x80000072));
  EXPECT_EQ(tests::CountReported(kForeignCheck), 1u);
  EXPECT_TRUE(tracer.Calls().empty());
}

TEST(ExceptionGuard, TracesAtTheLevelThatItIsGiven) {
  RecordingTracer tracer;
  for (const std::uint32_t level : {100u, 500u, 700u}) {
    (void)Guarded([] { throw std::bad_alloc(); }, static_cast<oru::ITracer*>(&tracer), level,
                  kPrefix);
  }
  EXPECT_EQ(tracer.Records(), (std::vector<Record>{{100, Prefixed("bad allocation"), 512},
                                                   {500, Prefixed("bad allocation"), 512},
                                                   {700, Prefixed("bad allocation"), 512}}));
}

TEST(ExceptionGuard, TheDriversFormTracesAt300) {
  RecordingTracer tracer;
  EXPECT_EQ(Guarded([] { throw std::bad_alloc(); }, static_cast<oru::ITracer*>(&tracer), kPrefix),
            MakeResultCode(0x80000041));
  EXPECT_EQ(tracer.Records(), (std::vector<Record>{{300, Prefixed("bad allocation"), 512}}));
}

TEST(ExceptionGuard, TracesTheWholeChain) {
  RecordingTracer tracer;
  const auto raise = [] {
    oru::ResultCodeException outer("outer", 1, MakeResultCode(0x80000072));
    outer.SetInner(oru::CheckFailedException("inner", 2) << u"cause");
    throw oru::ResultCodeException(outer);
  };
  (void)Guarded(raise, static_cast<oru::ITracer*>(&tracer), kPrefix);
  EXPECT_EQ(tracer.Records().at(0).text,
            "setup\t[name] ResultCodeException - 0x80000072 (Unknown exception). At outer(1) ;"
            "CheckFailedException - cause. At inner(2) ");
}

TEST(ExceptionGuard, LeavesTheExceptionToItsHandler) {
  try {
    try {
      throw oru::CheckFailedException("f", 1) << u"text";
    } catch (const std::exception&) {
      (void)oru::ExceptionGuard();
      throw;
    }
  } catch (const oru::CheckFailedException& caught) {
    EXPECT_EQ(caught.Message().view(), u"text");
  }
}

TEST(ExceptionGuard, TracesNothingAtARefusedLevel) {
  RecordingTracer tracer(299);
  EXPECT_EQ(
      Guarded([] { throw std::bad_alloc(); }, static_cast<oru::ITracer*>(&tracer), 300u, kPrefix),
      MakeResultCode(0x80000041));
  EXPECT_TRUE(tracer.Records().empty());
}

TEST(ExceptionGuard, ATracerThatThrowsChangesNothing) {
  for (const Call call : {Call::kOpen, Call::kGrow, Call::kCommit}) {
    RecordingTracer tracer;
    tracer.Throw(call, std::runtime_error("tracer"));
    const auto raise = [] {
      throw oru::ResultCodeException("f", 1, MakeResultCode(0x80000046),
                                     oru::String16(std::u16string_view(std::u16string(600, u'x'))));
    };
    EXPECT_EQ(Guarded(raise, static_cast<oru::ITracer*>(&tracer), kPrefix),
              MakeResultCode(0x80000046))
        << static_cast<int>(call);
    EXPECT_EQ(tracer.OpenAreas(), 0u) << static_cast<int>(call);
  }
}

TEST(ExceptionGuardOwnProcess, LeavesTheLastErrorAlone) {
  for (const RaisedRow& row : RaisedRows()) {
    RecordingTracer tracer;
    try {
      row.raise();
    } catch (...) {
      winapi::SetLastError(77);
      (void)oru::ExceptionGuard(&tracer, kPrefix);
      EXPECT_EQ(winapi::GetLastError(), 77u) << row.name;
    }
  }
}

TEST(TraceException, WritesThePrefixAndTheText) {
  RecordingTracer tracer;
  oru::TraceException(&tracer, 500, "p: ", std::runtime_error("what"));
  oru::TraceException(&tracer, 500, nullptr, std::runtime_error("what"));
  oru::TraceException(&tracer, 300, "p: ", oru::CheckFailedException("f", 1));
  oru::TraceException(&tracer, 300, "p: ", std::bad_alloc());
  oru::TraceException(&tracer, 800, "p: ", std::bad_alloc());
  oru::TraceException(nullptr, 300, "p: ", std::bad_alloc());
  EXPECT_EQ(tracer.Records(),
            (std::vector<Record>{{500, "p: what", 512},
                                 {500, "what", 512},
                                 {300, "p: CheckFailedException - . At f(1) ", 512},
                                 {300, "p: bad allocation", 512}}));
}

// Gives its tracer, with a reference, for the tracer's numbers alone.
class TracerLocator final : public tests::ObjectStub<oru::IServiceLocator> {
 public:
  oru::ResultCode GetInterface(oru::InterfaceNumber iid, std::uint32_t classId,
                               void** out) noexcept override {
    winapi::SetLastError(4712);
    interfaceNumber = iid;
    classNumber = classId;
    if (tracer != nullptr) tracer->AddRef();
    *out = tracer;
    return answer;
  }

  oru::ITracer* tracer = nullptr;
  oru::ResultCode answer = oru::sOk;
  std::uint32_t interfaceNumber = 0;
  std::uint32_t classNumber = 1;
};

oru::ResultCode GuardedBy(oru::IServiceLocator* locator, std::uint32_t level = 300) {
  return Guarded([] { throw std::bad_alloc(); }, locator, level,
                 "Exception during object construction: ");
}

TEST(ExceptionGuardLocator, TracesThroughTheTracerThatItGives) {
  RecordingTracer tracer;
  TracerLocator locator;
  locator.tracer = &tracer;
  EXPECT_EQ(GuardedBy(&locator), MakeResultCode(0x80000041));
  EXPECT_EQ(tracer.Texts(),
            (std::vector<std::string>{"Exception during object construction: bad allocation"}));
  EXPECT_EQ(locator.interfaceNumber, 0x6EF3329Bu);
  EXPECT_EQ(locator.classNumber, 0u);
  EXPECT_EQ(tracer.references, 0u);
}

TEST(ExceptionGuardLocator, TracesAtTheLevelThatItIsGiven) {
  RecordingTracer tracer;
  TracerLocator locator;
  locator.tracer = &tracer;
  for (const std::uint32_t level : {300u, 500u}) (void)GuardedBy(&locator, level);
  ASSERT_EQ(tracer.Records().size(), 2u);
  EXPECT_EQ(tracer.Records()[0].level, 300u);
  EXPECT_EQ(tracer.Records()[1].level, 500u);
}

TEST(ExceptionGuardLocator, DoesWithoutATraceWhenItIsNull) {
  EXPECT_EQ(GuardedBy(nullptr), MakeResultCode(0x80000041));
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(ExceptionGuardLocator, DoesWithoutATraceWhenTheLookUpFails) {
  TracerLocator locator;
  locator.answer = oru::errNotSupportedInterface;
  EXPECT_EQ(GuardedBy(&locator), MakeResultCode(0x80000041));
}

TEST(ExceptionGuardLocator, DoesWithoutATraceWhenTheLookUpGivesNothing) {
  TracerLocator locator;
  EXPECT_EQ(GuardedBy(&locator), MakeResultCode(0x80000041));
}

TEST(ExceptionGuardLocatorOwnProcess, GivesTheCodesOfTheTable) {
  for (const RaisedRow& row : RaisedRows()) {
    RecordingTracer tracer;
    TracerLocator locator;
    locator.tracer = &tracer;
    EXPECT_EQ(Guarded(row.raise, static_cast<oru::IServiceLocator*>(&locator), 300u, kPrefix),
              MakeResultCode(row.code))
        << row.name;
    EXPECT_EQ(tracer.Records().size(), row.text != nullptr ? 1u : 0u) << row.name;
    EXPECT_EQ(tracer.references, 0u) << row.name;
  }
}

TEST(ExceptionGuardLocator, LeavesTheLastErrorAlone) {
  TracerLocator locator;
  try {
    throw std::bad_alloc();
  } catch (...) {
    winapi::SetLastError(77);
    (void)oru::ExceptionGuard(&locator, 300, "");
    EXPECT_EQ(winapi::GetLastError(), 77u);
  }
}

}  // namespace
