// A trace record with every inserter, from its opening to the line of the trace file, against the
// standard library's strings and streams.
#include <fuzzer/FuzzedDataProvider.h>

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/input.h"
#include "fuzz/trace_model.h"
#include "fuzz/utf_rules.h"
#include "oru/rtl/exception.h"
#include "oru/rtl/exception_text.h"
#include "oru/rtl/object_impl.h"
#include "oru/rtl/record_handle.h"
#include "oru/rtl/trace_inserters.h"
#include "standalone_tracer_lib/simple_channel_tracer.h"
#include "standalone_tracer_lib/trace_lines.h"
#include "tests/support/object_stub.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/filesystem_object.h"
#include "zum_setup_util_lib/trace_list.h"

namespace {

using fuzz::Require;
using fuzz::TraceModel;

// Keeps the last record and the line that the trace file has of it.
class Channel final : public tests::ObjectStub<oru::tracer::IChannel> {
 public:
  oru::ResultCode WriteRecord(const oru::tracer::TraceRecord* given) override {
    record = *given;
    text.assign(given->textBegin, given->textEnd);
    line = standalone::trace::detail::ComposeRecord(*given);
    ++records;
    return oru::errUnexpected;  // nobody looks at it
  }

  oru::tracer::TraceRecord record{};
  std::string text;
  std::string line;
  unsigned records = 0;
};

// How a growth fails.
enum class Failure : std::uint8_t { kNone, kOutOfMemory, kThrow };

// The tracer behind it, but for one growth that fails.
class FailingTracer final : public tests::ObjectStub<oru::ITracer> {
 public:
  FailingTracer(oru::ITracer& tracer, Failure failure, unsigned growth)
      : m_tracer(tracer), m_failure(failure), m_growth(growth) {}

  oru::ResultCode ReserveRecord(std::uint32_t level, char** buffer, std::uint32_t size) override {
    const bool isGrowth = buffer != nullptr && *buffer != nullptr;
    if (isGrowth && m_failure != Failure::kNone && m_growths++ == m_growth) {
      if (m_failure == Failure::kThrow) throw std::bad_alloc();
      return oru::errOutOfMemory;
    }
    return m_tracer.ReserveRecord(level, buffer, size);
  }
  oru::ResultCode CommitRecord(char* buffer, std::uint32_t length) override {
    return m_tracer.CommitRecord(buffer, length);
  }

 private:
  oru::ITracer& m_tracer;
  Failure m_failure;
  unsigned m_growth;
  unsigned m_growths = 0;
};

template <typename Integer>
std::string InBase(Integer value, unsigned base) {
  char buffer[72];
  return {buffer,
          std::to_chars(buffer, buffer + sizeof(buffer), value, static_cast<int>(base)).ptr};
}

// What of it a zero-terminated text is.
template <typename Text>
Text UpToZero(const Text& text) {
  return text.substr(0, text.find(typename Text::value_type()));
}

std::string Mark(bool isShown, unsigned base) {
  if (!isShown) return "";
  return base == 16 ? "0x" : base == 8 ? "0" : "";
}

std::string EightDigits(oru::ResultCode code) {
  char text[16];
  (void)std::snprintf(text, sizeof(text), "%08x", static_cast<std::uint32_t>(code));
  return text;
}

// The stream and its model, told the same.
class Pair {
 public:
  Pair(FuzzedDataProvider& input, oru::TraceStream& stream, TraceModel& model)
      : m_input(input), m_stream(stream), m_model(model) {}

  void InsertOne() {
    switch (m_input.ConsumeIntegralInRange(0, 13)) {
      case 0:
        return SetFormat();
      case 1:
        return InsertNarrow();
      case 2:
        return InsertWide();
      case 3:
        return InsertNull();
      case 4:
        return InsertPlainNumber();
      case 5:
        return InsertInBase();
      case 6:
        return InsertResultCode();
      case 7:
        return InsertFormatted<std::uint16_t>();
      case 8:
        return InsertFormatted<std::uint32_t>();
      case 9:
        return InsertFormatted<std::uint64_t>();
      case 10:
        return InsertFormattedText();
      case 11:
        return InsertList();
      case 12:
        return InsertException();
      default:
        return ReserveAndFill();
    }
  }

 private:
  std::string TakeNarrow() { return m_input.ConsumeRandomLengthString(300); }
  std::u16string TakeWide() { return fuzz::TakeText(m_input, 40); }

  void SetFormat() {
    m_model.flags = m_input.ConsumeIntegralInRange(0U, 0xFFFU);
    m_model.width = m_input.ConsumeBool() ? m_input.ConsumeIntegralInRange(0U, 3000U)
                                          : m_input.ConsumeIntegralInRange(0U, 30U);
    m_model.fill = static_cast<char>(m_input.ConsumeIntegral<std::uint8_t>());
    m_stream.SetFlags(m_model.flags);
    m_stream.SetWidth(m_model.width);
    m_stream.SetFill(m_model.fill);
  }

  void InsertNarrow() {
    const std::string text = TakeNarrow();
    switch (m_input.ConsumeIntegralInRange(0, 3)) {
      case 0:
        m_stream << text.c_str();
        return m_model.PutPadded(UpToZero(text));
      case 1:
        m_stream << std::string_view(text);
        return m_model.PutPadded(text);
      case 2:
        m_stream << oru::String8(std::string_view(text));
        return m_model.PutPadded(text);
      default: {
        const auto prefix = m_input.ConsumeIntegralInRange<std::size_t>(0, text.size() + 1);
        m_stream.InsertPadded(text, prefix);
        const std::size_t cut = std::min(prefix, text.size());
        return m_model.PutPadded(text.substr(0, cut), text.substr(cut));
      }
    }
  }

  void InsertWide() {
    const std::u16string text = TakeWide();
    switch (m_input.ConsumeIntegralInRange(0, 2)) {
      case 0:
        m_stream << text.c_str();
        return m_model.PutPadded(fuzz::Utf8ByRule(UpToZero(text)));
      case 1:
        m_stream << std::u16string_view(text);
        break;
      default:
        m_stream << oru::String16(std::u16string_view(text));
        break;
    }
    m_model.PutPadded(fuzz::Utf8ByRule(text));
  }

  void InsertNull() {
    if (m_input.ConsumeBool()) {
      m_stream << static_cast<const char*>(nullptr);
    } else {
      m_stream << static_cast<const char16_t*>(nullptr);
    }
    m_model.PutPadded("(null)");
  }

  void InsertPlainNumber() {
    const auto value = m_input.ConsumeIntegral<std::uint64_t>();
    const unsigned base = (m_model.flags & 0x800) != 0 ? 16 : (m_model.flags & 0x400) != 0 ? 8 : 10;
    const std::string mark = Mark((m_model.flags & 8) != 0, base);
    switch (m_input.ConsumeIntegralInRange(0, 2)) {
      case 0:
        m_stream << static_cast<std::uint16_t>(value);
        return m_model.PutPadded(mark, InBase(static_cast<std::uint16_t>(value), base));
      case 1:
        m_stream << static_cast<std::uint32_t>(value);
        return m_model.PutPadded(mark, InBase(static_cast<std::uint32_t>(value), base));
      default:
        m_stream << value;
        return m_model.PutPadded(mark, InBase(value, base));
    }
  }

  void InsertInBase() {
    const auto value = m_input.ConsumeIntegral<std::uint64_t>();
    const auto asked = m_input.ConsumeIntegralInRange(0U, 20U);
    m_stream.InsertUnsigned(value, asked);
    const unsigned base = asked < 2 ? 10 : std::min(asked, 16U);
    m_model.PutPadded(Mark((m_model.flags & 8) != 0, base), InBase(value, base));
  }

  void InsertResultCode() {
    const auto code = m_input.ConsumeIntegral<oru::ResultCode>();
    m_stream << oru::ResultCodeText{code};
    m_model.PutPadded("0x");
    m_model.PutFormatted("", EightDigits(code), {});
  }

  oru::FormatSpec TakeSpec() {
    oru::FormatSpec spec;
    spec.width = m_input.ConsumeIntegralInRange(-2, m_input.ConsumeBool() ? 2000 : 30);
    spec.base = m_input.ConsumeBool() ? m_input.PickValueInArray({8, 10, 16})
                                      : m_input.ConsumeIntegralInRange(2, 36);
    spec.limit = m_input.ConsumeIntegralInRange(-1, 50);
    spec.alignment = m_input.ConsumeIntegralInRange(-1, 2);
    spec.fill = m_input.ConsumeIntegralInRange(0U, 0x90U);
    spec.showBase = m_input.ConsumeBool();
    return spec;
  }

  template <typename Unsigned>
  void InsertFormatted() {
    using Signed = std::make_signed_t<Unsigned>;
    const oru::FormatSpec spec = TakeSpec();
    const auto base = static_cast<unsigned>(spec.base);
    const auto value = m_input.ConsumeIntegral<Unsigned>();
    const bool isSigned = m_input.ConsumeBool();
    if (!isSigned) {
      m_stream << oru::Format(value, spec);
    } else {
      m_stream << oru::Format(static_cast<Signed>(value), spec);
    }
    if (isSigned && base == 10 && static_cast<Signed>(value) < 0) {
      return m_model.PutFormatted("-", InBase(static_cast<Signed>(value), 10).substr(1), spec);
    }
    m_model.PutFormatted(Mark(spec.showBase, base), InBase(value, base), spec);
  }

  void InsertFormattedText() {
    const oru::FormatSpec spec = TakeSpec();
    const auto limit = spec.limit < 0 ? std::string::npos : static_cast<std::size_t>(spec.limit);
    switch (m_input.ConsumeIntegralInRange(0, 2)) {
      case 0: {
        const std::string text = TakeNarrow();
        m_stream << oru::Format(text.c_str(), spec);
        return m_model.PutFormatted("", UpToZero(text).substr(0, limit), spec);
      }
      case 1: {
        const std::u16string text = TakeWide();
        m_stream << oru::Format(text.c_str(), spec);
        const std::u16string cut = UpToZero(text).substr(0, limit);
        return m_model.PutFormatted("", fuzz::Utf8ByRule(cut), spec);
      }
      default:
        m_stream << oru::Format(static_cast<const char*>(nullptr), spec);
        return m_model.PutFormatted("", std::string("(null)").substr(0, limit), spec);
    }
  }

  void InsertList() {
    std::vector<correct_setup::FilesystemObject> objects;
    for (int left = m_input.ConsumeIntegralInRange(0, 4); left > 0; --left) {
      const auto type = m_input.ConsumeIntegralInRange<std::int32_t>(0, 2);
      objects.push_back({TakeWide(), static_cast<correct_setup::FilesystemObjectType>(type)});
    }
    m_stream << correct_setup::TraceList{objects};
    m_model.PutPadded("[ ");
    for (std::size_t i = 0; i < objects.size(); ++i) {
      if (i != 0) m_model.PutPadded(",");
      const auto type = static_cast<std::int32_t>(objects[i].m_type);
      if (type < 2) m_model.PutPadded(type == 0 ? "file:" : "dir:");
      m_model.PutPadded(fuzz::Utf8ByRule(objects[i].m_name));
    }
    m_model.PutPadded(" ]");
  }

  // Two links, the inner one with a result code.
  void InsertException() {
    const std::u16string outer = TakeWide();
    const std::u16string inner = TakeWide();
    const auto line = m_input.ConsumeIntegral<std::uint32_t>();
    oru::CheckFailedException exception("folder/file", line);
    exception << std::u16string_view(outer);
    const bool hasInner = m_input.ConsumeBool();
    if (hasInner) {
      exception.SetInner(oru::ResultCodeException(nullptr, line, oru::errOutOfMemory)
                         << std::u16string_view(inner));
    }
    m_stream << static_cast<const oru::Exception&>(exception);

    const std::string position = "(" + std::to_string(line) + ") ";
    m_model.PutPadded("CheckFailedException - " + fuzz::Utf8ByRule(outer) + ". At folder/file" +
                      position);
    if (!hasInner) return;
    m_model.PutPadded(";");
    m_model.PutPadded("ResultCodeException - " + fuzz::Utf8ByRule(inner) +
                      (inner.empty() ? "" : ": ") + "0x80000041 (Out of memory). At " + position);
  }

  // The place that inserters of other folders may write into themselves.
  void ReserveAndFill() {
    const auto count = m_input.ConsumeBool() ? m_input.ConsumeIntegralInRange(0U, 700U)
                                             : 0xFFFFFFFFU - m_stream.Length() + 1;
    char* const place = m_stream.Reserve(count);
    if (count > 700) {
      // A sum that wraps has no place; at a length of 0 it is a byte less than that.
      return Require(place == nullptr || count == 0, "what can't be counted has no place");
    }
    const bool hasPlace = m_model.Put(std::string(count, '#'));
    Require((place != nullptr) == hasPlace, "there is place when the rule says so");
    if (hasPlace) std::memset(place, '#', count);
  }

  FuzzedDataProvider& m_input;
  oru::TraceStream& m_stream;
  TraceModel& m_model;
};

// The zone is UTC.
void CheckRecord(const Channel& channel, const std::string& text, std::uint32_t level,
                 std::uint64_t ticks) {
  static constexpr const char* kNames[] = {"NON", "ALW", "CRT", "ERR", "DNG", "WRN",
                                           "IMP", "INF", "DBG", "PRN", "ANY"};
  Require(channel.records == 1, "one record is delivered");
  Require(channel.text == text, "the record holds what was inserted");
  Require(channel.record.level == level, "the record has its level");
  Require(channel.record.time == ticks, "the record has the commit's time");
  const std::uint64_t milliseconds = ticks / 10000;
  char head[64];
  (void)std::snprintf(
      head, sizeof(head), "%02d:%02d:%02d.%03d\t0x%llx\t%s\t",
      static_cast<int>(milliseconds / 3600000 % 24), static_cast<int>(milliseconds / 60000 % 60),
      static_cast<int>(milliseconds / 1000 % 60), static_cast<int>(milliseconds % 1000),
      static_cast<unsigned long long>(channel.record.threadId),
      level % 100 == 0 && level <= 1000 ? kNames[level / 100] : "???");
  Require(channel.line == head + text, "the line is the record's");
}

// The file's first and last lines, by the C library's calendar.
void CheckHeaderAndFooter(std::uint64_t ticks, std::uint32_t process) {
  const auto seconds = static_cast<std::time_t>(ticks / 10000000) - std::time_t{11644473600};
  std::tm time{};
  Require(::gmtime_r(&seconds, &time) != nullptr, "the C library knows the day");
  char minute[64];
  (void)std::snprintf(minute, sizeof(minute), "%02d.%02d.%04d %02d:%02d", time.tm_mday,
                      time.tm_mon + 1, time.tm_year + 1900, time.tm_hour, time.tm_min);
  const std::string at(minute);
  const std::string header = "TVX TRACE FILE\tTime: " + at + "  PID: " + InBase(process, 10) +
                             "(0x" + InBase(process, 16) + ")\r\nCommand line: a b\r\n" +
                             "Time(UTC) : " + at + "  \r\n\r\n";
  Require(standalone::trace::detail::ComposeHeader({ticks}, process, "a b") == header,
          "the header has the calendar's time");
  char second[8];
  (void)std::snprintf(second, sizeof(second), ":%02d", time.tm_sec);
  Require(standalone::trace::detail::ComposeFooter({ticks}) ==
              "End of trace file, time: " + at + second,
          "the footer has the calendar's time");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  winapi::host::SetTimeZone("UTC");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const auto failure = static_cast<Failure>(input.ConsumeIntegralInRange(0, 2));
  const auto growth = input.ConsumeIntegralInRange(0U, 3U);
  const auto level = input.ConsumeIntegralInRange(0U, 11U) * 100 + (input.ConsumeBool() ? 50 : 0);
  const std::uint64_t ticks = input.ConsumeIntegral<std::uint64_t>() >> 2;
  winapi::host::SetClock(ticks);
  CheckHeaderAndFooter(ticks, static_cast<std::uint32_t>(ticks >> 7));

  Channel channel;
  {
    const auto tracer =
        oru::CreateObject<standalone::trace::detail::SimpleChannelTracer>(&channel, 1100U);
    FailingTracer failing(*tracer, failure, growth);
    oru::RecordHandle handle;
    const bool isOpen = handle.Open(&failing, level);
    Require(isOpen == (level <= 1100), "a record opens up to the tracer's level");
    if (!isOpen) return 0;
    oru::TraceStream stream(handle);
    TraceModel model(failure == Failure::kNone ? std::nullopt : std::optional(growth));
    Pair pair(input, stream, model);
    while (input.remaining_bytes() > 0) {
      pair.InsertOne();
      Require(stream.Length() == model.Text().size(), "the length is what was inserted");
      Require(stream.Capacity() == model.Capacity(), "the area has grown by the rule");
    }
    stream.Commit();
    Require(stream.Reserve(1) == nullptr, "nothing is inserted behind the commit");
    CheckRecord(channel, model.Text(), level, ticks);
  }
  Require(channel.references == 0, "the tracer lets go of its channel");
  return 0;
}
