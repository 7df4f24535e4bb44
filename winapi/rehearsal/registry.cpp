#include "winapi/registry.h"

#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "winapi/errors.h"
#include "winapi/registry_arguments.h"
#include "winapi/registry_data.h"
#include "winapi/registry_world.h"
#include "winapi/rehearsal.h"
#include "winapi/rehearsal/state.h"

namespace winapi {
namespace {

using rehearsal::kViewFlags;
using rehearsal::OpenKey;
using rehearsal::Value;
using State = rehearsal::Rehearsal::State;

// Runs what may run out of memory.
template <typename Operation>
Error Guarded(Operation&& operation) noexcept {
  try {
    return operation();
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

// The handle of a thread without a rehearsal stands for nothing.
Error Resolve(Key key, Dword rights, const OpenKey*& open) {
  State* const state = State::Current();
  open = state == nullptr ? nullptr : state->Find(key);
  if (open == nullptr) return kErrorInvalidHandle;
  return (open->rights & rights) == rights ? kErrorSuccess : kErrorAccessDenied;
}

Dword SpelledOut(Dword rights) {
  Dword spelled = rights & ~(kGenericRead | kGenericWrite | kGenericAll | kMaximumAllowed);
  if ((rights & kGenericRead) != 0) spelled |= kKeyRead;
  if ((rights & kGenericWrite) != 0) spelled |= kKeyWrite;
  if ((rights & (kGenericAll | kMaximumAllowed)) != 0) spelled |= kKeyAllAccess;
  return spelled;
}

// Opens with the rights that are asked for, else for reading; notes a refusal.
Error OpenInWorld(State& state, const OpenKey& from, const std::u16string& path,
                  const char16_t* subKey, Dword options, Dword rights, Key* result) {
  const Error error = world::RegOpenKeyExW(from.world, subKey, options, rights, result);
  if (error != kErrorAccessDenied) return error;
  const bool onlyReads = (SpelledOut(rights) & ~(kKeyRead | kViewFlags)) == 0;
  const Error readError = onlyReads
                              ? error
                              : world::RegOpenKeyExW(from.world, subKey, options,
                                                     kKeyRead | (rights & kViewFlags), result);
  state.Notes().refusals.push_back({path, rights, readError == kErrorSuccess});
  return readError;
}

Error Open(Key key, const char16_t* subKey, Dword options, Dword rights, Key* result) {
  if (result == nullptr) return kErrorInvalidParameter;
  *result = nullptr;
  const OpenKey* from = nullptr;
  if (const Error error = Resolve(key, /*rights=*/0, from)) return error;
  State& state = *State::Current();
  std::u16string path = rehearsal::Joined(from->path, ViewOf(subKey));
  Key opened = nullptr;
  if (const Error error = OpenInWorld(state, *from, path, subKey, options, rights, &opened)) {
    return error;
  }
  if (!rehearsal::HiveName(opened).empty()) {
    *result = opened;
    return kErrorSuccess;
  }
  try {
    *result = state.Add(opened, std::move(path), SpelledOut(rights));
  } catch (...) {
    (void)world::RegCloseKey(opened);
    throw;
  }
  return kErrorSuccess;
}

Error Enumerate(Key key, Dword index, char16_t* name, Dword size) {
  const OpenKey* open = nullptr;
  if (const Error error = Resolve(key, kKeyEnumerateSubKeys, open)) return error;
  const Error error = world::RegEnumKeyW(open->world, index, name, size);
  if (error != kErrorSuccess && error != kErrorNoMoreItems) {
    State::Current()->Notes().brokenLists.push_back({open->path, index, error});
  }
  return error;
}

// What was written under the name by now: null for nothing, nullopt in it for a deletion.
const std::optional<Value>* FindWritten(const OpenKey& open, const char16_t* name) {
  const rehearsal::WrittenValues* const values = State::Current()->WrittenTo(open);
  if (values == nullptr) return nullptr;
  const auto found = values->find(world::FoldedName(ViewOf(name)));
  return found == values->end() ? nullptr : &found->second;
}

Error Query(Key key, const char16_t* name, const Dword* reserved, Dword* type, std::uint8_t* data,
            Dword* size) {
  const OpenKey* open = nullptr;
  if (const Error error = Resolve(key, kKeyQueryValue, open)) return error;
  if (reserved != nullptr || (data != nullptr && size == nullptr)) return kErrorInvalidParameter;
  const std::optional<Value>* const written = FindWritten(*open, name);
  if (written == nullptr) {
    return world::RegQueryValueExW(open->world, name, /*reserved=*/nullptr, type, data, size);
  }
  if (!*written) return kErrorFileNotFound;
  const Value& value = **written;
  return GiveValue(value.type, value.data, static_cast<Dword>(value.data.size()), type, data, size);
}

// A value of the machine itself, whatever its size is by the time it is read.
Error ReadInWorld(Key key, const char16_t* name, std::optional<Value>& value) {
  Value read;
  Dword size = 0;
  Error error =
      world::RegQueryValueExW(key, name, /*reserved=*/nullptr, &read.type, /*data=*/nullptr, &size);
  while (error == kErrorSuccess || error == kErrorMoreData) {
    read.data.resize(size);
    if (size == 0) break;
    error = world::RegQueryValueExW(key, name, /*reserved=*/nullptr, &read.type, read.data.data(),
                                    &size);
    if (error == kErrorSuccess) break;
  }
  if (error == kErrorFileNotFound) return kErrorSuccess;
  if (error != kErrorSuccess) return error;
  read.data.resize(size);
  value = std::move(read);
  return kErrorSuccess;
}

Error ReadBefore(const OpenKey& open, const char16_t* name, std::optional<Value>& value) {
  const std::optional<Value>* const written = FindWritten(open, name);
  if (written == nullptr) return ReadInWorld(open.world, name, value);
  value = *written;
  return kErrorSuccess;
}

// Keeps a value, or its absence, and notes the change. What throws leaves at most a value that the
// caller was told nothing of.
void Keep(const OpenKey& open, const char16_t* name, std::optional<Value> before,
          std::optional<Value> after) {
  State::Current()->ForWriting(open)[world::FoldedName(ViewOf(name))] = after;
  State::Current()->Notes().changes.push_back(
      {open.path, std::u16string(ViewOf(name)), std::move(before), std::move(after)});
}

Error SetOpen(const OpenKey& open, const char16_t* name, Dword type, const std::uint8_t* data,
              Dword size) {
  if (const Error fault = world::ChangeFault(world::ChangeKind::kWrite)) return fault;
  if (ViewOf(name).size() > kMaxValueName) return kErrorInvalidParameter;
  if (data == nullptr && size != 0) return kErrorNoAccess;
  std::optional<Value> before;
  if (const Error error = ReadBefore(open, name, before)) return error;
  Keep(open, name, std::move(before), Value{type, CompletedData(type, data, size)});
  return kErrorSuccess;
}

Error RemoveOpen(const OpenKey& open, const char16_t* name) {
  if (const Error fault = world::ChangeFault(world::ChangeKind::kRemoval)) return fault;
  std::optional<Value> before;
  if (const Error error = ReadBefore(open, name, before)) return error;
  if (!before) return kErrorFileNotFound;
  Keep(open, name, std::move(before), std::nullopt);
  return kErrorSuccess;
}

// Runs a change of an open key, and notes it when it fails.
template <typename Operation>
Error Noting(Key key, const char16_t* name, Operation&& operation) {
  const OpenKey* open = nullptr;
  Error error = Resolve(key, kKeySetValue, open);
  if (error == kErrorSuccess) error = operation(open);
  if (error != kErrorSuccess && open != nullptr) {
    State::Current()->Notes().failedChanges.push_back(
        {open->path, std::u16string(ViewOf(name)), error});
  }
  return error;
}

}  // namespace

Error RegOpenKeyExW(Key key, const char16_t* subKey, Dword options, Dword rights,
                    Key* result) noexcept {
  return Guarded([&] { return Open(key, subKey, options, rights, result); });
}

Error RegEnumKeyW(Key key, Dword index, char16_t* name, Dword size) noexcept {
  return Guarded([&] { return Enumerate(key, index, name, size); });
}

Error RegQueryValueExW(Key key, const char16_t* name, Dword* reserved, Dword* type,
                       std::uint8_t* data, Dword* size) noexcept {
  return Guarded([&] { return Query(key, name, reserved, type, data, size); });
}

Error RegSetValueExW(Key key, const char16_t* name, Dword /*reserved*/, Dword type,
                     const std::uint8_t* data, Dword size) noexcept {
  return Guarded([&] {
    return Noting(key, name,
                  [&](const OpenKey* open) { return SetOpen(*open, name, type, data, size); });
  });
}

Error RegDeleteValueW(Key key, const char16_t* name) noexcept {
  return Guarded([&] {
    return Noting(key, name, [&](const OpenKey* open) { return RemoveOpen(*open, name); });
  });
}

Error RegCloseKey(Key key) noexcept {
  if (!rehearsal::HiveName(key).empty()) return kErrorSuccess;
  State* const state = State::Current();
  const auto world = state == nullptr ? std::nullopt : state->Remove(key);
  return world ? world::RegCloseKey(*world) : kErrorInvalidHandle;
}

}  // namespace winapi
