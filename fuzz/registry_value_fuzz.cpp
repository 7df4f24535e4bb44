// Reading of values that change between two calls, and the form for lists of strings, against the
// steps as they are told. The registry's answers come from the input; the model gives the same ones
// to a loop of its own, and both have to ask for the same sizes in the same order.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/host_machine.h"
#include "fuzz/input.h"
#include "oru/rtl/check.h"
#include "oru/rtl/string.h"
#include "platform/util/windows/registry.h"
#include "platform/util/windows/registry_multi_string.h"
#include "platform/util/windows/registry_query.h"
#include "winapi/errors.h"
#include "winapi/host/control.h"
#include "winapi/registry.h"

namespace {

using fuzz::Require;
using winapi::host::QueryAnswer;
using List = std::vector<std::u16string>;

constexpr std::uint64_t kMaxSize = 0x7FFFFFFF;
// Characters; the heap is made to fail for what is larger.
constexpr std::uint64_t kMostMemory = 1 << 20;

// Answers in their order, and "not there" behind them.
class Registry {
 public:
  explicit Registry(FuzzedDataProvider& input) {
    for (int left = input.ConsumeIntegralInRange(0, 12); left > 0; --left) {
      m_answers.push_back(TakeAnswer(input));
    }
  }

  [[nodiscard]] QueryAnswer Answer(std::size_t call) const {
    return call < m_answers.size() ? m_answers[call] : QueryAnswer{.error = 2};
  }

 private:
  static QueryAnswer TakeAnswer(FuzzedDataProvider& input) {
    static constexpr winapi::Error kErrors[] = {234, 234, 0, 0, 2, 5, 6, 1018};
    QueryAnswer answer;
    answer.error = kErrors[input.ConsumeIntegralInRange<std::size_t>(0, 7)];
    answer.type = input.PickValueInArray<winapi::Dword>({1, 7, 1, 7, 2, 3, 0});
    answer.size = input.ConsumeIntegralInRange<winapi::Dword>(0, 400);
    if (answer.error == 234) {
      if (input.ConsumeBool()) answer.size = 1U << input.ConsumeIntegralInRange(0U, 31U);
      return answer;
    }
    answer.data = TakeData(input);
    if (input.ConsumeProbability<float>() < 0.9F) {
      answer.size = static_cast<winapi::Dword>(answer.data.size());
    }
    return answer;
  }

  // Few characters, so that zeros come in all places; an odd count of bytes now and then.
  static std::vector<std::uint8_t> TakeData(FuzzedDataProvider& input) {
    std::vector<std::uint8_t> data;
    for (auto left = input.ConsumeIntegralInRange(0, 100); left > 0; --left) {
      const auto unit = static_cast<std::uint8_t>(input.ConsumeIntegralInRange(0, 3));
      data.insert(data.end(), {unit, 0});
    }
    if (input.ConsumeProbability<float>() < 0.1F) data.push_back(1);
    return data;
  }

  std::vector<QueryAnswer> m_answers;
};

// What a read gives, and the sizes in bytes that it asked with.
struct Outcome {
  winapi::Error error = 0;
  std::u16string value;  // empty unless the error is 0
  std::vector<winapi::Dword> asked;
};

std::u16string TextOf(const QueryAnswer& answer, std::uint64_t room) {
  const std::uint64_t length = std::min<std::uint64_t>(answer.size / 2, room);
  std::u16string text(static_cast<std::size_t>(length), u'\0');
  const std::size_t bytes = std::min(answer.data.size(), text.size() * 2);
  if (bytes != 0) std::memcpy(text.data(), answer.data.data(), bytes);
  return text;
}

// The loop as it is told. A size that lies about its data isn't followed: what stands behind the
// data in the buffer is nobody's business.
Outcome ReadByRule(const Registry& registry, winapi::Dword expectedType, std::uint64_t capacity) {
  Outcome outcome;
  for (std::size_t pass = 0;; ++pass) {
    const std::uint64_t room = capacity >= 64 ? std::min(capacity, kMaxSize) : 64;
    outcome.asked.push_back(static_cast<winapi::Dword>(room * 2));
    const QueryAnswer answer = registry.Answer(pass);
    const bool fits = answer.data.size() <= room * 2;
    if (answer.error == 0 && fits) {
      if (answer.type != expectedType) {
        outcome.error = 1629;
        return outcome;
      }
      outcome.value = TextOf(answer, room);
      const bool isTerminated = !outcome.value.empty() && outcome.value.back() == u'\0';
      if (expectedType == 1 && isTerminated) outcome.value.pop_back();
      return outcome;
    }
    if (answer.error != 234 && answer.error != 0) {
      outcome.error = answer.error;
      return outcome;
    }
    std::uint64_t wanted = answer.size / 2;
    if (pass >= 5) wanted = wanted >= 0x3FFFFFFF ? kMaxSize : wanted * 2;
    if (wanted > kMostMemory && wanted > capacity) {
      outcome.error = 8;
      return outcome;
    }
    capacity = std::max(capacity, wanted);
  }
}

// Has the registry answer one read. A reservation that would take the memory of the machine finds
// none.
class ScriptedRegistry {
 public:
  explicit ScriptedRegistry(const Registry& registry) {
    winapi::host::SetQueryScript([this, &registry](std::u16string_view, winapi::Dword size) {
      const QueryAnswer answer = registry.Answer(asked.size());
      std::uint64_t wanted = answer.size / 2;
      if (asked.size() >= 5) wanted *= 2;
      if (answer.error == 234 && wanted > kMostMemory) {
        winapi::host::FailCall("HeapAlloc", 1, 8);
      }
      asked.push_back(size);
      return std::optional(answer);
    });
  }
  ScriptedRegistry(const ScriptedRegistry&) = delete;
  ScriptedRegistry& operator=(const ScriptedRegistry&) = delete;
  ~ScriptedRegistry() {
    winapi::host::SetQueryScript({});
    winapi::host::ClearFaults();
  }

  std::vector<winapi::Dword> asked;
};

bool IsHonest(const Registry& registry, std::size_t calls) {
  for (std::size_t i = 0; i < calls; ++i) {
    const QueryAnswer answer = registry.Answer(i);
    if (answer.error == 0 && answer.size > answer.data.size()) return false;
  }
  return true;
}

void CheckString(const windows_helpers::RegKey& key, const Registry& registry,
                 std::uint32_t reserved) {
  oru::String16 value(u"what stood there before");
  value.reserve(reserved);
  const Outcome expected = ReadByRule(registry, 1, value.capacity());
  ScriptedRegistry script(registry);
  const winapi::Error error = windows_helpers::ReadStringValue(key, u"name", value);
  Require(script.asked == expected.asked, "the same sizes are asked with");
  Require(error == expected.error, "the error is the rule's");
  Require(error == 0 || value.empty(), "a failure leaves an empty text");
  Require(value.c_str()[value.size()] == u'\0', "the text ends in a zero");
  if (IsHonest(registry, expected.asked.size())) {
    Require(value.view() == expected.value, "the text is the value's");
  }
}

// Each string up to its zero; two zeros at the end are the mark.
List ParsedByRule(std::u16string data) {
  if (data.size() >= 2 && data.ends_with(std::u16string(2, u'\0'))) data.resize(data.size() - 2);
  List list;
  std::u16string string;
  for (const char16_t unit : data) {
    if (unit != u'\0') {
      string += unit;
    } else {
      list.push_back(string);
      string.clear();
    }
  }
  if (!string.empty()) list.push_back(string);
  return list;
}

bool AsksForTooMuch(const Registry& registry) {
  for (std::size_t i = 0; i < 13; ++i) {
    const QueryAnswer answer = registry.Answer(i);
    if (answer.error == 234 && answer.size / 2 > kMostMemory / 2) return true;
  }
  return false;
}

void CheckMultiString(const windows_helpers::RegKey& key, const Registry& registry) {
  // Its memory isn't the host's heap, which could be made to fail.
  if (AsksForTooMuch(registry)) return;
  const Outcome expected = ReadByRule(registry, 7, /*capacity=*/0);
  const List before{u"what stood there", u"before"};
  List values = before;
  ScriptedRegistry script(registry);
  const winapi::Error error = windows_helpers::ReadMultiStringValue(key, u"name", values);
  Require(script.asked == expected.asked, "the same sizes are asked with");
  Require(error == expected.error, "the error is the rule's");
  if (error != 0) return Require(values == before, "a failure leaves the list alone");
  if (IsHonest(registry, expected.asked.size())) {
    Require(values == ParsedByRule(expected.value), "the list is the value's");
  }
}

std::u16string TakeUnits(FuzzedDataProvider& input, std::size_t most) {
  std::u16string text(input.ConsumeIntegralInRange<std::size_t>(0, most), u'\0');
  for (char16_t& unit : text) unit = static_cast<char16_t>(input.ConsumeIntegralInRange(0, 3));
  return text;
}

// By way of a registry that doesn't change: what was written is read, as `expected`.
void CheckWritten(const windows_helpers::RegKey& key, const List& list, const List& expected) {
  Require(windows_helpers::WriteMultiStringValue(key, u"list", list) == 0, "the list is written");
  List read{u"before"};
  Require(windows_helpers::ReadMultiStringValue(key, u"list", read) == 0, "the list is read");
  Require(read == expected, "the list is the one that was written");

  const std::u16string text = list.empty() ? u"" : list.front();
  Require(
      windows_helpers::WriteStringValue(key, u"text", text.data(), text.data() + text.size()) == 0,
      "the text is written");
  oru::String16 value;
  Require(windows_helpers::ReadStringValue(key, u"text", value) == 0, "the text is read");
  Require(value.view() == text, "the text is the one that was written");
  Require(windows_helpers::DeleteValue(key, u"text") == 0, "the text is deleted");
  Require(windows_helpers::ReadStringValue(key, u"text", value) == 2, "the text isn't there");
}

void CheckForms(FuzzedDataProvider& input, const windows_helpers::RegKey& key) {
  const std::u16string data = TakeUnits(input, 40);
  const List parsed = windows_helpers::ParseMultiString(data.data(), data.data() + data.size());
  Require(parsed == ParsedByRule(data), "the strings are the rule's");

  List list;
  for (int left = input.ConsumeIntegralInRange(0, 5); left > 0; --left) {
    std::u16string text = TakeUnits(input, 6);
    std::erase(text, u'\0');
    list.push_back(text);
  }
  std::u16string expected;
  for (const std::u16string& text : list) expected += text + u'\0';
  expected.append(list.empty() ? 2 : 1, u'\0');
  const std::u16string built = windows_helpers::BuildMultiString(list);
  Require(built == expected, "the data is the list's");
  // One empty string at the end is lost.
  List kept = list;
  if (!kept.empty() && kept.back().empty()) kept.pop_back();
  Require(windows_helpers::ParseMultiString(built.data(), built.data() + built.size()) == kept,
          "the list comes back");
  CheckWritten(key, list, kept);
}

void CheckGrowth(std::uint32_t pass, std::uint32_t reported) {
  const std::uint64_t doubled = reported >= 0x3FFFFFFF ? kMaxSize : std::uint64_t{reported} * 2;
  Require(windows_helpers::GrownCapacity(pass, reported) == (pass < 5 ? reported : doubled),
          "the capacity grows by the rule");
}

const windows_helpers::RegKey& TheKey() {
  static const fuzz::HostMachine machine;
  static windows_helpers::RegKey key;  // closed before its machine goes
  if (key.IsValid()) return key;
  Require(winapi::host::CreateRegistryKey(u"HKEY_LOCAL_MACHINE\\SOFTWARE\\x"), "a key is made");
  Require(windows_helpers::OpenKey(
              key, winapi::HkeyLocalMachine(), u"SOFTWARE\\x",
              winapi::kKeyRead | winapi::kKeySetValue | winapi::kKeyWow6464Key) == 0,
          "the key is opened");
  return key;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  (void)TheKey();
  // What is reported goes on behind the report.
  (void)winapi::AddVectoredExceptionHandler(/*first=*/1, &oru::AssertionHandler);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  CheckGrowth(input.ConsumeIntegralInRange(0U, 80U), input.ConsumeIntegral<std::uint32_t>());
  const auto reserved = input.ConsumeIntegralInRange(0U, 200U);
  CheckForms(input, TheKey());
  const Registry registry(input);
  CheckString(TheKey(), registry, reserved);
  CheckMultiString(TheKey(), registry);
  return 0;
}
