// A registry that is read and never written: what a program would do to a machine.
//
// A program that is linked with winapi/rehearsal has the functions of winapi/registry.h from there.
// They read the machine that the thread's Rehearsal names. What is written stays in memory, and
// reads see it; nothing of it outlives the Rehearsal. Names ignore case. The same key reached by
// two views or through a link counts as two keys: a write by the one way isn't seen by the other.
#ifndef WINAPI_REHEARSAL_H_
#define WINAPI_REHEARSAL_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "winapi/types.h"

namespace winapi::rehearsal {

struct Value {
  Dword type = 0;
  std::vector<std::uint8_t> data;
  bool operator==(const Value&) const = default;
};

// One write or deletion, in the order of the calls. Keys go by their full path from the hive, such
// as u"HKEY_LOCAL_MACHINE\\SOFTWARE\\x", in the spelling of the open.
struct Change {
  std::u16string key;
  std::u16string name;
  std::optional<Value> before;  // nullopt: there was no such value
  std::optional<Value> after;   // nullopt: deleted
};

// An open that was refused the rights that it asked for.
struct Refusal {
  std::u16string key;
  Dword rights = 0;
  bool readable = false;  // opened for reading in place of that, and the caller was told 0
};

// A list of subkeys that ended by another error than 259.
struct BrokenList {
  std::u16string key;
  Dword index = 0;
  Error error = 0;
};

// A write or deletion that was refused.
struct FailedChange {
  std::u16string key;
  std::u16string name;
  Error error = 0;
};

struct Record {
  std::vector<Change> changes;
  std::vector<FailedChange> failedChanges;
  std::vector<Refusal> refusals;
  std::vector<BrokenList> brokenLists;
};

// Where the reads come from. Copies share it.
class MachineContent;
class Machine {
 public:
  // The machine that the process runs on; natively the one of the host's root folder, which is to
  // outlive all copies.
  [[nodiscard]] static Machine ThisOne();

  explicit Machine(std::shared_ptr<const MachineContent> content) : m_content(std::move(content)) {}
  [[nodiscard]] const MachineContent* Content() const noexcept { return m_content.get(); }

 private:
  std::shared_ptr<const MachineContent> m_content;
};

// The name of the machine that the process runs on; empty where it can't be had.
[[nodiscard]] std::u16string NameOfThisMachine();

// While one lives, the registry functions on its thread work on its machine; without one an open
// gives 6. There is one at a time on a thread. When it dies, its handles are closed.
//
// An open that is refused (5) is tried again for reading. Where that succeeds the handle counts as
// one with all the rights that were asked for. A key that is to be written to must be open for
// reading too, since each write notes what was there.
class Rehearsal {
 public:
  explicit Rehearsal(const Machine& machine);
  Rehearsal(const Rehearsal&) = delete;
  Rehearsal& operator=(const Rehearsal&) = delete;
  ~Rehearsal();

  // What has happened by now.
  [[nodiscard]] const rehearsal::Record& Record() const noexcept;

  class State;

 private:
  std::unique_ptr<State> m_state;
};

}  // namespace winapi::rehearsal

#endif  // WINAPI_REHEARSAL_H_
