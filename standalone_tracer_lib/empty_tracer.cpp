#include "standalone_tracer_lib/empty_tracer.h"

#include <cstdint>

#include "oru/rtl/object_impl.h"
#include "oru/rtl/result_code.h"

namespace standalone::trace {
namespace detail {

class EmptyTracer : public oru::inherit_ifaces<oru::ITracer>,
                    private oru::ObjectModuleAutoLockTyped<EmptyTracer>,
                    private oru::NonCopyable {
 public:
  EmptyTracer() noexcept = default;

  // Neither allows nor prohibits a level: every failure keeps a statement from its arguments.
  oru::ResultCode ReserveRecord(std::uint32_t /*level*/, char** /*buffer*/,
                                std::uint32_t /*size*/) override {
    return oru::errNotImplemented;
  }
  oru::ResultCode CommitRecord(char* /*buffer*/, std::uint32_t /*length*/) override {
    return oru::errNotImplemented;
  }

 protected:
  ~EmptyTracer() = default;
};

}  // namespace detail

oru::ObjectPtr<oru::ITracer> CreateEmptyTracer() {
  return oru::CreateObject<detail::EmptyTracer>();
}

}  // namespace standalone::trace
