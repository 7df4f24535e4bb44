#include "oru/rtl/trace_stream.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "oru/rtl/text_conversion.h"

namespace oru {
namespace {

// Sizes cross the tracer's interface in 32 bits; they are added up in 64.
constexpr std::uint64_t kMaxBytes = std::numeric_limits<std::uint32_t>::max();

// Writes into a place that was reserved for exactly what is written.
class Writer {
 public:
  explicit Writer(char* place) noexcept : m_at(place) {}

  void Fill(std::uint32_t n, char fill) noexcept { m_at = std::fill_n(m_at, n, fill); }
  void Put(std::string_view text) noexcept { m_at = std::copy(text.begin(), text.end(), m_at); }
  // `length` is the text's as UTF-8, in bytes.
  void PutUtf8(std::u16string_view text, std::uint64_t length) noexcept {
    WriteUtf8(text, m_at);
    m_at += length;
  }

 private:
  char* m_at;
};

std::uint64_t TotalLength(const Padding& padding, std::uint64_t length) noexcept {
  return length + padding.front + padding.between + padding.behind;
}

Padding FormatPadding(const FormatSpec& spec, std::uint64_t length) noexcept {
  // The width counts bytes here, and other fills take more than one.
  if (spec.fill > 0x7F) return {};
  return PaddingFor(spec, static_cast<std::size_t>(std::min(length, kMaxBytes)));
}

}  // namespace

TraceStream::TraceStream(RecordHandle& handle) noexcept : m_handle(handle), m_data(handle.Text()) {}

char* TraceStream::Reserve(std::uint32_t n) noexcept {
  const std::uint32_t need = m_length + n;
  // Committed, lost by a tracer, or a sum that wraps: the insertion is left out.
  if (m_data == nullptr || need < n) return nullptr;
  // A capacity of 0 is what a failed growth leaves: the record stays empty.
  if (need > m_capacity && m_capacity != 0) Grow(need);
  if (need > m_capacity || m_data == nullptr) return nullptr;
  char* const place = m_data + m_length;
  m_length = need;
  return place;
}

void TraceStream::Grow(std::uint32_t need) noexcept {
  // Twice the capacity may wrap; `need` is the larger one then.
  const std::uint32_t newCapacity = std::max(m_capacity * 2, need);
  bool grown = false;
  try {
    grown = !ORU_FAILED(m_handle.Grow(newCapacity));
  } catch (...) {
    // Whatever the tracer throws, it has given no place.
  }
  m_capacity = grown ? newCapacity : 0;
  // All or nothing: the beginning of a record without its end would be taken for the whole.
  if (!grown) m_length = 0;
  // A tracer may have moved the area, and may have lost it in failing.
  m_data = m_handle.Text();
}

void TraceStream::Commit() {
  // Before the call: what the tracer throws leaves a stream that takes nothing more either.
  m_data = nullptr;
  m_handle.Commit(m_length);
}

Padding TraceStream::TakePadding(std::uint64_t length) noexcept {
  // Taken back even when the insertion finds no place, as the host's library does.
  const std::uint32_t width = std::exchange(m_width, 0);
  if (width <= length) return {};
  const std::uint32_t count = width - static_cast<std::uint32_t>(length);
  switch (m_flags & kAdjustField) {
    case kLeft:
      return {.behind = count};
    case kInternal:
      return {.between = count};
    default:
      return {.front = count};
  }
}

void TraceStream::InsertParts(std::string_view prefix, std::string_view text,
                              const Padding& padding, char fill) noexcept {
  const std::uint64_t total = TotalLength(padding, prefix.size() + text.size());
  if (total > kMaxBytes) return;
  char* const place = Reserve(static_cast<std::uint32_t>(total));
  if (place == nullptr) return;
  Writer writer(place);
  writer.Fill(padding.front, fill);
  writer.Put(prefix);
  writer.Fill(padding.between, fill);
  writer.Put(text);
  writer.Fill(padding.behind, fill);
}

ResultCode TraceStream::InsertUtf16Parts(std::u16string_view text, std::uint64_t length,
                                         const Padding& padding, char fill) noexcept {
  const std::uint64_t total = TotalLength(padding, length);
  if (total > kMaxBytes) return errOutOfMemory;
  char* const place = Reserve(static_cast<std::uint32_t>(total));
  if (place == nullptr) return errOutOfMemory;
  Writer writer(place);
  writer.Fill(padding.front + padding.between, fill);
  writer.PutUtf8(text, length);
  writer.Fill(padding.behind, fill);
  return sOk;
}

void TraceStream::InsertPadded(std::string_view text, std::size_t prefix) noexcept {
  // The prefix is a part of the text here, only its place matters.
  prefix = std::min(prefix, text.size());
  InsertParts(text.substr(0, prefix), text.substr(prefix), TakePadding(text.size()), m_fill);
}

ResultCode TraceStream::InsertUtf16(std::u16string_view text) noexcept {
  // Two passes over the text: the place has to be reserved in one piece.
  const std::uint64_t length = CountUtf8(text);
  return InsertUtf16Parts(text, length, TakePadding(length), m_fill);
}

void TraceStream::InsertUnsigned(std::uint64_t value, unsigned base) noexcept {
  const NumberText number =
      MakeNumberText(value, {.base = static_cast<std::int32_t>(std::min(base, 16u)),
                             .showBase = (m_flags & kShowBase) != 0});
  InsertParts(number.Prefix(), number.Digits(),
              TakePadding(number.Prefix().size() + number.Digits().size()), m_fill);
}

void TraceStream::InsertFormatted(std::string_view prefix, std::string_view text,
                                  const FormatSpec& spec) noexcept {
  m_width = 0;
  InsertParts(prefix, text, FormatPadding(spec, prefix.size() + text.size()),
              static_cast<char>(spec.fill));
}

ResultCode TraceStream::InsertFormatted(std::u16string_view text, const FormatSpec& spec) noexcept {
  m_width = 0;
  const std::uint64_t length = CountUtf8(text);
  return InsertUtf16Parts(text, length, FormatPadding(spec, length), static_cast<char>(spec.fill));
}

}  // namespace oru
