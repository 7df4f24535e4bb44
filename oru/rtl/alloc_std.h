// The allocator over the C library's heap.
#ifndef ORU_RTL_ALLOC_STD_H_
#define ORU_RTL_ALLOC_STD_H_

#include <cstddef>

#include "oru/rtl/allocator.h"
#include "oru/rtl/object_impl.h"

namespace oru {

// malloc, realloc and free. A Realloc to 0 bytes is taken as one to 1 byte: the C library may free
// the old block and give null for it, which here would mean that the old block is still there.
class AllocStd : public inherit_ifaces<IAllocator>,
                 private ObjectModuleAutoLockTyped<AllocStd>,
                 private NonCopyable {
 public:
  using ObjectModuleAutoLockTyped<AllocStd>::LiveCount;

  [[nodiscard]] void* Alloc(std::size_t size) noexcept override;
  [[nodiscard]] void* Realloc(void* pointer, std::size_t size) noexcept override;
  void Free(void* pointer) noexcept override;

 protected:
  ~AllocStd() = default;
};

using AllocStdObject = Object<AllocStd, SimpleObjectFactory>;

}  // namespace oru

#endif  // ORU_RTL_ALLOC_STD_H_
