// Finding an object by interface and class number.
#ifndef ORU_RTL_SERVICE_LOCATOR_H_
#define ORU_RTL_SERVICE_LOCATOR_H_

#include <cstdint>

#include "oru/rtl/object.h"
#include "oru/rtl/result_code.h"

namespace oru {

// Finds objects by interface and class number. Only the first slot behind those of IObject is used
// here.
class IServiceLocator : public IObject {
 public:
  // Stores the interface in `out`, with one reference added, and gives sOk; else a failure.
  [[nodiscard]] virtual ResultCode GetInterface(InterfaceNumber iid, std::uint32_t classId,
                                                void** out) noexcept = 0;

 protected:
  ~IServiceLocator() = default;
};

// Asks `sl`. A null `sl` or `iface` is reported ("sl && iface") and gives errInvalidArgument.
[[nodiscard]] ResultCode GetService(IServiceLocator* sl, InterfaceNumber iid, std::uint32_t classId,
                                    void** iface) noexcept;

}  // namespace oru

#endif  // ORU_RTL_SERVICE_LOCATOR_H_
