// What exceptions, the guard and the trace do when there is no memory, and what they leave behind.
// Strings take theirs from the process heap, by the seam; copies of exceptions come from operator
// new.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "oru/rtl/exception.h"
#include "oru/rtl/exception_guard.h"
#include "oru/rtl/exception_text.h"
#include "oru/rtl/trace.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/object_stub.h"
#include "tests/support/recording_tracer.h"
#include "winapi/errors.h"
#include "winapi/host/control.h"

namespace host = winapi::host;

namespace {

using oru::MakeResultCode;
using tests::RecordingTracer;

oru::ITracer*& Installed() {
  static oru::ITracer* tracer = nullptr;
  return tracer;
}

}  // namespace

extern "C" oru::ITracer* GetTracer() { return Installed(); }

namespace {

constexpr char16_t kLongText[] = u"a message that is too long for the buffer inside of a string";

// Answers from one area of its own, so that only the product allocates.
class FlatTracer final : public tests::ObjectStub<oru::ITracer> {
 public:
  oru::ResultCode ReserveRecord(std::uint32_t, char** buffer, std::uint32_t size) override {
    if (buffer == nullptr) return oru::errTraceLevelOk;
    if (size > sizeof(area)) return oru::errOutOfMemory;
    *buffer = area;
    return oru::sOk;
  }
  oru::ResultCode CommitRecord(char* buffer, std::uint32_t length) override {
    text = std::string_view(buffer, length);
    ++records;
    return oru::sOk;
  }

  char area[4096];
  std::string_view text;
  int records = 0;
};

// Runs `run` with the first fallible call of the seam failing, then with the second, and so on,
// once and for ever. Gives the number of runs that had a fault.
std::size_t SweepHeap(const std::function<void()>& run) {
  std::size_t faults = 0;
  for (const host::Repeat repeat : {host::Repeat::kOnce, host::Repeat::kForever}) {
    for (std::size_t nth = 1;; ++nth) {
      host::FailCall("HeapAlloc", nth, winapi::kErrorNotEnoughMemory, repeat);
      run();
      const bool reached = host::InjectedFaultCount() != 0;
      host::ClearFaults();
      if (!reached) break;
      ++faults;
    }
  }
  return faults;
}

std::size_t SweepAll(const std::function<void()>& run) {
  return SweepHeap(run) + tests::SweepAllocations([&](std::size_t) { run(); }) +
         tests::SweepAllocations([&](std::size_t) { run(); }, host::Repeat::kForever);
}

std::unique_ptr<oru::Exception> MakeChain(int links) {
  std::unique_ptr<oru::Exception> chain;
  for (; links > 0; --links) {
    auto link = std::make_unique<oru::ResultCodeException>("file", 1, MakeResultCode(0x80000046),
                                                           kLongText);
    link->SetInner(std::move(chain));
    chain = std::move(link);
  }
  return chain;
}

int CountLinks(const oru::Exception& first) {
  int count = 0;
  for (const oru::Exception* link = &first; link != nullptr; link = link->Inner()) {
    if (link->Message().view() == kLongText) ++count;
  }
  return count;
}

// Each must throw std::bad_alloc or do all of its work, and leave the source alone.
void ExpectAllOrNothing(const oru::Exception& source, const std::function<int()>& work) {
  int completed = 0;
  const std::size_t faults = SweepAll([&] {
    try {
      EXPECT_EQ(work(), 3);
      ++completed;
    } catch (const std::bad_alloc&) {
    }
    EXPECT_EQ(CountLinks(source), 3);
  });
  EXPECT_GE(faults, 8u);
  EXPECT_GE(completed, 4);  // the runs without a fault at the end of each sweep
}

TEST(ExceptionFaults, CopyingIsAllOrNothing) {
  const std::unique_ptr<oru::Exception> chain = MakeChain(3);
  ExpectAllOrNothing(*chain, [&] { return CountLinks(oru::Exception(*chain)); });
}

TEST(ExceptionFaults, CloningIsAllOrNothing) {
  const std::unique_ptr<oru::Exception> chain = MakeChain(3);
  ExpectAllOrNothing(*chain, [&] { return CountLinks(*chain->Clone()); });
}

TEST(ExceptionFaults, RethrowingThrowsTheCopyOrOutOfMemory) {
  const std::unique_ptr<oru::Exception> chain = MakeChain(3);
  ExpectAllOrNothing(*chain, [&] {
    int links = 0;
    try {
      chain->Rethrow();
    } catch (const oru::ResultCodeException& caught) {
      links = CountLinks(caught);
    }
    return links;
  });
}

TEST(ExceptionFaults, NamesTakeNoMemory) {
  const oru::CreateInstanceException exception(0, "f", 1, 0);
  host::FailAllocation(1, host::Repeat::kForever);
  host::FailAnyCall(1, winapi::kErrorNotEnoughMemory, host::Repeat::kForever);
  const std::string_view name = exception.what();
  const std::size_t allocations = host::AllocationCount();
  const std::size_t calls = host::FallibleCallCount();
  host::ClearFaults();
  EXPECT_EQ(name, "CreateInstanceException");
  EXPECT_EQ(allocations, 0u);
  EXPECT_EQ(calls, 0u);
}

// What a link shows, whole or replaced.
TEST(ExceptionFaults, EachLinkOfATraceIsWholeOrReplaced) {
  constexpr std::string_view kWhole =
      "ResultCodeException - a message that is too long for the buffer inside of a string: "
      "0x80000046 (Invalid argument). At file(1) ";
  constexpr std::string_view kReplaced = "<Exception display text conversion error>";
  const std::unique_ptr<oru::Exception> chain = MakeChain(2);
  std::vector<std::string> expected;
  for (const std::string_view first : {kWhole, kReplaced}) {
    for (const std::string_view second : {kWhole, kReplaced}) {
      expected.push_back(std::string(first).append(";").append(second));
    }
  }
  std::vector<int> seen(expected.size());
  FlatTracer tracer;
  (void)SweepAll([&] {
    oru::TraceException(&tracer, 300, nullptr, *chain);
    const auto found = std::find(expected.begin(), expected.end(), tracer.text);
    ASSERT_NE(found, expected.end()) << tracer.text;
    ++seen[static_cast<std::size_t>(found - expected.begin())];
  });
  // A fault that stays can't spare the second link once it has hit the first.
  for (std::size_t i = 0; i < seen.size(); ++i) EXPECT_GT(seen[i], 0) << expected[i];
}

TEST(ExceptionFaults, AConversionThatFailsIsShown) {
  // The blocks of the display text itself are counted first: the next one is the conversion's.
  const std::unique_ptr<oru::Exception> chain = MakeChain(1);
  host::StartCallLog();
  host::ClearCallLog();
  (void)oru::GetDisplayText(*chain);
  const std::size_t blocks = host::CallsOf("HeapAlloc").size();
  FlatTracer tracer;
  host::FailCall("HeapAlloc", blocks + 1, winapi::kErrorNotEnoughMemory);
  oru::TraceException(&tracer, 300, "p: ", *chain);
  host::ClearFaults();
  EXPECT_EQ(tracer.text, "p: <Exception display text conversion error>");
}

TEST(ExceptionFaults, TheGuardsCodeStaysAndNothingEscapes) {
  const std::unique_ptr<oru::Exception> chain = MakeChain(2);
  FlatTracer tracer;
  try {
    chain->Rethrow();
  } catch (...) {
    const std::size_t faults = SweepAll(
        [&] { EXPECT_EQ(oru::ExceptionGuard(&tracer, 300, "p "), MakeResultCode(0x80000046)); });
    EXPECT_GE(faults, 4u);
  }
}

TEST(TraceFaults, AStatementIsWholeOrNotThere) {
  FlatTracer tracer;
  Installed() = &tracer;
  // Nothing of it allocates: the text goes straight into the record.
  const std::size_t faults = SweepAll([&] {
    ORU_TRACE(700, "a" << u"b" << std::uint32_t{1} << oru::ResultCodeText{0});
    EXPECT_EQ(tracer.text, "ab10x00000000");
  });
  EXPECT_EQ(faults, 0u);
}

TEST(TraceFaults, ATracerThatRunsOutOfMemoryStopsNothing) {
  int committed = 0;
  const std::size_t faults = SweepAll([&] {
    RecordingTracer tracer;
    Installed() = &tracer;
    ORU_TRACE(700, "a text");
    if (tracer.Records().size() == 1) ++committed;
    Installed() = nullptr;
  });
  EXPECT_GT(faults, 2u);
  EXPECT_GT(committed, 3);
}

TEST(TraceFaults, AScopeWithoutMemoryForItsNameIsSilent) {
  FlatTracer tracer;
  Installed() = &tracer;
  std::size_t silent = 0;
  const std::size_t faults = SweepHeap([&] {
    tracer.records = 0;
    {
      oru::TraceScope scope;
      ORU_TRACE_SCOPE(scope, 700, u"a name that is too long for the buffer of a string ");
    }
    EXPECT_TRUE(tracer.records == 0 || tracer.records == 2) << tracer.records;
    if (tracer.records == 0) ++silent;
    EXPECT_EQ(tracer.references, 0u);
  });
  EXPECT_GT(silent, 0u);
  EXPECT_GE(faults, silent);
}

TEST(TraceFaults, AScopeWithoutATracerTakesNoMemory) {
  const oru::String16 name(u"a name that is too long for the buffer of a string ");
  host::StartCallLog();
  host::ClearCallLog();
  {
    oru::TraceScope scope;
    scope.Start(nullptr, name);
  }
  EXPECT_TRUE(host::CallsOf("HeapAlloc").empty());
}

// Refuses every opening.
class ClosedTracer final : public tests::ObjectStub<oru::ITracer> {
 public:
  oru::ResultCode ReserveRecord(std::uint32_t, char** buffer, std::uint32_t) override {
    return buffer == nullptr ? oru::errTraceLevelProhibited : oru::errNotMatched;
  }
  oru::ResultCode CommitRecord(char*, std::uint32_t) override { return oru::errInvalidArgument; }
};

TEST(TraceFaults, WhatIsRefusedAllocatesNothing) {
  ClosedTracer tracer;
  Installed() = &tracer;
  host::FailAllocation(0);
  host::FailAnyCall(0, 0);
  ORU_TRACE(800, "a" << u"text");
  {
    oru::TraceScope scope;
    ORU_TRACE_SCOPE(scope, 700, u"a name that is too long for the buffer of a string ");
  }
  const std::size_t allocations = host::AllocationCount();
  const std::size_t calls = host::FallibleCallCount();
  EXPECT_EQ(allocations, 0u);
  EXPECT_EQ(calls, 0u);
}

}  // namespace
