// The root interface of reference-counted objects with numbered interfaces.
//
// An interface derives from IObject, has its number in kInterfaceNumber, and adds pure virtual
// functions. Its slots lie behind those of IObject, in the order of their declaration; it has no
// slot for a destructor, so its destructor is protected and not virtual. object_impl.h turns a
// class with an interface into an object.
#ifndef ORU_RTL_OBJECT_H_
#define ORU_RTL_OBJECT_H_

#include <cstdint>

#include "oru/rtl/result_code.h"

namespace oru {

using InterfaceNumber = std::uint32_t;

// The root of all interfaces; its number, 0, is answered by every object. Slot order is declaration
// order.
class IObject {
 public:
  static constexpr InterfaceNumber kInterfaceNumber = 0;

  // Adds one reference and gives the new count.
  virtual std::uint32_t AddRef() noexcept = 0;
  // Takes one reference, ends the object at zero, and gives the new count.
  virtual std::uint32_t Release() noexcept = 0;
  // Stores the interface of that number in `out`, with one reference added, and gives sOk. For a
  // number that the object doesn't have, errNotSupportedInterface; each kind of object says what
  // `out` is then.
  [[nodiscard]] virtual ResultCode QueryInterface(InterfaceNumber iid, void** out) noexcept = 0;

 protected:
  ~IObject() = default;
};

}  // namespace oru

#endif  // ORU_RTL_OBJECT_H_
