// The tracer that sends its records to one channel.
#ifndef STANDALONE_TRACER_LIB_SIMPLE_CHANNEL_TRACER_H_
#define STANDALONE_TRACER_LIB_SIMPLE_CHANNEL_TRACER_H_

#include <cstdint>

#include "oru/rtl/allocator.h"
#include "oru/rtl/object_impl.h"
#include "oru/rtl/object_ptr.h"
#include "oru/rtl/result_code.h"
#include "oru/rtl/tracer.h"

namespace standalone::trace::detail {

// Made by oru::CreateObject. Leaves the thread's last error as it was. Records may be open on
// several threads at once; whether they may be committed so is up to the channel.
class SimpleChannelTracer : public oru::inherit_ifaces<oru::ITracer>,
                            private oru::ObjectModuleAutoLockTyped<SimpleChannelTracer>,
                            private oru::AllocatorProvider,
                            private oru::NonCopyable {
 public:
  // Adds a reference to `channel`, which must not be null: null is reported ("m_p"), and records
  // then go nowhere. Refuses records above `maxLevel`. Throws oru::CreateInstanceException when it
  // gets no allocator.
  SimpleChannelTracer(oru::tracer::IChannel* channel, std::uint32_t maxLevel);

  // A `size` that doesn't fit 32 bits together with the record's head gives errOutOfMemory.
  oru::ResultCode ReserveRecord(std::uint32_t level, char** buffer, std::uint32_t size) override;
  // What the channel throws passes, with the record's memory freed; its result is ignored.
  oru::ResultCode CommitRecord(char* buffer, std::uint32_t length) override;

 protected:
  ~SimpleChannelTracer() = default;

 private:
  [[nodiscard]] oru::ResultCode Open(std::uint32_t level, char** buffer, std::uint32_t size);
  [[nodiscard]] oru::ResultCode Grow(char** buffer, std::uint32_t size);
  void Deliver(const char* text, std::uint32_t length);

  oru::ObjectPtr<oru::tracer::IChannel> m_channel;
  std::uint32_t m_maxLevel;
};

}  // namespace standalone::trace::detail

#endif  // STANDALONE_TRACER_LIB_SIMPLE_CHANNEL_TRACER_H_
