#include "oru/rtl/record_handle.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/checks.h"
#include "tests/support/recording_tracer.h"
#include "winapi/errors.h"

namespace {

using oru::RecordHandle;
using tests::RecordingTracer;
using Call = RecordingTracer::Call;
using Seen = RecordingTracer::Seen;

constexpr char kCapacityCheck[] = "newCapacity >= InitialCapacity";

TEST(RecordHandle, IsTwoWords) { EXPECT_EQ(sizeof(RecordHandle), 2 * sizeof(void*)); }

TEST(RecordHandle, StartsClosed) {
  RecordHandle record;
  EXPECT_FALSE(record.IsOpen());
  record.Commit(0);
}

TEST(RecordHandle, ANullTracerOpensNothing) {
  RecordHandle record;
  EXPECT_FALSE(record.Open(nullptr, 0));
  EXPECT_FALSE(record.IsOpen());
}

TEST(RecordHandle, AnOpeningThatFailsLosesTheAreaThatWasOpen) {
  RecordingTracer tracer;
  RecordHandle record;
  ASSERT_TRUE(record.Open(&tracer, 700));
  EXPECT_FALSE(record.Open(nullptr, 700));
  EXPECT_FALSE(record.IsOpen());
  EXPECT_EQ(record.Text(), nullptr);
}

TEST(RecordHandle, OpensAnAreaOf512Bytes) {
  RecordingTracer tracer;
  RecordHandle record;
  EXPECT_TRUE(record.Open(&tracer, 700));
  EXPECT_TRUE(record.IsOpen());
  EXPECT_EQ(tracer.Calls(), (std::vector<Seen>{{Call::kOpen, 700, 512}}));
  record.Commit(0);
}

TEST(RecordHandle, LevelsAboveTheMaximumAreRefused) {
  for (std::uint32_t level = 0; level <= 1000; level += 100) {
    RecordingTracer tracer(700);
    RecordHandle record;
    EXPECT_EQ(record.Open(&tracer, level), level <= 700) << level;
    record.Commit(0);
    EXPECT_EQ(tracer.Records().size(), level <= 700 ? 1u : 0u) << level;
  }
}

TEST(RecordHandle, EveryResultBut0IsARefusal) {
  for (const oru::ResultCode rc :
       {oru::sFalse, oru::errOutOfMemory, oru::errNotImplemented, oru::errTraceLevelOk}) {
    RecordingTracer tracer;
    char area[4];
    tracer.Script(Call::kOpen, [&](char** buffer) {
      *buffer = area;
      return rc;
    });
    RecordHandle record;
    EXPECT_FALSE(record.Open(&tracer, 0)) << rc;
    EXPECT_FALSE(record.IsOpen()) << rc;
    record.Commit(0);
    EXPECT_TRUE(tracer.Records().empty()) << rc;
  }
}

TEST(RecordHandle, ASuccessWithoutAnAreaIsARefusal) {
  RecordingTracer tracer;
  tracer.Fail(Call::kOpen, oru::sOk);
  RecordHandle record;
  EXPECT_FALSE(record.Open(&tracer, 0));
}

TEST(RecordHandle, GrowsWithLevel1000AtAnyMaximum) {
  RecordingTracer tracer(0);
  RecordHandle record;
  ASSERT_TRUE(record.Open(&tracer, 0));
  record.Text()[511] = 'x';
  EXPECT_EQ(record.Grow(600), oru::sOk);
  EXPECT_EQ(record.Text()[511], 'x');
  EXPECT_EQ(tracer.Calls().back(), (Seen{Call::kGrow, 1000, 600}));
  record.Commit(512);
  EXPECT_EQ(tracer.Records().at(0).level, 0u);
}

TEST(RecordHandleOwnProcess, ACapacityBelowTheInitialOneIsReportedAndAskedFor) {
  RecordingTracer tracer;
  RecordHandle record;
  ASSERT_TRUE(record.Open(&tracer, 0));
  EXPECT_EQ(record.Grow(512), oru::sOk);
  EXPECT_EQ(tests::CountReported(kCapacityCheck), 0u);
  EXPECT_EQ(record.Grow(511), oru::sOk);
  EXPECT_EQ(tests::CountReported(kCapacityCheck), 1u);
  EXPECT_EQ(tracer.Calls().back(), (Seen{Call::kGrow, 1000, 511}));
  EXPECT_EQ(record.Grow(0), oru::sOk);
  EXPECT_EQ(tests::CountReported(kCapacityCheck), 1u);
  record.Commit(0);
}

TEST(RecordHandle, AFailedGrowthGivesTheTracersCodeAndKeepsTheArea) {
  RecordingTracer tracer;
  RecordHandle record;
  ASSERT_TRUE(record.Open(&tracer, 0));
  const char* const area = record.Text();
  tracer.Fail(Call::kGrow, oru::errNotMatched);
  EXPECT_EQ(record.Grow(1024), oru::errNotMatched);
  EXPECT_EQ(record.Text(), area);
  record.Commit(0);
  EXPECT_EQ(tracer.OpenAreas(), 0u);
}

TEST(RecordHandle, ASuccessfulGrowthWithoutAnAreaIsOutOfMemory) {
  for (const oru::ResultCode rc : {oru::sOk, oru::sFalse}) {
    RecordingTracer tracer;
    RecordHandle record;
    ASSERT_TRUE(record.Open(&tracer, 0));
    tracer.Script(Call::kGrow, [&](char** buffer) {
      *buffer = nullptr;
      return rc;
    });
    EXPECT_EQ(record.Grow(1024), oru::MakeResultCode(0x80000041)) << rc;
    EXPECT_FALSE(record.IsOpen()) << rc;
  }
}

TEST(RecordHandle, AGrowthThatSucceedsOtherwiseCounts) {
  RecordingTracer tracer;
  RecordHandle record;
  ASSERT_TRUE(record.Open(&tracer, 0));
  tracer.Fail(Call::kGrow, oru::sFalse);
  EXPECT_EQ(record.Grow(1024), oru::sFalse);
  record.Commit(0);
}

TEST(RecordHandle, AClosedOneDoesntGrow) {
  RecordingTracer tracer;
  RecordHandle record;
  EXPECT_EQ(record.Grow(1024), oru::errOutOfMemory);
  ASSERT_TRUE(record.Open(&tracer, 0));
  record.Commit(0);
  EXPECT_EQ(record.Grow(1024), oru::errOutOfMemory);
  EXPECT_EQ(tracer.Calls().size(), 2u);
}

TEST(RecordHandle, CommitsOnce) {
  RecordingTracer tracer;
  RecordHandle record;
  ASSERT_TRUE(record.Open(&tracer, 300));
  record.Text()[0] = 'a';
  record.Commit(1);
  EXPECT_FALSE(record.IsOpen());
  record.Commit(1);
  EXPECT_EQ(tracer.Records(), (std::vector<RecordingTracer::Record>{{300, "a", 512}}));
  EXPECT_EQ(tracer.Calls().size(), 2u);
}

TEST(RecordHandle, WhatTheTracerThrowsPasses) {
  RecordingTracer tracer;
  RecordHandle record;
  tracer.Throw(Call::kOpen, std::runtime_error("open"));
  EXPECT_THROW(record.Open(&tracer, 0), std::runtime_error);
  EXPECT_FALSE(record.IsOpen());
  ASSERT_TRUE(record.Open(&tracer, 0));
  tracer.Throw(Call::kGrow, std::runtime_error("grow"));
  EXPECT_THROW((void)record.Grow(1024), std::runtime_error);
  EXPECT_TRUE(record.IsOpen());
  tracer.Throw(Call::kCommit, std::runtime_error("commit"));
  EXPECT_THROW(record.Commit(0), std::runtime_error);
  EXPECT_FALSE(record.IsOpen());
}

TEST(RecordHandle, LeavesTheLastErrorAlone) {
  RecordingTracer tracer;
  RecordHandle record;
  winapi::SetLastError(5);
  EXPECT_TRUE(record.Open(&tracer, 0));
  EXPECT_EQ(winapi::GetLastError(), 5u);
  EXPECT_EQ(record.Grow(1024), oru::sOk);
  EXPECT_EQ(winapi::GetLastError(), 5u);
  record.Commit(0);
  EXPECT_EQ(winapi::GetLastError(), 5u);
  tracer.Throw(Call::kOpen, 1);
  EXPECT_THROW(record.Open(&tracer, 0), int);
  EXPECT_EQ(winapi::GetLastError(), 5u);
}

TEST(RecordHandle, OpensForACallerWhoKeepsTheLastErrorHimself) {
  RecordingTracer tracer;
  RecordHandle record;
  winapi::SetLastError(5);
  EXPECT_TRUE(record.OpenUnkept(&tracer, 0));
  EXPECT_EQ(winapi::GetLastError(), RecordingTracer::kLastError);
  record.Commit(0);
  EXPECT_FALSE(record.OpenUnkept(&tracer, 701));
  EXPECT_FALSE(record.OpenUnkept(nullptr, 0));
}

}  // namespace
