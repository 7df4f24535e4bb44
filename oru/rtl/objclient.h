// How the framework gets an allocator object.
#ifndef ORU_RTL_OBJCLIENT_H_
#define ORU_RTL_OBJCLIENT_H_

#include "oru/rtl/allocator.h"
#include "oru/rtl/object_ptr.h"

namespace oru {

// A new allocator object over malloc, realloc and free; each call makes another. Throws
// CreateInstanceException with class 0, the position "oru/rtl/objclient", line 185, and the result
// code when it can't be made: errOutOfMemory when there is no memory for it.
[[nodiscard]] ObjectPtr<IAllocator> GetProcessAllocator();

}  // namespace oru

#endif  // ORU_RTL_OBJCLIENT_H_
