// What a test's own object needs of IObject: it lies on the stack or in a test, counts its
// references without ending at any count, and has no other interface.
#ifndef TESTS_SUPPORT_OBJECT_STUB_H_
#define TESTS_SUPPORT_OBJECT_STUB_H_

#include <cstdint>

#include "oru/rtl/object.h"

namespace tests {

// Derive from it in place of `Interface`, which is IObject or derives from it.
template <typename Interface>
class ObjectStub : public Interface {
 public:
  std::uint32_t AddRef() noexcept override { return ++references; }
  std::uint32_t Release() noexcept override { return --references; }
  // Gives errNotSupportedInterface for every number, and leaves the output alone.
  [[nodiscard]] oru::ResultCode QueryInterface(oru::InterfaceNumber, void**) noexcept override {
    return oru::errNotSupportedInterface;
  }

  std::uint32_t references = 0;  // that others hold

 protected:
  ObjectStub() noexcept = default;
  ~ObjectStub() = default;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_OBJECT_STUB_H_
