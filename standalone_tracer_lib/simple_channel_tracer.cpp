#include "standalone_tracer_lib/simple_channel_tracer.h"

#include <cstring>

#include "oru/rtl/check.h"
#include "oru/rtl/last_error_keeper.h"
#include "oru/rtl/objclient.h"
#include "oru/system/datetime/datetime.h"
#include "winapi/process.h"

namespace standalone::trace::detail {
namespace {

using oru::tracer::IChannel;
using oru::tracer::TraceRecord;

// A record's memory starts with its level; the text area follows. Nothing else carries the level
// from opening to commit.
constexpr std::uint32_t kHeadSize = sizeof(std::uint32_t);

char* TextOf(void* record) noexcept { return static_cast<char*>(record) + kHeadSize; }
void* RecordOf(char* text) noexcept { return text - kHeadSize; }

std::uint32_t LevelOf(const char* text) noexcept {
  std::uint32_t level = 0;
  std::memcpy(&level, text - kHeadSize, kHeadSize);
  return level;
}

bool FitsWithHead(std::uint32_t size) noexcept { return size <= UINT32_MAX - kHeadSize; }

// Frees a record's memory on every way out.
class RecordReleaser {
 public:
  RecordReleaser(oru::IAllocator& allocator, char* text) noexcept
      : m_allocator(allocator), m_text(text) {}
  RecordReleaser(const RecordReleaser&) = delete;
  RecordReleaser& operator=(const RecordReleaser&) = delete;
  ~RecordReleaser() { m_allocator.Free(RecordOf(m_text)); }

 private:
  oru::IAllocator& m_allocator;
  char* m_text;
};

}  // namespace

SimpleChannelTracer::SimpleChannelTracer(IChannel* channel, std::uint32_t maxLevel)
    : AllocatorProvider(oru::GetProcessAllocator().Get()),
      m_channel(oru::ObjectPtr<IChannel>::Share(channel)),
      m_maxLevel(maxLevel) {
  ORU_CHECK_TEXT(m_channel, "m_p");
}

oru::ResultCode SimpleChannelTracer::ReserveRecord(std::uint32_t level, char** buffer,
                                                   std::uint32_t size) {
  const bool isAllowed = level <= m_maxLevel;
  // Three operations in one slot, told apart by the two pointers.
  if (buffer == nullptr) {
    return isAllowed ? oru::errTraceLevelOk : oru::errTraceLevelProhibited;
  }
  // A growth passes whatever level it likes.
  if (*buffer != nullptr) return Grow(buffer, size);
  return isAllowed ? Open(level, buffer, size) : oru::errNotMatched;
}

oru::ResultCode SimpleChannelTracer::Open(std::uint32_t level, char** buffer, std::uint32_t size) {
  const oru::LastErrorKeeper keeper;
  void* const record = FitsWithHead(size) ? m_alloc.get()->Alloc(size + kHeadSize) : nullptr;
  if (record == nullptr) return oru::errOutOfMemory;
  std::memcpy(record, &level, kHeadSize);
  *buffer = TextOf(record);
  // Nothing of the memory's past goes into the file where an inserter leaves a gap.
  std::memset(*buffer, 0, size);
  return oru::sOk;
}

oru::ResultCode SimpleChannelTracer::Grow(char** buffer, std::uint32_t size) {
  const oru::LastErrorKeeper keeper;
  void* const record =
      FitsWithHead(size) ? m_alloc.get()->Realloc(RecordOf(*buffer), size + kHeadSize) : nullptr;
  if (record == nullptr) return oru::errOutOfMemory;
  *buffer = TextOf(record);
  return oru::sOk;
}

oru::ResultCode SimpleChannelTracer::CommitRecord(char* buffer, std::uint32_t length) {
  if (buffer == nullptr) return oru::errInvalidArgument;
  const oru::LastErrorKeeper keeper;
  const RecordReleaser releaser(*m_alloc.get(), buffer);
  Deliver(buffer, length);
  return oru::sOk;
}

// Time, process and thread are those of this moment, not of the opening.
void SimpleChannelTracer::Deliver(const char* text, std::uint32_t length) {
  TraceRecord record{};
  record.level = LevelOf(text);
  record.time = oru::datetime::Now().ticks;
  record.processId = winapi::GetCurrentProcessId();
  record.threadId = winapi::GetCurrentThreadId();
  // The text stands there twice, and two further ranges are null.
  record.textBegin = record.textBegin2 = text;
  record.textEnd = record.textEnd2 = text + length;
  ORU_CHECK_TEXT(m_channel, "m_p");
  if (!m_channel) return;
  (void)m_channel->WriteRecord(&record);  // a channel that fails changes nothing
}

}  // namespace standalone::trace::detail
