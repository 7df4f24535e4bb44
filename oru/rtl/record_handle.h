// A trace record between its opening and its commit.
#ifndef ORU_RTL_RECORD_HANDLE_H_
#define ORU_RTL_RECORD_HANDLE_H_

#include <cstdint>

#include "oru/rtl/result_code.h"
#include "oru/rtl/tracer.h"

namespace oru {

// A record's text area and the tracer that gave it. A null text area: not open, or committed
// already. Adds no reference: the tracer outlives the record. A handle that is dropped while open
// leaks its area. What the tracer throws passes through.
class RecordHandle {
 public:
  // True when the record is open, with an area of InitialCapacity bytes. A null tracer gives false.
  bool Open(ITracer* tracer, std::uint32_t level);
  // The same for a caller who keeps the thread's last error himself: the tracer may change it.
  bool OpenUnkept(ITracer* tracer, std::uint32_t level) {
    // An area that is still open is lost here: the interface has nothing to give one up by.
    m_text = nullptr;
    m_tracer = tracer;
    if (tracer == nullptr) return false;
    char* text = nullptr;
    // Exactly sOk: other successes don't open a record.
    if (tracer->ReserveRecord(level, &text, InitialCapacity) == sOk) m_text = text;
    return IsOpen();
  }
  // `newCapacity` in bytes, at least InitialCapacity, which is checked. errOutOfMemory also when
  // the tracer says yes and gives no area, and when the record isn't open.
  [[nodiscard]] ResultCode Grow(std::uint32_t newCapacity);
  // Delivers `length` bytes; does nothing when the text area is null.
  void Commit(std::uint32_t length);

  [[nodiscard]] bool IsOpen() const noexcept { return m_text != nullptr; }
  [[nodiscard]] char* Text() const noexcept { return m_text; }

 private:
  char* m_text = nullptr;
  ITracer* m_tracer = nullptr;
};

}  // namespace oru

#endif  // ORU_RTL_RECORD_HANDLE_H_
