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
