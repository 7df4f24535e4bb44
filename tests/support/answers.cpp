#include "tests/support/answers.h"

#include <cstdio>
#include <cstdlib>

#include "winapi/modules.h"

namespace tests {
namespace {

struct Named {
  Systems system;
  const char* name;
};
constexpr Named kNamed[] = {
    {kHost, "host"}, {kWine8, "wine-8"}, {kWine10, "wine-10"}, {kWindows, "windows"}};

Systems SystemOfName(const std::string& name) {
  for (const Named& named : kNamed) {
    if (name == named.name) return named.system;
  }
  return 0;
}

// "\u00e4" stays readable in a report of plain letters.
std::string Escaped(const std::u16string& text) {
  std::string escaped;
  for (const char16_t unit : text) {
    if (unit >= u' ' && unit < 0x7F) {
      escaped += static_cast<char>(unit);
    } else {
      char digits[8];
      (void)std::snprintf(digits, sizeof(digits), "\\u%04x", static_cast<unsigned>(unit));
      escaped += digits;
    }
  }
  return escaped;
}

}  // namespace

Systems FoundSystem() {
#ifdef _WIN32
  const auto version = reinterpret_cast<const char*(__cdecl*)()>(
      winapi::GetProcAddress(winapi::GetModuleHandleW(u"ntdll.dll"), "wine_get_version"));
  if (version == nullptr) return kWindows;
  const std::string text = version();
  return SystemOfName("wine-" + text.substr(0, text.find('.')));
#else
  return kHost;
#endif
}

Systems ThisSystem() {
  const char* const named = std::getenv("ZUM_SYSTEM");
  return named == nullptr || *named == '\0' ? FoundSystem() : SystemOfName(named);
}

std::string NameOf(Systems systems) {
  std::string names;
  for (const Named& named : kNamed) {
    if ((systems & named.system) == 0) continue;
    names += (names.empty() ? "" : " ") + std::string(named.name);
  }
  return names.empty() ? "a system without a name" : names;
}

std::string Shown(bool answer) { return answer ? "yes" : "no"; }

std::string Shown(Hex answer) {
  char digits[16];
  (void)std::snprintf(digits, sizeof(digits), "0x%X", static_cast<unsigned>(answer.number));
  return digits;
}

std::string Shown(const std::u16string& answer) { return Escaped(answer); }

std::string Shown(const std::vector<std::u16string>& answer) {
  std::string text;
  for (const std::u16string& one : answer) text += (text.empty() ? "" : " ") + Escaped(one);
  return text;
}

std::string Shown(const std::vector<std::uint8_t>& answer) {
  std::string text;
  for (const std::uint8_t byte : answer) {
    char digits[4];
    (void)std::snprintf(digits, sizeof(digits), "%02X", static_cast<unsigned>(byte));
    text += (text.empty() ? "" : " ") + std::string(digits);
  }
  return text;
}

// Errors of Windows' own are small; a status has its high bits set.
std::string Shown(std::uint32_t answer) {
  return answer < 0x80000000 ? std::to_string(answer) : Shown(Hex{answer});
}

std::string Shown(int answer) { return std::to_string(answer); }

bool NoteAnswer(const std::string& row, const std::string& answer, const std::string& ofWindows,
                const std::string& why) {
  const ::testing::TestResult& noted =
      *::testing::UnitTest::GetInstance()->current_test_info()->result();
  for (int i = 0; i < noted.test_property_count(); ++i) {
    if (noted.GetTestProperty(i).key() == "answer: " + row) return false;
  }
  ::testing::Test::RecordProperty("answer: " + row, answer);
  ::testing::Test::RecordProperty("windows: " + row, ofWindows);
  if (!why.empty()) ::testing::Test::RecordProperty("why: " + row, why);
  return true;
}

}  // namespace tests
