// The owning pointer to a reference-counted object.
#ifndef ORU_RTL_OBJECT_PTR_H_
#define ORU_RTL_OBJECT_PTR_H_

#include <cstdint>
#include <type_traits>
#include <utility>

#include "oru/rtl/check.h"

namespace oru {

// Holds one reference of its object, or nothing. Copies add a reference, the destructor takes it
// back and leaves the complement of the old pointer behind, so that a use after destruction shows
// at once.
template <typename T>
class ObjectPtr {
 public:
  ObjectPtr() noexcept = default;
  // Takes over a reference that the caller holds.
  static ObjectPtr Adopt(T* object) noexcept {
    ObjectPtr result;
    result.m_p = object;
    return result;
  }
  // Adds a reference of its own.
  static ObjectPtr Share(T* object) noexcept {
    if (object != nullptr) object->AddRef();
    return Adopt(object);
  }

  ObjectPtr(const ObjectPtr& other) noexcept : m_p(other.m_p) {
    if (m_p != nullptr) m_p->AddRef();
  }
  ObjectPtr(ObjectPtr&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}
  // Of an object to one of its bases, as plain pointers convert.
  template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  ObjectPtr(ObjectPtr<U>&& other) noexcept : m_p(other.Detach()) {}  // NOLINT: implicit

  ObjectPtr& operator=(ObjectPtr other) noexcept {
    std::swap(m_p, other.m_p);
    return *this;
  }

  ~ObjectPtr() {
    T* const old = m_p;
    if (old != nullptr) old->Release();
    StoreComplement(old);
  }

  // Takes over a reference; reports "!m_p" when one is held already, which is then lost.
  void Attach(T* object) noexcept {
    ORU_CHECK(!m_p);
    m_p = object;
  }
  // Gives the reference away.
  [[nodiscard]] T* Detach() noexcept { return std::exchange(m_p, nullptr); }

  [[nodiscard]] T* Get() const noexcept { return m_p; }
  T* operator->() const noexcept { return m_p; }
  T& operator*() const noexcept { return *m_p; }
  explicit operator bool() const noexcept { return m_p != nullptr; }

 private:
  // The store is the last one before the object's end, so the optimiser would drop a plain one.
  void StoreComplement(T* old) noexcept {
    *const_cast<T* volatile*>(&m_p) = reinterpret_cast<T*>(~reinterpret_cast<std::uintptr_t>(old));
  }

  T* m_p = nullptr;
};

}  // namespace oru

#endif  // ORU_RTL_OBJECT_PTR_H_
