// The stream that fills a trace record. trace_inserters.h has what can be inserted.
//
// Record text is 8-bit: 8-bit text goes in unchanged, 16-bit text as UTF-8. Sizes are bytes, in 32
// bits. All of this leaves the thread's last error as it was.
#ifndef ORU_RTL_TRACE_STREAM_H_
#define ORU_RTL_TRACE_STREAM_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "oru/rtl/number_format.h"
#include "oru/rtl/record_handle.h"
#include "oru/rtl/result_code.h"
#include "oru/rtl/tracer.h"

namespace oru {

// The stream over an open record, which outlives it. No insertion throws: one that fails writes
// nothing and goes on.
class TraceStream {
 public:
  // The formatting flags, with the values of the host's stream library.
  enum Flag : std::uint32_t {
    kSkipWhiteSpace = 0x001,
    kShowBase = 0x008,
    kLeft = 0x040,
    kRight = 0x080,
    kInternal = 0x100,
    kAdjustField = 0x1C0,
    kDecimal = 0x200,
    kOctal = 0x400,
    kHexadecimal = 0x800,
  };

  explicit TraceStream(RecordHandle& handle) noexcept;
  TraceStream(const TraceStream&) = delete;
  TraceStream& operator=(const TraceStream&) = delete;

  // The place for `n` more bytes, which count as written; null when there is none. The area
  // doubles, or grows to just what is needed if that is more. A growth that fails, or throws,
  // empties the record for good: nothing goes in any more, and an empty record is what is
  // committed.
  [[nodiscard]] char* Reserve(std::uint32_t n) noexcept;
  // Delivers what was written; nothing can be inserted from here on. What the tracer throws passes.
  void Commit();

  [[nodiscard]] std::uint32_t Flags() const noexcept { return m_flags; }
  void SetFlags(std::uint32_t flags) noexcept { m_flags = flags; }
  // In bytes, for the next insertion only.
  void SetWidth(std::uint32_t width) noexcept { m_width = width; }
  void SetFill(char fill) noexcept { m_fill = fill; }
  // Part of the state as the host's library has it; no insertion looks at it.
  [[nodiscard]] std::uint32_t Precision() const noexcept { return m_precision; }
  [[nodiscard]] std::uint32_t Length() const noexcept { return m_length; }
  [[nodiscard]] std::uint32_t Capacity() const noexcept { return m_capacity; }

  // Inserts text, padded to the width: in front, or behind for kLeft; for kInternal behind the
  // first `prefix` bytes.
  void InsertPadded(std::string_view text, std::size_t prefix) noexcept;
  // Inserts a number in `base`, limited to 16 (below 2 counts as 10), padded like text. kShowBase
  // puts "0x" in front in base 16 and "0" in base 8, also for 0.
  void InsertUnsigned(std::uint64_t value, unsigned base) noexcept;
  // Inserts 16-bit text as UTF-8, padded like text of that many bytes. errOutOfMemory when there is
  // no place.
  [[nodiscard]] ResultCode InsertUtf16(std::u16string_view text) noexcept;

  // The same three with the width, the alignment and the fill of `spec` in place of the stream's. A
  // fill above 0x7F isn't a single byte of UTF-8: nothing is padded then.
  void InsertFormatted(std::string_view prefix, std::string_view text,
                       const FormatSpec& spec) noexcept;
  [[nodiscard]] ResultCode InsertFormatted(std::u16string_view text,
                                           const FormatSpec& spec) noexcept;

 private:
  // Grows for `need` bytes in all.
  void Grow(std::uint32_t need) noexcept;
  // The padding of the next insertion, of `length` bytes; takes the width back to 0.
  [[nodiscard]] Padding TakePadding(std::uint64_t length) noexcept;
  void InsertParts(std::string_view prefix, std::string_view text, const Padding& padding,
                   char fill) noexcept;
  [[nodiscard]] ResultCode InsertUtf16Parts(std::u16string_view text, std::uint64_t length,
                                            const Padding& padding, char fill) noexcept;

  RecordHandle& m_handle;
  char* m_data;
  std::uint32_t m_capacity = InitialCapacity;
  std::uint32_t m_length = 0;
  std::uint32_t m_flags = kDecimal | kSkipWhiteSpace;
  std::uint32_t m_precision = 6;
  std::uint32_t m_width = 0;
  char m_fill = 0x20;
};

}  // namespace oru

#endif  // ORU_RTL_TRACE_STREAM_H_
