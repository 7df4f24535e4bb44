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
    return record.OpenUnkept(tracer, level);
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

void WriteRecord(const LastErrorKeeper& keeper, ITracer* tracer, std::uint32_t level,
                 detail::RecordInserter insert, void* context) noexcept {
  RecordHandle record;
  if (!OpenRecord(record, tracer, level)) return;
  keeper.Restore();
  TraceStream stream(record);
  RunInserter(insert, context, stream);
  CommitRecord(stream);
}

}  // namespace

namespace detail {

// The last error is asked for once and given back at the end; an argument that is evaluated sees it
// too, whatever the first use of the tracer, or the opening, has cost.
void WriteTraceRecord(TracerSource source, std::uint32_t level, RecordInserter insert,
                      void* context) noexcept {
  const LastErrorKeeper keeper;
  WriteRecord(keeper, TracerOf(source), level, insert, context);
}

void WriteTraceRecord(ITracer* tracer, std::uint32_t level, RecordInserter insert,
                      void* context) noexcept {
  const LastErrorKeeper keeper;
  WriteRecord(keeper, tracer, level, insert, context);
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
