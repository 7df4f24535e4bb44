// What the concrete classes lay down in memory; the interfaces and the record are oru/rtl's.
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

namespace standalone::trace {
namespace {

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
