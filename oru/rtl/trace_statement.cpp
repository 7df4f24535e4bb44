#include "oru/rtl/trace_statement.h"

#include "oru/rtl/last_error_keeper.h"
#include "oru/rtl/record_handle.h"

namespace oru {
namespace {

// Gives the tracer, or null when it can't be had.
ITracer* TracerOf(TracerSource source) noexcept {
  try {
    return source();
  } catch (...) {
    return nullptr;
  }
}

// A refused record costs one call of the tracer, and no argument is evaluated.
bool OpenRecord(RecordHandle& record, ITracer* tracer, std::uint32_t level) noexcept {
  try {
    return record.Open(tracer, level);
  } catch (...) {
    return false;
  }
}

// What the arguments throw ends the insertion and nothing else.
void RunInserter(detail::RecordInserter insert, void* context, TraceStream& stream) noexcept {
  try {
    insert(context, stream);
  } catch (...) {
    // The record goes out with what it has.
  }
}

void CommitRecord(TraceStream& stream) noexcept {
  try {
    stream.Commit();
  } catch (...) {
    // Nobody is told: tracing doesn't change what the program does.
  }
}

}  // namespace

namespace detail {

void WriteTraceRecord(ITracer* tracer, std::uint32_t level, RecordInserter insert,
                      void* context) noexcept {
  const LastErrorKeeper keeper;
  RecordHandle record;
  if (!OpenRecord(record, tracer, level)) return;
  TraceStream stream(record);
  RunInserter(insert, context, stream);
  CommitRecord(stream);
}

void WriteTraceRecord(TracerSource source, std::uint32_t level, RecordInserter insert,
                      void* context) noexcept {
  const LastErrorKeeper keeper;
  ITracer* const tracer = TracerOf(source);
  // Making the first tracer may have cost the last error, which an argument may want to show.
  keeper.Restore();
  WriteTraceRecord(tracer, level, insert, context);
}

}  // namespace detail

bool IsTraceLevelAllowed(ITracer* tracer, std::uint32_t level) noexcept {
  const LastErrorKeeper keeper;
  try {
    // That one code only: a tracer that writes nothing answers with another failure.
    return tracer != nullptr &&
           tracer->ReserveRecord(level, /*buffer=*/nullptr, /*size=*/0) == errTraceLevelOk;
  } catch (...) {
    return false;
  }
}

}  // namespace oru
