#include "oru/rtl/record_handle.h"

#include <utility>

#include "oru/rtl/check.h"
#include "oru/rtl/last_error_keeper.h"

namespace oru {
namespace {

// Growing never depends on the level; the highest one says so to a reader of a call log.
constexpr std::uint32_t kGrowLevel = 1000;

}  // namespace

bool RecordHandle::Open(ITracer* tracer, std::uint32_t level) {
  const LastErrorKeeper keeper;
  return OpenUnkept(tracer, level);
}

bool RecordHandle::OpenUnkept(ITracer* tracer, std::uint32_t level) {
  // An area that is still open is lost here: the interface has nothing to give one up by.
  m_text = nullptr;
  m_tracer = tracer;
  if (tracer == nullptr) return false;
  char* text = nullptr;
  // Exactly sOk: other successes don't open a record.
  if (tracer->ReserveRecord(level, &text, InitialCapacity) == sOk) m_text = text;
  return IsOpen();
}

ResultCode RecordHandle::Grow(std::uint32_t newCapacity) {
  ORU_CHECK(newCapacity >= InitialCapacity);
  // The call below would open a second record.
  if (!IsOpen()) return errOutOfMemory;
  const LastErrorKeeper keeper;
  const ResultCode rc = m_tracer->ReserveRecord(kGrowLevel, &m_text, newCapacity);
  return !ORU_FAILED(rc) && m_text == nullptr ? errOutOfMemory : rc;
}

void RecordHandle::Commit(std::uint32_t length) {
  char* const text = std::exchange(m_text, nullptr);
  if (text == nullptr) return;
  const LastErrorKeeper keeper;
  // The record is the tracer's from here on, whatever became of it.
  (void)m_tracer->CommitRecord(text, length);
}

}  // namespace oru
