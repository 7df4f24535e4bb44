#include "standalone_tracer_lib/empty_tracer.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "oru/rtl/object_ptr.h"
#include "oru/rtl/result_code.h"
#include "oru/rtl/trace.h"
#include "oru/rtl/trace_stream.h"
#include "oru/rtl/tracer.h"

namespace standalone::trace {
namespace {

constexpr oru::ResultCode kNotImplemented = oru::MakeResultCode(0x80000043);
constexpr oru::ResultCode kNotSupported = oru::MakeResultCode(0x80000001);

TEST(EmptyTracerTest, ProbeIsNotImplementedRatherThanProhibited) {
  const auto tracer = CreateEmptyTracer();
  for (const std::uint32_t level : {0u, 300u, 700u, 1000u}) {
    EXPECT_EQ(tracer->ReserveRecord(level, nullptr, 0), kNotImplemented) << level;
  }
  EXPECT_FALSE(oru::IsTraceLevelAllowed(tracer.Get(), 0));
}

TEST(EmptyTracerTest, OpensNothing) {
  const auto tracer = CreateEmptyTracer();
  char* text = nullptr;
  EXPECT_EQ(tracer->ReserveRecord(0, &text, 512), kNotImplemented);
  EXPECT_EQ(text, nullptr);
  oru::RecordHandle handle;
  EXPECT_FALSE(handle.Open(tracer.Get(), 0));
}

TEST(EmptyTracerTest, GrowsAndCommitsNothing) {
  const auto tracer = CreateEmptyTracer();
  char area[4] = "abc";
  char* text = area;
  EXPECT_EQ(tracer->ReserveRecord(1000, &text, 1024), kNotImplemented);
  EXPECT_EQ(text, area);
  EXPECT_EQ(tracer->CommitRecord(area, 3), kNotImplemented);
  EXPECT_EQ(tracer->CommitRecord(nullptr, 0), kNotImplemented);
  EXPECT_STREQ(area, "abc");
}

TEST(EmptyTracerTest, AnswersItsTwoInterfaceNumbers) {
  const auto tracer = CreateEmptyTracer();
  for (const std::uint32_t number : {0u, 0x6EF3329Bu}) {
    void* out = nullptr;
    ASSERT_EQ(tracer->QueryInterface(number, &out), oru::sOk) << number;
    EXPECT_EQ(out, tracer.Get()) << number;
    EXPECT_EQ(tracer->Release(), 1u) << number;
  }
}

TEST(EmptyTracerTest, AnswersNoOtherNumber) {
  const auto tracer = CreateEmptyTracer();
  for (const std::uint32_t number : {1u, 0x029286C5u, 0x9CCA5603u}) {
    int mark = 0;
    void* out = &mark;
    EXPECT_EQ(tracer->QueryInterface(number, &out), kNotSupported) << number;
    EXPECT_EQ(out, &mark) << number;
  }
  EXPECT_EQ(tracer->AddRef(), 2u);
  EXPECT_EQ(tracer->Release(), 1u);
}

TEST(EmptyTracerTest, EachIsANewOne) {
  const auto first = CreateEmptyTracer();
  const auto second = CreateEmptyTracer();
  EXPECT_NE(first.Get(), second.Get());
}

}  // namespace
}  // namespace standalone::trace
