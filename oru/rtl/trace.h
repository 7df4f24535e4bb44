// How code traces: the record statement, and the scope that writes its begin and end.
//
//   ORU_TRACE(oru::kTraceLevelInfo, "setup\t[name] " << "path = " << path);
//
//   oru::TraceScope scope;
//   ORU_TRACE_SCOPE(scope, oru::kTraceLevelInfo, u"setup\t[name] ");
//
// A refused statement evaluates none of its arguments. Tracing never changes the outcome of a run:
// what a statement or a scope throws on its way (a tracer, an argument, a channel) is dropped
// there, and a record that is open by then is committed with what it has. The thread's last error
// stays as it was, for the arguments too. An argument doesn't replace the process's tracer.
#ifndef ORU_RTL_TRACE_H_
#define ORU_RTL_TRACE_H_

#include <cstdint>
#include <optional>
#include <type_traits>

#include "oru/rtl/object_ptr.h"
#include "oru/rtl/string.h"
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

// Writes its name with " begin" when started and with " end" when it dies, at level 700; silent
// when it was never started. Keeps a reference of its own to its tracer, so that the end goes where
// the begin went.
class TraceScope {
 public:
  TraceScope() noexcept = default;
  TraceScope(const TraceScope&) = delete;
  TraceScope& operator=(const TraceScope&) = delete;
  ~TraceScope();

  // Nothing happens when memory for the name runs out, or for a null tracer. A scope that is
  // started already ends first.
  void Start(ITracer* tracer, const String16& name) noexcept;

 private:
  void Finish() noexcept;
  void Write(const char* event) noexcept;

  std::optional<String16> m_name;
  ObjectPtr<ITracer> m_tracer;
};

namespace detail {
// Probes at `level` and starts the scope when the probe allows it; the name is composed only then.
void StartTraceScope(TraceScope& scope, TracerSource source, std::uint32_t level,
                     const char16_t* name) noexcept;
}  // namespace detail

}  // namespace oru

#define ORU_TRACE(level, ...)                                                               \
  ::oru::detail::TraceStatement(&::GetTracer, (level), [&](::oru::TraceStream& oruStream) { \
    (void)(oruStream << __VA_ARGS__);                                                       \
  })

#define ORU_TRACE_SCOPE(scope, level, name) \
  ::oru::detail::StartTraceScope((scope), &::GetTracer, (level), (name))

#endif  // ORU_RTL_TRACE_H_
