// The process-wide trace interface. Nothing but pointers and integers crosses it.
#ifndef ORU_RTL_TRACER_H_
#define ORU_RTL_TRACER_H_

#include <cstdint>

#include "oru/rtl/object.h"
#include "oru/rtl/result_code.h"

namespace oru {

// Bytes of a record's text area when it is opened.
inline constexpr std::uint32_t InitialCapacity = 512;

class ITracer : public IObject {
 public:
  static constexpr InterfaceNumber kInterfaceNumber = 0x6EF3329B;

  // Three uses. `buffer` null: a probe, errTraceLevelOk or errTraceLevelProhibited. `*buffer` null:
  // opens a record at `level` with a text area of `size` bytes, all zero, whose address goes to
  // `*buffer`; errNotMatched above the maximum. Else: grows the text area to `size` bytes, whatever
  // `level` is. An allocation that fails gives errOutOfMemory and leaves `*buffer` alone.
  [[nodiscard]] virtual ResultCode ReserveRecord(std::uint32_t level, char** buffer,
                                                 std::uint32_t size) = 0;
  // Delivers `length` bytes of a text area that ReserveRecord gave, and takes the area back.
  // errInvalidArgument for null.
  virtual ResultCode CommitRecord(char* buffer, std::uint32_t length) = 0;

 protected:
  ~ITracer() = default;
};

namespace tracer {

// A record as a channel gets it; valid during the call only.
struct TraceRecord {
  const char* textBegin;  // not terminated by a zero
  const char* textEnd;
  const char* reservedBegin;  // null
  const char* reservedEnd;
  const char* textBegin2;  // textBegin and textEnd once more
  const char* textEnd2;
  const char* reservedBegin2;  // null
  const char* reservedEnd2;
  std::uint64_t threadId;  // the high half is 0
  std::uint64_t reserved;  // 0
  std::uint64_t time;      // 100 ns ticks since 1601, UTC, of the commit
  std::uint32_t level;     // of the opening
  std::uint32_t processId;
};

class IChannel : public IObject {
 public:
  static constexpr InterfaceNumber kInterfaceNumber = 0x029286C5;

  virtual ResultCode WriteRecord(const TraceRecord* record) = 0;

 protected:
  ~IChannel() = default;
};

}  // namespace tracer
}  // namespace oru

// The process's tracer, without a reference added; exported from the program under this name. Never
// null once the process runs; callers test for null all the same. May throw std::bad_alloc at its
// first use.
extern "C" oru::ITracer* GetTracer();

#endif  // ORU_RTL_TRACER_H_
