#include "oru/rtl/tracer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "oru/rtl/service_locator.h"
#include "tests/support/vtable_slot.h"

namespace {

TEST(Tracer, RecordsStartWith512Bytes) { EXPECT_EQ(oru::InitialCapacity, 512u); }

TEST(Tracer, InterfaceNumbers) {
  EXPECT_EQ(oru::ITracer::kInterfaceNumber, 0x6EF3329Bu);
  EXPECT_EQ(oru::tracer::IChannel::kInterfaceNumber, 0x029286C5u);
}

TEST(Tracer, SlotsFollowTheThreeOfTheRoot) {
  EXPECT_EQ(tests::VtableSlot(&oru::ITracer::AddRef), 0);
  EXPECT_EQ(tests::VtableSlot(&oru::ITracer::Release), 1);
  EXPECT_EQ(tests::VtableSlot(&oru::ITracer::QueryInterface), 2);
  EXPECT_EQ(tests::VtableSlot(&oru::ITracer::ReserveRecord), 3);
  EXPECT_EQ(tests::VtableSlot(&oru::ITracer::CommitRecord), 4);
  EXPECT_EQ(tests::VtableSlot(&oru::tracer::IChannel::AddRef), 0);
  EXPECT_EQ(tests::VtableSlot(&oru::tracer::IChannel::Release), 1);
  EXPECT_EQ(tests::VtableSlot(&oru::tracer::IChannel::QueryInterface), 2);
  EXPECT_EQ(tests::VtableSlot(&oru::tracer::IChannel::WriteRecord), 3);
  EXPECT_EQ(tests::VtableSlot(&oru::IServiceLocator::GetInterface), 3);
}

TEST(Tracer, InterfacesAreOnePointerAndHaveNoDestructorSlot) {
  EXPECT_EQ(sizeof(oru::ITracer), sizeof(void*));
  EXPECT_EQ(sizeof(oru::tracer::IChannel), sizeof(void*));
  EXPECT_FALSE(std::has_virtual_destructor_v<oru::ITracer>);
  EXPECT_FALSE(std::has_virtual_destructor_v<oru::tracer::IChannel>);
}

TEST(TraceRecord, FieldsStandInTheirOrder) {
  using oru::tracer::TraceRecord;
  constexpr std::size_t kPointer = sizeof(void*);
  EXPECT_EQ(offsetof(TraceRecord, textBegin), 0 * kPointer);
  EXPECT_EQ(offsetof(TraceRecord, textEnd), 1 * kPointer);
  EXPECT_EQ(offsetof(TraceRecord, reservedBegin), 2 * kPointer);
  EXPECT_EQ(offsetof(TraceRecord, reservedEnd), 3 * kPointer);
  EXPECT_EQ(offsetof(TraceRecord, textBegin2), 4 * kPointer);
  EXPECT_EQ(offsetof(TraceRecord, textEnd2), 5 * kPointer);
  EXPECT_EQ(offsetof(TraceRecord, reservedBegin2), 6 * kPointer);
  EXPECT_EQ(offsetof(TraceRecord, reservedEnd2), 7 * kPointer);
  constexpr std::size_t kRest = 8 * kPointer;
  EXPECT_EQ(offsetof(TraceRecord, threadId), kRest);
  EXPECT_EQ(offsetof(TraceRecord, reserved), kRest + 8);
  EXPECT_EQ(offsetof(TraceRecord, time), kRest + 16);
  EXPECT_EQ(offsetof(TraceRecord, level), kRest + 24);
  EXPECT_EQ(offsetof(TraceRecord, processId), kRest + 28);
  EXPECT_EQ(sizeof(TraceRecord), kRest + 32);
#ifdef _WIN32
  EXPECT_EQ(sizeof(TraceRecord), 64u);
#endif
}

}  // namespace
