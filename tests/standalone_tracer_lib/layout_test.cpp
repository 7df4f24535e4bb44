// What crosses between modules: slots and offsets.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "oru/rtl/object_impl.h"
#include "oru/rtl/object_ptr.h"
#include "oru/rtl/tracer.h"
#include "standalone_tracer_lib/file_tracer.h"
#include "standalone_tracer_lib/simple_channel_tracer.h"
#include "tests/standalone_tracer_lib/recording_channel.h"
#include "tests/support/vtable_slot.h"

namespace standalone::trace {
namespace {

using oru::tracer::TraceRecord;
using tests::VtableSlot;

TEST(TracerLayoutTest, SlotsStandInOrder) {
  EXPECT_EQ(VtableSlot(&oru::ITracer::AddRef), 0);
  EXPECT_EQ(VtableSlot(&oru::ITracer::Release), 1);
  EXPECT_EQ(VtableSlot(&oru::ITracer::QueryInterface), 2);
  EXPECT_EQ(VtableSlot(&oru::ITracer::ReserveRecord), 3);
  EXPECT_EQ(VtableSlot(&oru::ITracer::CommitRecord), 4);
  EXPECT_EQ(oru::ITracer::kInterfaceNumber, 0x6EF3329Bu);
}

TEST(ChannelLayoutTest, SlotsStandInOrder) {
  EXPECT_EQ(VtableSlot(&oru::tracer::IChannel::AddRef), 0);
  EXPECT_EQ(VtableSlot(&oru::tracer::IChannel::Release), 1);
  EXPECT_EQ(VtableSlot(&oru::tracer::IChannel::QueryInterface), 2);
  EXPECT_EQ(VtableSlot(&oru::tracer::IChannel::WriteRecord), 3);
  EXPECT_EQ(oru::tracer::IChannel::kInterfaceNumber, 0x029286C5u);
}

// In words of a pointer's size for the eight pointers; four bytes on the 32-bit target.
TEST(TraceRecordLayoutTest, FieldsStandInOrder) {
  constexpr std::size_t word = sizeof(void*);
  EXPECT_EQ(offsetof(TraceRecord, textBegin), 0u);
  EXPECT_EQ(offsetof(TraceRecord, textEnd), word);
  EXPECT_EQ(offsetof(TraceRecord, reservedBegin), 2 * word);
  EXPECT_EQ(offsetof(TraceRecord, reservedEnd), 3 * word);
  EXPECT_EQ(offsetof(TraceRecord, textBegin2), 4 * word);
  EXPECT_EQ(offsetof(TraceRecord, textEnd2), 5 * word);
  EXPECT_EQ(offsetof(TraceRecord, reservedBegin2), 6 * word);
  EXPECT_EQ(offsetof(TraceRecord, reservedEnd2), 7 * word);
  EXPECT_EQ(offsetof(TraceRecord, threadId), 8 * word);
  EXPECT_EQ(offsetof(TraceRecord, reserved), 8 * word + 8);
  EXPECT_EQ(offsetof(TraceRecord, time), 8 * word + 16);
  EXPECT_EQ(offsetof(TraceRecord, level), 8 * word + 24);
  EXPECT_EQ(offsetof(TraceRecord, processId), 8 * word + 28);
  EXPECT_EQ(sizeof(TraceRecord), 8 * word + 32);
}

TEST(TraceSettingsLayoutTest, FieldsStandInOrder) {
  EXPECT_EQ(offsetof(TraceSettings, enabled), 0u);
  EXPECT_EQ(offsetof(TraceSettings, maxLevel), 4u);
  EXPECT_EQ(sizeof(TraceSettings), 8u);
}

// Behind the table pointer: allocator, channel, maximum level; and behind those the count.
TEST(SimpleChannelTracerLayoutTest, FieldsStandInOrder) {
  const auto channel = oru::CreateObject<tests::RecordingChannel>();
  const auto tracer = oru::CreateObject<detail::SimpleChannelTracer>(channel.Get(), 0x2BCu);
  constexpr std::size_t word = sizeof(void*);
  EXPECT_EQ(sizeof(detail::SimpleChannelTracer), 4 * word);

  char bytes[4 * word];
  std::memcpy(bytes, static_cast<const void*>(tracer.Get()), sizeof bytes);
  void* pointers[3];
  std::memcpy(pointers, bytes, sizeof pointers);
  EXPECT_NE(pointers[1], nullptr);
  EXPECT_EQ(pointers[2], static_cast<void*>(static_cast<oru::tracer::IChannel*>(channel.Get())));
  std::uint32_t level = 0;
  std::memcpy(&level, bytes + 3 * word, sizeof level);
  EXPECT_EQ(level, 0x2BCu);
}

TEST(RecordBufferLayoutTest, LevelStandsInFrontOfTheText) {
  const auto channel = oru::CreateObject<tests::RecordingChannel>();
  const auto tracer = oru::CreateObject<detail::SimpleChannelTracer>(channel.Get(), 700u);
  char* text = nullptr;
  ASSERT_EQ(tracer->ReserveRecord(300, &text, 512), oru::sOk);
  std::uint32_t level = 0;
  std::memcpy(&level, text - 4, sizeof level);
  EXPECT_EQ(level, 300u);
  // Nothing else carries it.
  level = 200;
  std::memcpy(text - 4, &level, sizeof level);
  ASSERT_EQ(tracer->CommitRecord(text, 0), oru::sOk);
  EXPECT_EQ(channel->written[0].record.level, 200u);
}

}  // namespace
}  // namespace standalone::trace
