#include "winapi/host/call.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <vector>

#include "winapi/host/control.h"
#include "winapi/host/live.h"
#include "winapi/host/text.h"

namespace winapi::host {
namespace {

// Of a call while the log is off; above any index, so that looking it up finds nothing.
constexpr std::size_t kNotLogged = static_cast<std::size_t>(-1);

struct PlannedFault {
  std::string operation;  // empty: any
  std::size_t nth;
  Error error;
  Repeat repeat;
  std::size_t seen = 0;

  // Counts a call of `name`; true when it is one that is to fail.
  bool Hits(std::string_view name) {
    if (!operation.empty() && operation != name) return false;
    ++seen;
    return seen == nth || (seen > nth && repeat == Repeat::kForever);
  }
};

struct CallState {
  std::mutex mutex;  // the product may call from several threads though a test reads from one
  std::vector<CallRecord> log;
  std::vector<PlannedFault> faults;
  std::size_t fallibleCalls = 0;
  std::size_t injectedFaults = 0;
};

// On the heap and never freed, as all state of the host: static objects of the product still call
// the seam while theirs are destroyed, in an order that nobody settles.
CallState& TheCallState() {
  static CallState& state = *new CallState;
  return state;
}

// How many operations and functions of the test face run on this thread, one inside the other.
constinit thread_local unsigned seamDepth = 0;

constinit std::atomic<bool> logIsOn{true};
constinit std::atomic<bool> startWasAsked{false};

// Calls before the entry are logged in any case. This library stands behind all others on the link
// line, so its initialisers run after theirs: the start-up is over.
[[maybe_unused]] const bool startUpIsOver = [] {
  logIsOn = startWasAsked.load();
  return true;
}();

// Numbers of the allocation plan. No lock: operator new asks in the midst of anything.
constinit std::atomic<std::size_t> allocations{0};
constinit std::atomic<std::size_t> failingAllocation{0};  // 0: none
constinit std::atomic<bool> failsForever{false};
constinit std::atomic<std::size_t> loggedCalls{0};
constinit std::atomic<std::size_t> callsBeforeFault{kNotLogged};

// By hand: a stream would allocate and look at the locale, for each argument of each call.
std::string Hexadecimal(std::uint64_t number) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string digits;
  do {
    digits.insert(digits.begin(), kDigits[number % 16]);
    number /= 16;
  } while (number != 0);
  return "0x" + digits;
}

std::string HexadecimalPairs(const void* data, std::size_t bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string pairs;
  pairs.reserve(bytes * 2);
  for (std::size_t i = 0; i < bytes; ++i) {
    const std::uint8_t byte = static_cast<const std::uint8_t*>(data)[i];
    pairs += kDigits[byte / 16];
    pairs += kDigits[byte % 16];
  }
  return pairs;
}

// The record is made before the arguments are known, so that calls stand in the order in which they
// began; arguments come to it by its index, since the log may grow meanwhile.
std::size_t StartRecord(std::string_view operation) {
  if (!logIsOn) return kNotLogged;
  CallState& state = TheCallState();
  const std::lock_guard lock(state.mutex);
  state.log.push_back({.operation = std::string(operation), .arguments = {}});
  loggedCalls = state.log.size();
  return state.log.size() - 1;
}

// The number is set last: it arms the plan.
void ResetAllocationPlan(std::size_t nth, Repeat repeat) {
  allocations = 0;
  callsBeforeFault = kNotLogged;
  failsForever = repeat == Repeat::kForever;
  failingAllocation = nth;
}

}  // namespace

SeamMark::SeamMark() noexcept { ++seamDepth; }
SeamMark::~SeamMark() { --seamDepth; }

Call::Call(std::string_view operation) noexcept
    : m_operation(operation), m_logIndex(StartRecord(operation)) {}

Call& Call::Add(std::string_view name, std::string value) {
  CallState& state = TheCallState();
  const std::lock_guard lock(state.mutex);
  if (m_logIndex < state.log.size()) {  // a script may have cleared the log meanwhile
    state.log[m_logIndex].arguments.emplace_back(name, std::move(value));
  }
  return *this;
}

Call& Call::Argument(std::string_view name, const char16_t* value) {
  if (m_logIndex == kNotLogged) return *this;
  return Add(name, value == nullptr ? std::string("(null)") : ToUtf8(value));
}

Call& Call::Argument(std::string_view name, const char* value) {
  if (m_logIndex == kNotLogged) return *this;
  return Add(name, value == nullptr ? "(null)" : value);
}

Call& Call::Argument(std::string_view name, const void* handle) {
  return Mask(name, reinterpret_cast<std::uintptr_t>(handle));
}

Call& Call::Argument(std::string_view name, std::uint64_t number) {
  return m_logIndex == kNotLogged ? *this : Add(name, std::to_string(number));
}

Call& Call::Mask(std::string_view name, std::uint64_t mask) {
  return m_logIndex == kNotLogged ? *this : Add(name, Hexadecimal(mask));
}

Call& Call::Data(std::string_view name, const void* data, std::size_t bytes) {
  if (m_logIndex == kNotLogged) return *this;
  return Add(name, data == nullptr ? std::string("(null)") : HexadecimalPairs(data, bytes));
}

// Each plan counts the call, the one behind a hit too: plans don't see each other.
std::optional<Error> Call::Fault() {
  CallState& state = TheCallState();
  const std::lock_guard lock(state.mutex);
  ++state.fallibleCalls;
  std::optional<Error> error;
  for (PlannedFault& fault : state.faults) {
    if (fault.Hits(m_operation) && !error) error = fault.error;
  }
  if (!error) return std::nullopt;
  ++state.injectedFaults;
  if (m_logIndex < state.log.size()) state.log[m_logIndex].failed = true;
  return error;
}

std::string CallRecord::Argument(std::string_view name) const {
  for (const auto& [argument, value] : arguments) {
    if (argument == name) return value;
  }
  return {};
}

void StartCallLog() {
  startWasAsked = true;
  logIsOn = true;
}

void StopCallLog() {
  startWasAsked = false;
  logIsOn = false;
}

void ClearCallLog() {
  const SeamMark mark;
  CallState& state = TheCallState();
  const std::lock_guard lock(state.mutex);
  state.log.clear();
  loggedCalls = 0;
}

const std::vector<CallRecord>& CallLog() {
  const SeamMark mark;
  return TheCallState().log;
}

std::vector<CallRecord> CallsOf(std::string_view operation) {
  const SeamMark mark;
  std::vector<CallRecord> calls;
  std::copy_if(CallLog().begin(), CallLog().end(), std::back_inserter(calls),
               [operation](const CallRecord& call) { return call.operation == operation; });
  return calls;
}

void FailCall(std::string_view operation, std::size_t nth, Error error, Repeat repeat) {
  const SeamMark mark;
  CallState& state = TheCallState();
  const std::lock_guard lock(state.mutex);
  state.faults.push_back({std::string(operation), nth, error, repeat});
}

void FailAnyCall(std::size_t nth, Error error, Repeat repeat) {
  const SeamMark mark;
  CallState& state = TheCallState();
  const std::lock_guard lock(state.mutex);
  std::erase_if(state.faults, [](const PlannedFault& fault) { return fault.operation.empty(); });
  state.faults.push_back({std::string(), nth, error, repeat});
  state.fallibleCalls = 0;
}

void ClearFaults() {
  const SeamMark mark;
  CallState& state = TheCallState();
  const std::lock_guard lock(state.mutex);
  state.faults.clear();
  state.fallibleCalls = 0;
  state.injectedFaults = 0;
  ResetAllocationPlan(/*nth=*/0, Repeat::kOnce);
}

std::size_t FallibleCallCount() {
  const SeamMark mark;
  CallState& state = TheCallState();
  const std::lock_guard lock(state.mutex);
  return state.fallibleCalls;
}

std::size_t InjectedFaultCount() {
  const SeamMark mark;
  CallState& state = TheCallState();
  const std::lock_guard lock(state.mutex);
  return state.injectedFaults;
}

void FailAllocation(std::size_t nth, Repeat repeat) { ResetAllocationPlan(nth, repeat); }

// Called from inside operator new and malloc: no lock, no allocation, nothing that could call
// either.
bool ShouldFailAllocation() noexcept {
  if (seamDepth != 0) return false;
  const std::size_t number = ++allocations;
  const std::size_t failing = failingAllocation;
  if (failing == 0 || number < failing || (number > failing && !failsForever)) return false;
  if (number == failing) callsBeforeFault = loggedCalls.load();
  return true;
}

std::size_t AllocationCount() { return allocations; }

std::optional<std::size_t> CallsBeforeAllocationFault() {
  const std::size_t calls = callsBeforeFault;
  return calls == kNotLogged ? std::nullopt : std::optional(calls);
}

bool InsideSeam() noexcept { return seamDepth != 0; }

LiveResources Live() {
  return {.keys = liveCounters.keys,
          .handles = liveCounters.handles,
          .moduleReferences = liveCounters.moduleReferences,
          .heapBlocks = liveCounters.heapBlocks,
          .localBlocks = liveCounters.localBlocks,
          .trustStates = liveCounters.trustStates};
}

}  // namespace winapi::host
