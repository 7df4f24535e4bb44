#include "oru/rtl/object.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "oru/rtl/object_impl.h"
#include "oru/rtl/object_ptr.h"
#include "tests/support/checks.h"
#include "tests/support/vtable_slot.h"

namespace {

using oru::CreateObject;
using oru::MakeResultCode;
using oru::ObjectPtr;
using tests::CountReported;

constexpr oru::ResultCode kInterfaceNotSupported = MakeResultCode(0x80000001);

class ICounterSource : public oru::IObject {
 public:
  static constexpr oru::InterfaceNumber kInterfaceNumber = 0x12345678;
  virtual int Value() = 0;

 protected:
  ~ICounterSource() = default;
};

// Notes its end in a flag of the test's.
class Source : public oru::inherit_ifaces<ICounterSource>,
               public oru::ObjectModuleAutoLockTyped<Source>,
               private oru::NonCopyable {
 public:
  explicit Source(int value, bool* ended = nullptr) : m_value(value), m_ended(ended) {}
  int Value() override { return m_value; }

 protected:
  ~Source() {
    if (m_ended != nullptr) *m_ended = true;
  }

 private:
  int m_value;
  bool* m_ended;
};

// As small as an object gets.
class Smallest : public oru::inherit_ifaces<ICounterSource>,
                 private oru::ObjectModuleAutoLockTyped<Smallest>,
                 private oru::NonCopyable {
 public:
  int Value() override { return 0; }

 protected:
  ~Smallest() = default;
};

class Throwing : public oru::inherit_ifaces<ICounterSource>,
                 public oru::ObjectModuleAutoLockTyped<Throwing>,
                 private oru::NonCopyable {
 public:
  Throwing() { throw std::runtime_error("constructor"); }
  int Value() override { return 0; }

 protected:
  ~Throwing() = default;
};

// Its interface doesn't lie at the object's start.
class Front {
 public:
  virtual int FrontValue() { return 1; }

 protected:
  ~Front() = default;
};
class Behind : public Front,
               public oru::inherit_ifaces<ICounterSource>,
               private oru::ObjectModuleAutoLockTyped<Behind> {
 public:
  int Value() override { return 2; }

 protected:
  ~Behind() = default;
};

// An object whose count can be 0 while it is alive: its factory ends nothing.
struct KeepingFactory {
  template <typename Object>
  static void Destroy(Object*) noexcept {
    ++ends;
  }
  static inline int ends = 0;
};
using Kept = oru::Object<Smallest, KeepingFactory>;

// --- Slots and layout.

TEST(ObjectSlots, FollowTheDeclarationOfTheRoot) {
  EXPECT_EQ(tests::VtableSlot(&oru::IObject::AddRef), 0);
  EXPECT_EQ(tests::VtableSlot(&oru::IObject::Release), 1);
  EXPECT_EQ(tests::VtableSlot(&oru::IObject::QueryInterface), 2);
}

TEST(ObjectSlots, InterfacesContinueBehindTheRoot) {
  EXPECT_EQ(tests::VtableSlot(&ICounterSource::Value), 3);
}

TEST(ObjectSlots, ObjectsKeepTheSlotsOfTheirInterface) {
  using Impl = oru::detail::ObjectImpl<Source, oru::abi_v2_allocator>;
  EXPECT_EQ(tests::VtableSlot(&Impl::AddRef), 0);
  EXPECT_EQ(tests::VtableSlot(&Impl::Release), 1);
  EXPECT_EQ(tests::VtableSlot(&Impl::QueryInterface), 2);
  EXPECT_EQ(tests::VtableSlot(&Impl::Value), 3);
}

TEST(ObjectLayout, ObjectIsTheTablePointerTheFieldsAndTheCount) {
  using Impl = oru::detail::ObjectImpl<Smallest, oru::abi_v2_allocator>;
  static_assert(sizeof(oru::detail::RefCounter) == 4);
  static_assert(sizeof(ObjectPtr<oru::IObject>) == sizeof(void*));
  static_assert(sizeof(Impl) == 2 * sizeof(void*));  // the count and, natively, padding
  static_assert(sizeof(Kept) == 2 * sizeof(void*));
  static_assert(sizeof(oru::detail::ObjectImpl<Source, oru::abi_v2_allocator>) ==
                sizeof(void*) + sizeof(int) + sizeof(bool*) + sizeof(std::int32_t) +
                    (sizeof(void*) == 8 ? 8 : 0));
  static_assert(std::is_empty_v<oru::NonCopyable>);
  static_assert(std::is_empty_v<oru::ObjectRootEx<oru::NoServiceStrategy>>);
  static_assert(std::is_empty_v<oru::ObjectModuleAutoLockTyped<Source>>);
#if defined(_WIN32) && !defined(_WIN64)
  static_assert(sizeof(Impl) == 8);
  static_assert(sizeof(ObjectPtr<oru::IObject>) == 4);
#endif
}

// Nothing but the base keeps it from being copied: it has a destructor that all may call.
class Derived : private oru::NonCopyable {};

TEST(NonCopyable, CantBeCopied) {
  static_assert(std::is_default_constructible_v<Derived>);
  static_assert(!std::is_copy_constructible_v<Derived>);
  static_assert(!std::is_copy_assignable_v<Derived>);
  static_assert(!std::is_move_constructible_v<Derived>);
  static_assert(!std::is_move_assignable_v<Derived>);
}

// --- ObjectImpl.

TEST(ObjectImpl, CreatorHoldsTheFirstReference) {
  ObjectPtr<Source> source = CreateObject<Source>(7);
  EXPECT_EQ(source->Value(), 7);
  EXPECT_EQ(source->AddRef(), 2u);
  EXPECT_EQ(source->Release(), 1u);
}

TEST(ObjectImpl, LastReleaseEndsTheObjectAndGivesZero) {
  bool ended = false;
  Source* source = CreateObject<Source>(1, &ended).Detach();
  EXPECT_EQ(source->AddRef(), 2u);
  EXPECT_EQ(source->Release(), 1u);
  EXPECT_FALSE(ended);
  EXPECT_EQ(source->Release(), 0u);
  EXPECT_TRUE(ended);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(ObjectImpl, QueryInterfaceWithZeroGivesTheObject) {
  ObjectPtr<Source> source = CreateObject<Source>(1);
  void* out = nullptr;
  EXPECT_EQ(source->QueryInterface(0, &out), oru::sOk);
  EXPECT_EQ(out, static_cast<oru::IObject*>(source.Get()));
  EXPECT_EQ(static_cast<oru::IObject*>(out)->Release(), 1u);  // one reference was added
}

TEST(ObjectImpl, QueryInterfaceWithItsNumberGivesTheInterface) {
  ObjectPtr<Source> source = CreateObject<Source>(5);
  void* out = nullptr;
  EXPECT_EQ(source->QueryInterface(0x12345678, &out), oru::sOk);
  auto* const found = static_cast<ICounterSource*>(out);
  EXPECT_EQ(found->Value(), 5);
  EXPECT_EQ(found->Release(), 1u);
}

TEST(ObjectImpl, QueryInterfaceWithAnUnknownNumberChangesNothing) {
  ObjectPtr<Source> source = CreateObject<Source>(1);
  for (const oru::InterfaceNumber iid : {1u, 0x12345677u, 0x9CCA5603u, 0xFFFFFFFFu}) {
    int mark = 0;
    void* out = &mark;
    EXPECT_EQ(source->QueryInterface(iid, &out), kInterfaceNotSupported) << iid;
    EXPECT_EQ(out, &mark) << iid;
    EXPECT_EQ(source->AddRef(), 2u) << iid;
    EXPECT_EQ(source->Release(), 1u) << iid;
  }
}

TEST(ObjectImpl, QueryInterfaceMindsTheOffset) {
  ObjectPtr<Behind> behind = CreateObject<Behind>();
  for (const oru::InterfaceNumber iid : {0u, 0x12345678u}) {
    void* out = nullptr;
    EXPECT_EQ(behind->QueryInterface(iid, &out), oru::sOk);
    EXPECT_EQ(out, static_cast<ICounterSource*>(behind.Get()));
    EXPECT_NE(out, static_cast<void*>(behind.Get()));
    EXPECT_EQ(static_cast<ICounterSource*>(out)->Value(), 2);
    EXPECT_EQ(static_cast<ICounterSource*>(out)->Release(), 1u);
  }
}

TEST(ObjectImpl, CountsItselfWhileItLives) {
  const std::int32_t all = oru::detail::LiveObjectCounter().load();
  EXPECT_EQ(Source::LiveCount(), 0);
  {
    const ObjectPtr<Source> first = CreateObject<Source>(1);
    const ObjectPtr<Source> second = CreateObject<Source>(2);
    const ObjectPtr<Smallest> other = CreateObject<Smallest>();
    EXPECT_EQ(Source::LiveCount(), 2);
    EXPECT_EQ(oru::detail::LiveObjectCounter().load(), all + 3);
  }
  EXPECT_EQ(Source::LiveCount(), 0);
  EXPECT_EQ(oru::detail::LiveObjectCounter().load(), all);
}

TEST(ObjectImpl, ConstructorThatThrowsLeavesTheCountersAsTheyWere) {
  const ObjectPtr<Source> another = CreateObject<Source>(1);
  const std::int32_t all = oru::detail::LiveObjectCounter().load();
  EXPECT_THROW((void)CreateObject<Throwing>(), std::runtime_error);
  EXPECT_EQ(Throwing::LiveCount(), 0);
  EXPECT_EQ(oru::detail::LiveObjectCounter().load(), all);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(ObjectImpl, ReferencesOfManyThreadsBalance) {
  ObjectPtr<Source> source = CreateObject<Source>(1);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&source] {
      for (int j = 0; j < 10000; ++j) const ObjectPtr<Source> copy = source;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(source->AddRef(), 2u);
  EXPECT_EQ(source->Release(), 1u);
}

// --- Object.

TEST(ObjectOwnProcess, ReleaseAtZeroIsReportedAndGoesOn) {
  Kept object;
  EXPECT_EQ(object.Release(), 0u);
  EXPECT_EQ(KeepingFactory::ends, 1);
  EXPECT_EQ(CountReported("m_ref > 0"), 0u);
  EXPECT_EQ(object.Release(), 0xFFFFFFFFu);
  EXPECT_EQ(CountReported("m_ref > 0"), 1u);
  EXPECT_EQ(KeepingFactory::ends, 1);
  EXPECT_EQ(object.AddRef(), 0u);  // a site of its own
  EXPECT_EQ(CountReported("m_ref > 0"), 2u);
}

TEST(ObjectOwnProcess, AddRefAtZeroIsReportedAndGoesOn) {
  Kept object;
  EXPECT_EQ(object.Release(), 0u);
  EXPECT_EQ(object.AddRef(), 1u);
  EXPECT_EQ(CountReported("m_ref > 0"), 1u);
  EXPECT_EQ(object.Release(), 0u);
  EXPECT_EQ(KeepingFactory::ends, 2);
}

TEST(Object, UseWithReferencesReportsNothing) {
  Kept object;
  EXPECT_EQ(object.AddRef(), 2u);
  EXPECT_EQ(object.Release(), 1u);
  EXPECT_EQ(object.Release(), 0u);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(Object, QueryInterfaceWithAnUnknownNumberStoresNull) {
  Kept object;
  int mark = 0;
  void* out = &mark;
  EXPECT_EQ(object.QueryInterface(0x9CCA5603, &out), kInterfaceNotSupported);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(object.Release(), 0u);  // no reference was added
}

TEST(RefCounter, StartsAtOne) {
  oru::detail::RefCounter counter;
  EXPECT_EQ(counter.m_ref.load(), 1);
  EXPECT_EQ(counter.Increment(), 2u);
  EXPECT_EQ(counter.Decrement(), 1u);
  EXPECT_EQ(counter.Decrement(), 0u);
}

// Natively the sanitizer build sees a sum that leaves the range of int.
TEST(RefCounter, GoesRoundAtTheEndsOfItsRange) {
  oru::detail::RefCounter counter;
  counter.m_ref = INT32_MAX;
  EXPECT_EQ(counter.Increment(), 0x80000000u);
  EXPECT_EQ(counter.m_ref.load(), INT32_MIN);
  EXPECT_EQ(counter.Decrement(), 0x7FFFFFFFu);
  EXPECT_EQ(counter.m_ref.load(), INT32_MAX);
  counter.m_ref = 0;  // what the end of a counter expects
}

TEST(RefCounterOwnProcess, EndAtAnotherCountIsReported) {
  { const oru::detail::RefCounter held; }
  EXPECT_EQ(CountReported("m_ref == 0"), 1u);
}

TEST(RefCounter, EndAtZeroIsSilent) {
  {
    oru::detail::RefCounter counter;
    EXPECT_EQ(counter.Decrement(), 0u);
  }
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

}  // namespace
