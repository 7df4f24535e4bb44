// What a trace record has to hold, put together by the standard library's strings and streams.
#ifndef FUZZ_TRACE_MODEL_H_
#define FUZZ_TRACE_MODEL_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <ios>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include "oru/rtl/number_format.h"
#include "oru/rtl/trace_stream.h"

namespace fuzz {

// The record's area begins with 512 bytes and grows to twice that, or to just what is needed; the
// growth of number `failingGrowth` fails, and empties the record for good.
class TraceModel {
 public:
  explicit TraceModel(std::optional<unsigned> failingGrowth) : m_failingGrowth(failingGrowth) {}

  std::uint32_t flags = 0x201;
  std::uint32_t width = 0;
  char fill = ' ';

  [[nodiscard]] const std::string& Text() const { return m_text; }
  [[nodiscard]] std::size_t Capacity() const { return m_capacity; }

  // Whether there was place; for nothing there always is.
  bool Put(const std::string& text) {
    if (m_capacity == 0) return text.empty();
    const std::size_t need = m_text.size() + text.size();
    if (need > m_capacity) Grow(need);
    if (need > m_capacity) return false;
    m_text += text;
    return true;
  }

  // By the stream's own format, which the library's has the same words for: the width goes with
  // each insertion. Only a mark and a text apart, as "internal" takes them apart, it has not.
  void PutPadded(const std::string& prefix, const std::string& text) {
    const std::uint32_t adjust = flags & 0x1C0;
    if (adjust == 0x100 && !prefix.empty()) {
      const std::size_t length = prefix.size() + text.size();
      const std::size_t missing = width > length ? width - length : 0;
      Put(prefix + std::string(missing, fill) + text);
    } else {
      std::ostringstream stream;
      stream.setf(adjust == 0x040 ? std::ios::left : std::ios::right, std::ios::adjustfield);
      stream << std::setfill(fill) << std::setw(static_cast<int>(width)) << prefix + text;
      Put(stream.str());
    }
    width = 0;
  }
  void PutPadded(const std::string& text) { PutPadded("", text); }

  // By a format of its own. A fill of more than a byte of UTF-8 pads nothing.
  void PutFormatted(const std::string& prefix, const std::string& text,
                    const oru::FormatSpec& spec) {
    width = 0;
    const std::size_t length = prefix.size() + text.size();
    std::size_t missing = 0;
    if (spec.width > 0 && spec.fill < 0x80) {
      missing = std::max(static_cast<std::size_t>(spec.width), length) - length;
    }
    const std::string padding(missing, static_cast<char>(spec.fill));
    if (spec.alignment < 0) {
      Put(prefix + text + padding);
    } else if (spec.alignment == 0) {
      Put(prefix + padding + text);
    } else {
      Put(padding + prefix + text);
    }
  }

 private:
  void Grow(std::size_t need) {
    if (m_failingGrowth && m_growths++ == *m_failingGrowth) {
      m_text.clear();
      m_capacity = 0;
    } else {
      m_capacity = std::max(2 * m_capacity, need);
    }
  }

  std::string m_text;
  std::size_t m_capacity = 512;
  std::optional<unsigned> m_failingGrowth;
  unsigned m_growths = 0;
};

}  // namespace fuzz

#endif  // FUZZ_TRACE_MODEL_H_
