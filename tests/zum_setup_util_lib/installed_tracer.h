// A recording tracer that is the process's tracer while it lives.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_INSTALLED_TRACER_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_INSTALLED_TRACER_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "oru/rtl/object_ptr.h"
#include "standalone_tracer_lib/empty_tracer.h"
#include "standalone_tracer_lib/tracer_holder.h"
#include "tests/support/recording_tracer.h"

namespace tests {

// Level and text of each record.
using TraceRecords = std::vector<std::pair<std::uint32_t, std::string>>;

class InstalledTracer {
 public:
  explicit InstalledTracer(std::uint32_t maximum = 700) : m_tracer(maximum) {
    Holder().Install(oru::ObjectPtr<oru::ITracer>::Share(&m_tracer));
  }
  InstalledTracer(const InstalledTracer&) = delete;
  InstalledTracer& operator=(const InstalledTracer&) = delete;
  ~InstalledTracer() { Holder().Install(standalone::trace::CreateEmptyTracer()); }

  RecordingTracer* operator->() { return &m_tracer; }
  const RecordingTracer* operator->() const { return &m_tracer; }

  [[nodiscard]] TraceRecords Records() const {
    TraceRecords records;
    for (const auto& record : m_tracer.Records()) records.emplace_back(record.level, record.text);
    return records;
  }

 private:
  static standalone::trace::TracerHolder& Holder() {
    return standalone::trace::TracerHolder::Instance();
  }

  RecordingTracer m_tracer;
};

// Expects that many scopes to have begun, each with a question for the level of its records.
inline void ExpectProbes(const InstalledTracer& tracer, std::size_t scopes) {
  using Seen = RecordingTracer::Seen;
  std::vector<Seen> probes;
  for (const Seen& call : tracer->Calls()) {
    if (call.call == RecordingTracer::Call::kProbe) probes.push_back(call);
  }
  EXPECT_EQ(probes, std::vector<Seen>(scopes, {RecordingTracer::Call::kProbe, 700, 0}));
}

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_INSTALLED_TRACER_H_
