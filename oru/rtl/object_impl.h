// What turns a class into a reference-counted object.
//
// A class that is to become an object names its interface by inherit_ifaces, is counted by
// ObjectModuleAutoLockTyped, has a protected destructor, and implements the slots of its interface;
// the slots of IObject come from the template. CreateObject makes it:
//
//   class Channel : public oru::inherit_ifaces<oru::tracer::IChannel>,
//                   private oru::ObjectModuleAutoLockTyped<Channel>,
//                   private oru::NonCopyable {
//    public:
//     explicit Channel(const String16& path);
//     oru::ResultCode WriteRecord(const oru::tracer::TraceRecord* record) override;
//
//    protected:
//     ~Channel();
//   };
//
//   oru::ObjectPtr<oru::tracer::IChannel> channel = oru::CreateObject<Channel>(path);
//
// Objects lie on the process heap and end when their last reference goes. Counting is atomic;
// nothing else of an object is.
#ifndef ORU_RTL_OBJECT_IMPL_H_
#define ORU_RTL_OBJECT_IMPL_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#include "oru/rtl/alignment.h"
#include "oru/rtl/check.h"
#include "oru/rtl/memory_resource.h"
#include "oru/rtl/object.h"
#include "oru/rtl/object_ptr.h"
#include "oru/rtl/result_code.h"

namespace oru {

// A base that can't be copied.
class NonCopyable {
 public:
  NonCopyable(const NonCopyable&) = delete;
  NonCopyable& operator=(const NonCopyable&) = delete;

 protected:
  NonCopyable() noexcept = default;
  ~NonCopyable() = default;
};

// The policy of objects that look for no service.
struct NoServiceStrategy {};

// The root of the object templates.
template <typename ServiceStrategy>
class ObjectRootEx : private ServiceStrategy {
 protected:
  ObjectRootEx() noexcept = default;
  ~ObjectRootEx() = default;
};

namespace detail {
// The count of all framework objects that are alive in the process.
[[nodiscard]] std::atomic<std::int32_t>& LiveObjectCounter() noexcept;
}  // namespace detail

// Counts the objects of class T that are alive, in a counter of the class and in that of all
// objects.
template <typename T>
class ObjectModuleAutoLockTyped {
 public:
  // The one view of the counters, for tests: nothing of the program reads them.
  [[nodiscard]] static std::int32_t LiveCount() noexcept { return counter.load(); }

 protected:
  ObjectModuleAutoLockTyped() noexcept {
    detail::LiveObjectCounter().fetch_add(1);
    counter.fetch_add(1);
  }
  ObjectModuleAutoLockTyped(const ObjectModuleAutoLockTyped&) = delete;
  ObjectModuleAutoLockTyped& operator=(const ObjectModuleAutoLockTyped&) = delete;
  ~ObjectModuleAutoLockTyped() {
    counter.fetch_sub(1);
    detail::LiveObjectCounter().fetch_sub(1);
  }

 private:
  static inline constinit std::atomic<std::int32_t> counter{0};
};

// The interface table of a class with the interface I: pairs of a number and the interface's offset
// in the object, in bytes, searched in order.
template <typename I>
struct Ifaces {
  struct Entry {
    InterfaceNumber number;
    std::uintptr_t offset;
  };

  // The address of the interface `iid` of `object`, or null.
  template <typename T>
  [[nodiscard]] static void* Find(T* object, InterfaceNumber iid) noexcept {
    const Entry table[] = {{IObject::kInterfaceNumber, Offset<IObject>(object)},
                           {I::kInterfaceNumber, Offset<I>(object)}};
    for (const Entry& entry : table) {
      if (entry.number == iid) return reinterpret_cast<std::byte*>(object) + entry.offset;
    }
    return nullptr;
  }

 private:
  template <typename Interface, typename T>
  [[nodiscard]] static std::uintptr_t Offset(T* object) noexcept {
    return reinterpret_cast<std::uintptr_t>(static_cast<Interface*>(object)) -
           reinterpret_cast<std::uintptr_t>(object);
  }
};

// The base of a class that has the interface I.
template <typename I>
class inherit_ifaces : public I {
 public:
  using InterfaceTable = Ifaces<I>;

 protected:
  ~inherit_ifaces() = default;
};

namespace detail {

// The reference count. It starts with the creator's reference; a count that isn't 0 in the end is
// reported ("m_ref == 0").
struct RefCounter {
  RefCounter() noexcept = default;
  RefCounter(const RefCounter&) = delete;
  RefCounter& operator=(const RefCounter&) = delete;
  ~RefCounter() { ORU_CHECK(m_ref == 0); }

  // Both give the new count. Beyond the ends of its range the count goes on at the other end: the
  // atomic operations do so by themselves, and the sums here are of unsigned numbers.
  std::uint32_t Increment() noexcept { return static_cast<std::uint32_t>(m_ref.fetch_add(1)) + 1; }
  std::uint32_t Decrement() noexcept { return static_cast<std::uint32_t>(m_ref.fetch_sub(1)) - 1; }

  std::atomic<std::int32_t> m_ref{1};
};

// What an object template adds to its class: the count.
class ObjectLifetimeBase : private ObjectRootEx<NoServiceStrategy>, protected RefCounter {
 protected:
  ObjectLifetimeBase() noexcept = default;
  ~ObjectLifetimeBase() = default;
};

template <typename T, typename Allocator>
class ObjectImpl;

// The object made of T, on the process heap.
template <typename T>
class ObjectImpl<T, abi_v2_allocator> final : public T, private ObjectLifetimeBase {
 public:
  // Makes the object with its first reference, which the caller holds. Throws std::bad_alloc when
  // there is no memory. What T's constructor throws passes; the block and the counters are then as
  // before.
  template <typename... Args>
  [[nodiscard]] static ObjectImpl* Create(Args&&... args) {
    void* const memory = Heap::allocate(sizeof(ObjectImpl), alignof(ObjectImpl));
    if (memory == nullptr) throw std::bad_alloc();
    try {
      return Construct(memory, std::forward<Args>(args)...);
    } catch (...) {
      Heap::deallocate(memory, sizeof(ObjectImpl), alignof(ObjectImpl));
      throw;
    }
  }

  std::uint32_t AddRef() noexcept override { return this->Increment(); }

  std::uint32_t Release() noexcept override {
    const std::uint32_t count = this->Decrement();
    if (count == 0) Destroy();
    return count;
  }

  // `out` keeps its value when there is no such interface.
  [[nodiscard]] ResultCode QueryInterface(InterfaceNumber iid, void** out) noexcept override {
    void* const found = T::InterfaceTable::Find(static_cast<T*>(this), iid);
    if (found == nullptr) return errNotSupportedInterface;
    AddRef();
    *out = found;
    return sOk;
  }

 private:
  using Heap = memory::windows::default_heap_resource;

  template <typename... Args>
  explicit ObjectImpl(std::in_place_t, Args&&... args) : T(std::forward<Args>(args)...) {}
  ~ObjectImpl() = default;

  template <typename... Args>
  static ObjectImpl* Construct(void* memory, Args&&... args) {
    // A higher alignment would be reported by the heap and not honoured.
    static_assert(alignof(ObjectImpl) <= alignof(oru_std::max_align_t));
    ORU_CHECK(memory != nullptr);
    return ::new (memory) ObjectImpl(std::in_place, std::forward<Args>(args)...);
  }

  void Destroy() noexcept {
    this->~ObjectImpl();
    Heap::deallocate(this, sizeof(ObjectImpl), alignof(ObjectImpl));
  }
};

}  // namespace detail

// Makes and ends objects on the host's heap.
struct SimpleObjectFactory {
  template <typename Object>
  [[nodiscard]] static Object* Create() {
    return new Object();
  }
  template <typename Object>
  static void Destroy(Object* object) noexcept {
    delete object;
  }
};

// The object made of T, from `Factory`; the form that the allocator object has, which can't take
// its memory from itself. Unlike ObjectImpl it reports "m_ref > 0" when it is used at a count of 0.
template <typename T, typename Factory>
class Object final : public T, private detail::ObjectLifetimeBase {
 public:
  Object() = default;
  ~Object() = default;

  std::uint32_t AddRef() noexcept override {
    ORU_CHECK(m_ref > 0);
    return this->Increment();
  }

  std::uint32_t Release() noexcept override {
    ORU_CHECK(m_ref > 0);
    const std::uint32_t count = this->Decrement();
    if (count == 0) Factory::Destroy(this);
    return count;
  }

  // `out` gets null when there is no such interface.
  [[nodiscard]] ResultCode QueryInterface(InterfaceNumber iid, void** out) noexcept override {
    *out = T::InterfaceTable::Find(static_cast<T*>(this), iid);
    if (*out == nullptr) return errNotSupportedInterface;
    AddRef();
    return sOk;
  }
};

// A new object of class T, on the process heap; see detail::ObjectImpl for what it throws.
template <typename T, typename... Args>
[[nodiscard]] ObjectPtr<T> CreateObject(Args&&... args) {
  using Impl = detail::ObjectImpl<T, abi_v2_allocator>;
  return ObjectPtr<T>::Adopt(Impl::Create(std::forward<Args>(args)...));
}

}  // namespace oru

#endif  // ORU_RTL_OBJECT_IMPL_H_
