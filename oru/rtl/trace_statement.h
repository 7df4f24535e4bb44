// The statement that writes one record: ORU_TRACE. trace.h tells how it is used and what it
// promises.
#ifndef ORU_RTL_TRACE_STATEMENT_H_
#define ORU_RTL_TRACE_STATEMENT_H_

#include <cstdint>
#include <type_traits>

#include "oru/rtl/trace_stream.h"
#include "oru/rtl/tracer.h"

namespace oru {

using TracerSource = ITracer* (*)();

namespace detail {

using RecordInserter = void (*)(void* context, TraceStream& stream);

// Runs `insert(context, stream)` on a record at `level`, if one opens.
void WriteTraceRecord(TracerSource source, std::uint32_t level, RecordInserter insert,
                      void* context) noexcept;
void WriteTraceRecord(ITracer* tracer, std::uint32_t level, RecordInserter insert,
                      void* context) noexcept;

// `source` is a TracerSource or an ITracer*, `insert` takes the stream.
template <typename Source, typename Insert>
void TraceStatement(Source source, std::uint32_t level, Insert&& insert) noexcept {
  WriteTraceRecord(
      source, level,
      [](void* context, TraceStream& stream) {
        (*static_cast<std::remove_reference_t<Insert>*>(context))(stream);
      },
      &insert);
}

}  // namespace detail

// True exactly when the tracer answers the probe with errTraceLevelOk; false for a null tracer.
[[nodiscard]] bool IsTraceLevelAllowed(ITracer* tracer, std::uint32_t level) noexcept;

}  // namespace oru

#define ORU_TRACE(level, ...)                                                               \
  ::oru::detail::TraceStatement(&::GetTracer, (level), [&](::oru::TraceStream& oruStream) { \
    (void)(oruStream << __VA_ARGS__);                                                       \
  })

#endif  // ORU_RTL_TRACE_STATEMENT_H_
