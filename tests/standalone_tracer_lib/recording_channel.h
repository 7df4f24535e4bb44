// A channel that keeps what it is given, for tests of tracers.
#ifndef TESTS_STANDALONE_TRACER_LIB_RECORDING_CHANNEL_H_
#define TESTS_STANDALONE_TRACER_LIB_RECORDING_CHANNEL_H_

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "oru/rtl/object_impl.h"
#include "oru/rtl/result_code.h"
#include "oru/rtl/tracer.h"
#include "winapi/errors.h"

namespace tests {

class RecordingChannel : public oru::inherit_ifaces<oru::tracer::IChannel>,
                         private oru::ObjectModuleAutoLockTyped<RecordingChannel>,
                         private oru::NonCopyable {
 public:
  struct Written {
    std::string text;
    oru::tracer::TraceRecord record;
  };

  // The last error that every write leaves behind.
  static constexpr winapi::Error kLastError = 4711;

  oru::ResultCode WriteRecord(const oru::tracer::TraceRecord* record) override {
    winapi::SetLastError(kLastError);
    written.push_back({std::string(record->textBegin, record->textEnd), *record});
    return answer ? answer() : oru::sOk;
  }

  std::vector<Written> written;
  std::function<oru::ResultCode()> answer;

 protected:
  ~RecordingChannel() = default;
};

}  // namespace tests

#endif  // TESTS_STANDALONE_TRACER_LIB_RECORDING_CHANNEL_H_
