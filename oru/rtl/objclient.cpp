#include "oru/rtl/objclient.h"

#include <cstdint>

#include "oru/rtl/alloc_std.h"
#include "oru/rtl/exception.h"
#include "oru/rtl/exception_guard.h"
#include "oru/rtl/service_locator.h"
#include "oru/rtl/trace_level.h"

namespace oru {
namespace {

// A fixed position: part of what is shown, so it doesn't move with the code.
constexpr char kSourceFile[] = "oru/rtl/objclient";
constexpr std::uint32_t kCreationLine = 185;

// The class number of an object that is made without a class factory.
constexpr std::uint32_t kNoClass = 0;

// Stores a new object in `out`. An exception on the way is traced through `locator` and gives its
// code.
ResultCode CreateAllocator(IServiceLocator* locator, ObjectPtr<IAllocator>* out) noexcept {
  try {
    out->Attach(SimpleObjectFactory::Create<AllocStdObject>());
    return sOk;
  } catch (...) {
    return ExceptionGuard(locator, kTraceLevelError, "Exception during object construction: ");
  }
}

}  // namespace

ObjectPtr<IAllocator> GetProcessAllocator() {
  ObjectPtr<IAllocator> allocator;
  // Nobody offers services in this process, so a failure leaves no trace of its own.
  const ResultCode rc = CreateAllocator(/*locator=*/nullptr, &allocator);
  if (ORU_FAILED(rc)) throw CreateInstanceException(kNoClass, kSourceFile, kCreationLine, rc);
  return allocator;
}

}  // namespace oru
