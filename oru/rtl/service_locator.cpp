#include "oru/rtl/service_locator.h"

#include "oru/rtl/check.h"

namespace oru {

ResultCode GetService(IServiceLocator* sl, InterfaceNumber iid, std::uint32_t classId,
                      void** iface) noexcept {
  ORU_CHECK(sl && iface);
  // A report stops nothing, so the call through null has to be kept from as well.
  if (sl == nullptr || iface == nullptr) return errInvalidArgument;
  return sl->GetInterface(iid, classId, iface);
}

}  // namespace oru
