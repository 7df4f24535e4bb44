// What the systems answer to one question: a row of the contract suite lists each accepted answer
// with the systems that give it.
//
//   EXPECT_ANSWER("missing drive",
//                 Answers(3u, kHost | kWindows).Or(2u, kWine, "names the file, not its drive"),
//                 Create(u"q:\\x"));
//
// On each system only its own answer passes. What was answered is noted in the report of the case,
// and scripts/answers_table.py makes the table in docs/testing.md of these.
#ifndef TESTS_SUPPORT_ANSWERS_H_
#define TESTS_SUPPORT_ANSWERS_H_

#include <gtest/gtest.h>

#include <concepts>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace tests {

using Systems = unsigned;
constexpr Systems kHost = 1;
constexpr Systems kWine8 = 2;
constexpr Systems kWine10 = 4;
constexpr Systems kWindows = 8;  // as documented: no case has run there yet
constexpr Systems kWine = kWine8 | kWine10;
constexpr Systems kAll = kHost | kWine | kWindows;

// The system that ZUM_SYSTEM names ("host", "wine-8", "wine-10", "windows"), and without it the one
// that this is. None of these: 0.
[[nodiscard]] Systems ThisSystem();
// The system that this is, whatever it is called.
[[nodiscard]] Systems FoundSystem();
// "host", "wine-8 wine-10"; for none: "a system without a name".
[[nodiscard]] std::string NameOf(Systems systems);

// A number that is read as hexadecimal digits.
struct Hex {
  std::uint32_t number;
  bool operator==(const Hex&) const = default;
};

[[nodiscard]] std::string Shown(bool answer);
[[nodiscard]] std::string Shown(Hex answer);
[[nodiscard]] std::string Shown(const std::u16string& answer);
[[nodiscard]] std::string Shown(const std::vector<std::u16string>& answer);
[[nodiscard]] std::string Shown(const std::vector<std::uint8_t>& answer);
[[nodiscard]] std::string Shown(std::uint32_t answer);
[[nodiscard]] std::string Shown(int answer);

template <class T>
class Answers {
 public:
  // The one answer of all systems. It stands by itself in a table, and only what converts is taken.
  template <std::convertible_to<T> U>
  Answers(U&& answer)  // NOLINT(google-explicit-constructor,bugprone-forwarding-reference-overload)
      : Answers(static_cast<T>(std::forward<U>(answer)), kAll) {}
  // The answer of some.
  Answers(T answer, Systems systems) { m_listed.push_back({std::move(answer), systems, ""}); }

  // Another answer of other systems; `why` says what these do.
  [[nodiscard]] Answers Or(T answer, Systems systems, const char* why) const {
    Answers more = *this;
    more.m_listed.push_back({std::move(answer), systems, why});
    return more;
  }

  // Null where none is listed.
  [[nodiscard]] const T* Find(Systems system) const {
    for (const Listed& listed : m_listed) {
      if ((listed.systems & system) != 0) return &listed.answer;
    }
    return nullptr;
  }

  // This system's answer, for what follows from it.
  [[nodiscard]] const T& Here() const {
    const T* const found = Find(ThisSystem());
    EXPECT_NE(nullptr, found) << "no answer is listed for " << NameOf(ThisSystem());
    return found == nullptr ? m_listed.front().answer : *found;
  }

  // "wine-8: hides it; wine-10: shows it".
  [[nodiscard]] std::string Why() const {
    std::string text;
    for (const Listed& listed : m_listed) {
      if (listed.why[0] == '\0') continue;
      text += (text.empty() ? "" : "; ") + NameOf(listed.systems) + ": " + listed.why;
    }
    return text;
  }

  [[nodiscard]] bool NamesASystemTwice() const {
    Systems seen = 0;
    for (const Listed& listed : m_listed) {
      if ((seen & listed.systems) != 0) return true;
      seen |= listed.systems;
    }
    return false;
  }

 private:
  struct Listed {
    T answer;
    Systems systems;
    const char* why;
  };
  std::vector<Listed> m_listed;
};

// Notes the answer in the report of the running case. False where it has a row of this name
// already.
[[nodiscard]] bool NoteAnswer(const std::string& row, const std::string& answer,
                              const std::string& ofWindows, const std::string& why);

template <class T>
::testing::AssertionResult Judge(const std::string& row, const Answers<T>& accepted,
                                 const T& answer) {
  const T* const ofWindows = accepted.Find(kWindows);
  if (!NoteAnswer(row, Shown(answer), ofWindows == nullptr ? "" : Shown(*ofWindows),
                  accepted.Why())) {
    return ::testing::AssertionFailure() << "two rows are named \"" << row << '"';
  }
  if (accepted.NamesASystemTwice()) {
    return ::testing::AssertionFailure() << row << ": a system has two answers";
  }
  const std::string here = NameOf(ThisSystem());
  const T* const right = accepted.Find(ThisSystem());
  if (right == nullptr) {
    return ::testing::AssertionFailure()
           << row << ": no answer is listed for " << here << ", which gave " << Shown(answer);
  }
  if (!(*right == answer)) {
    return ::testing::AssertionFailure()
           << row << ": " << here << " gave " << Shown(answer) << " in place of " << Shown(*right);
  }
  return ::testing::AssertionSuccess();
}

// Where all systems give the one answer.
template <class T>
::testing::AssertionResult Judge(const std::string& row, const std::type_identity_t<T>& expected,
                                 const T& answer) {
  return Judge(row, Answers<T>(expected, kAll), answer);
}

}  // namespace tests

// A row: its name, which no other one of the case has, the accepted answers, and the one given.
#define EXPECT_ANSWER(row, accepted, answer) EXPECT_TRUE(::tests::Judge(row, accepted, answer))

#endif  // TESTS_SUPPORT_ANSWERS_H_
