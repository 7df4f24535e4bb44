// A tracer that keeps what is traced, for tests. It is nastier than a real one: it moves the area
// at each growth, fills a new one with garbage, leaves a last error behind on success, and can be
// told to refuse, to lie and to throw. It isn't counted to its death: a test holds it by value and
// looks at `references`.
#ifndef TESTS_SUPPORT_RECORDING_TRACER_H_
#define TESTS_SUPPORT_RECORDING_TRACER_H_

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "oru/rtl/result_code.h"
#include "oru/rtl/tracer.h"
#include "tests/support/object_stub.h"
#include "winapi/errors.h"

namespace tests {

class RecordingTracer final : public ObjectStub<oru::ITracer> {
 public:
  enum class Call { kProbe, kOpen, kGrow, kCommit };
  struct Record {
    std::uint32_t level = 0;
    std::string text;
    std::uint32_t capacity = 0;
    bool operator==(const Record&) const = default;
    friend void PrintTo(const Record& record, std::ostream* out) {
      *out << record.level << " \"" << record.text << "\" in " << record.capacity;
    }
  };
  struct Seen {
    Call call;
    std::uint32_t level = 0;  // of a commit 0
    std::uint32_t size = 0;   // asked for; of a commit the length
    bool operator==(const Seen&) const = default;
    friend void PrintTo(const Seen& seen, std::ostream* out) {
      *out << "call " << static_cast<int>(seen.call) << ' ' << seen.level << ' ' << seen.size;
    }
  };
  // What a call answers, in place of doing its work. It gets the call and the caller's area.
  using Answer = std::function<oru::ResultCode(char** buffer)>;

  // The last error that every call leaves behind.
  static constexpr winapi::Error kLastError = 4711;

  explicit RecordingTracer(std::uint32_t maximum = 700) : m_maximum(maximum) {}
  RecordingTracer(const RecordingTracer&) = delete;
  RecordingTracer& operator=(const RecordingTracer&) = delete;

  // The next `times` calls of that kind answer so.
  void Script(Call call, const Answer& answer, int times = 1) {
    for (; times > 0; --times) m_scripts[call].push_back(answer);
  }
  void Fail(Call call, oru::ResultCode rc, int times = 1) {
    Script(
        call, [rc](char**) { return rc; }, times);
  }
  template <typename E>
  void Throw(Call call, E exception, int times = 1) {
    Script(
        call, [exception](char**) -> oru::ResultCode { throw exception; }, times);
  }

  [[nodiscard]] const std::vector<Record>& Records() const { return m_records; }
  [[nodiscard]] const std::vector<Seen>& Calls() const { return m_calls; }
  [[nodiscard]] std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    for (const Record& record : m_records) texts.push_back(record.text);
    return texts;
  }
  // Areas that were handed out and not given back.
  [[nodiscard]] std::size_t OpenAreas() const { return m_areas.size(); }

  std::uint32_t AddRef() noexcept override {
    winapi::SetLastError(kLastError);
    return ObjectStub::AddRef();
  }
  std::uint32_t Release() noexcept override {
    winapi::SetLastError(kLastError);
    return ObjectStub::Release();
  }

  oru::ResultCode ReserveRecord(std::uint32_t level, char** buffer, std::uint32_t size) override {
    winapi::SetLastError(kLastError);
    const Call call = KindOf(buffer);
    m_calls.push_back({call, level, size});
    if (Answer answer; TakeScript(call, &answer)) return answer(buffer);
    if (call == Call::kProbe) {
      return level > m_maximum ? oru::errTraceLevelProhibited : oru::errTraceLevelOk;
    }
    if (call == Call::kGrow) return Move(buffer, size);
    if (level > m_maximum) return oru::errNotMatched;
    *buffer = NewArea(level, size);
    return oru::sOk;
  }

  oru::ResultCode CommitRecord(char* buffer, std::uint32_t length) override {
    winapi::SetLastError(kLastError);
    m_calls.push_back({Call::kCommit, 0, length});
    if (buffer == nullptr) return oru::errInvalidArgument;
    const auto area = m_areas.extract(buffer);
    if (area.empty()) return oru::errUnexpected;
    m_records.push_back({area.mapped().level, std::string(buffer, length), area.mapped().size});
    if (Answer answer; TakeScript(Call::kCommit, &answer)) return answer(nullptr);
    return oru::sOk;
  }

 private:
  struct Area {
    std::uint32_t level;
    std::uint32_t size;
    std::unique_ptr<char[]> bytes;
  };

  static Call KindOf(char** buffer) {
    if (buffer == nullptr) return Call::kProbe;
    return *buffer == nullptr ? Call::kOpen : Call::kGrow;
  }

  bool TakeScript(Call call, Answer* answer) {
    auto& scripts = m_scripts[call];
    if (scripts.empty()) return false;
    *answer = std::move(scripts.front());
    scripts.erase(scripts.begin());
    return true;
  }

  char* NewArea(std::uint32_t level, std::uint32_t size) {
    auto bytes = std::make_unique<char[]>(size);
    std::memset(bytes.get(), 0xCD, size);
    char* const address = bytes.get();
    m_areas[address] = {level, size, std::move(bytes)};
    return address;
  }

  oru::ResultCode Move(char** buffer, std::uint32_t size) {
    const auto old = m_areas.extract(*buffer);
    if (old.empty()) return oru::errUnexpected;
    char* const address = NewArea(old.mapped().level, size);
    std::memcpy(address, *buffer, std::min(size, old.mapped().size));
    std::memset(*buffer, 0xDD, old.mapped().size);
    *buffer = address;
    return oru::sOk;
  }

  std::uint32_t m_maximum;
  std::vector<Record> m_records;
  std::vector<Seen> m_calls;
  std::map<char*, Area> m_areas;
  std::map<Call, std::vector<Answer>> m_scripts;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_RECORDING_TRACER_H_
