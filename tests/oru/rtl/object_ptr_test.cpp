#include "oru/rtl/object_ptr.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include "oru/rtl/object.h"
#include "tests/support/checks.h"
#include "tests/support/object_stub.h"

namespace {

using oru::ObjectPtr;
using tests::CountReported;

using Counted = tests::ObjectStub<oru::IObject>;
class Object final : public Counted {};

TEST(ObjectPtr, IsEmptyAtFirst) {
  const ObjectPtr<Object> pointer;
  EXPECT_EQ(pointer.Get(), nullptr);
  EXPECT_FALSE(pointer);
}

TEST(ObjectPtr, AdoptTakesTheReferenceOver) {
  Object object;
  object.AddRef();
  {
    const ObjectPtr<Object> pointer = ObjectPtr<Object>::Adopt(&object);
    EXPECT_EQ(pointer.Get(), &object);
    EXPECT_TRUE(pointer);
    EXPECT_EQ(&*pointer, &object);
    EXPECT_EQ(pointer->references, 1u);
  }
  EXPECT_EQ(object.references, 0u);
}

TEST(ObjectPtr, ShareAddsAReference) {
  Object object;
  object.AddRef();
  {
    const ObjectPtr<Object> pointer = ObjectPtr<Object>::Share(&object);
    EXPECT_EQ(object.references, 2u);
  }
  EXPECT_EQ(object.references, 1u);
  EXPECT_FALSE(ObjectPtr<Object>::Share(nullptr));
}

TEST(ObjectPtr, CopyAddsAReference) {
  Object object;
  const ObjectPtr<Object> first = ObjectPtr<Object>::Share(&object);
  {
    const ObjectPtr<Object> second = first;  // NOLINT: the copy is what is tested
    EXPECT_EQ(second.Get(), &object);
    EXPECT_EQ(object.references, 2u);
  }
  EXPECT_EQ(object.references, 1u);
}

TEST(ObjectPtr, MoveLeavesTheSourceEmpty) {
  Object object;
  ObjectPtr<Object> first = ObjectPtr<Object>::Share(&object);
  const ObjectPtr<Object> second = std::move(first);
  EXPECT_EQ(first.Get(), nullptr);  // NOLINT(bugprone-use-after-move): promised
  EXPECT_EQ(second.Get(), &object);
  EXPECT_EQ(object.references, 1u);
}

TEST(ObjectPtr, AssignmentReleasesTheOldObject) {
  Object one;
  Object two;
  ObjectPtr<Object> pointer = ObjectPtr<Object>::Share(&one);
  const ObjectPtr<Object> other = ObjectPtr<Object>::Share(&two);
  pointer = other;
  EXPECT_EQ(pointer.Get(), &two);
  EXPECT_EQ(one.references, 0u);
  EXPECT_EQ(two.references, 2u);
  pointer = ObjectPtr<Object>();
  EXPECT_EQ(two.references, 1u);
}

TEST(ObjectPtr, AssignmentToItselfKeepsTheObject) {
  Object object;
  ObjectPtr<Object> pointer = ObjectPtr<Object>::Share(&object);
  const ObjectPtr<Object>& alias = pointer;
  pointer = alias;
  EXPECT_EQ(pointer.Get(), &object);
  EXPECT_EQ(object.references, 1u);
}

TEST(ObjectPtr, ConvertsToABaseOnly) {
  Object object;
  ObjectPtr<Object> pointer = ObjectPtr<Object>::Share(&object);
  const ObjectPtr<oru::IObject> base = std::move(pointer);
  EXPECT_EQ(base.Get(), &object);
  EXPECT_EQ(object.references, 1u);
  static_assert(!std::is_convertible_v<ObjectPtr<oru::IObject>, ObjectPtr<Object>>);
}

TEST(ObjectPtr, DetachGivesTheReferenceAway) {
  Object object;
  {
    ObjectPtr<Object> pointer = ObjectPtr<Object>::Share(&object);
    EXPECT_EQ(pointer.Detach(), &object);
    EXPECT_FALSE(pointer);
  }
  EXPECT_EQ(object.references, 1u);
}

TEST(ObjectPtr, AttachTakesTheReferenceOver) {
  Object object;
  object.AddRef();
  {
    ObjectPtr<Object> pointer;
    pointer.Attach(&object);
    EXPECT_EQ(pointer.Get(), &object);
  }
  EXPECT_EQ(object.references, 0u);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(ObjectPtrOwnProcess, AttachWhileHoldingIsReportedAndGoesOn) {
  Object one;
  Object two;
  two.AddRef();
  {
    ObjectPtr<Object> pointer = ObjectPtr<Object>::Share(&one);
    pointer.Attach(&two);
    EXPECT_EQ(pointer.Get(), &two);
    EXPECT_EQ(CountReported("!m_p"), 1u);
  }
  EXPECT_EQ(one.references, 1u);  // its reference was lost
  EXPECT_EQ(two.references, 0u);
}

// The whole life of a pointer in `storage`. NOLINTNEXTLINE(readability-non-const-parameter)
void LiveAndEnd(unsigned char* storage, Object* object) {
  using Pointer = ObjectPtr<Object>;
  auto* const pointer = ::new (storage) Pointer(Pointer::Share(object));
  pointer->~Pointer();
}

// What lies in the storage of a pointer after its end. The call is one that the optimiser can't
// follow: it would know that the bytes belong to an object that is gone.
std::uintptr_t StoredAfterTheEnd(Object* object) {
  using Pointer = ObjectPtr<Object>;
  static_assert(sizeof(Pointer) == sizeof(std::uintptr_t));
  alignas(Pointer) unsigned char storage[sizeof(Pointer)] = {};
  void (*volatile liveAndEnd)(unsigned char*, Object*) = LiveAndEnd;
  liveAndEnd(storage, object);
  std::uintptr_t stored = 0;
  std::memcpy(&stored, storage, sizeof(stored));
  return stored;
}

TEST(ObjectPtr, EndStoresTheComplementOfThePointer) {
  Object object;
  EXPECT_EQ(StoredAfterTheEnd(&object), ~reinterpret_cast<std::uintptr_t>(&object));
  EXPECT_EQ(object.references, 0u);
}

TEST(ObjectPtr, EndOfAnEmptyPointerStoresAllOnes) {
  EXPECT_EQ(StoredAfterTheEnd(nullptr), static_cast<std::uintptr_t>(-1));
}

}  // namespace
