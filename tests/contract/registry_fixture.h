// What the registry's contract tests share: a tree of their own, and handles that close themselves.
#ifndef TESTS_CONTRACT_REGISTRY_FIXTURE_H_
#define TESTS_CONTRACT_REGISTRY_FIXTURE_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/test_registry.h"
#include "winapi/registry.h"

namespace tests {

constexpr winapi::Dword kRead64 = 0x20119;       // KEY_READ with KEY_WOW64_64KEY
constexpr winapi::Dword kReadWrite64 = 0x2011F;  // with KEY_WRITE

// A key of the seam.
class SeamKey {
 public:
  SeamKey() = default;
  SeamKey(winapi::Key parent, const char16_t* path, winapi::Dword rights) {
    error = winapi::RegOpenKeyExW(parent, path, 0, rights, &key);
  }
  explicit SeamKey(const std::u16string& path, winapi::Dword rights = kReadWrite64)
      : SeamKey(winapi::HkeyLocalMachine(), path.c_str(), rights) {}
  SeamKey(const SeamKey&) = delete;
  SeamKey& operator=(const SeamKey&) = delete;
  ~SeamKey() {
    if (key != nullptr) (void)winapi::RegCloseKey(key);  // a test may have closed it
  }

  winapi::Key key = nullptr;
  winapi::Error error = 0;
};

class RegistryContract : public ::testing::Test {
 protected:
  RegistryContract() { CreateKey(path); }

  const std::u16string path = u"SOFTWARE\\ZumContract";
  const ScopedTree tree{path};
};

// One answer of RegQueryValueExW; what wasn't given keeps the pattern that it had before.
struct Answer {
  winapi::Error error = 0;
  winapi::Dword type = 0;
  winapi::Dword size = 0;
  std::vector<std::uint8_t> buffer;
  bool operator==(const Answer&) const = default;
};
constexpr winapi::Dword kUntouched = 0x7777;
constexpr std::uint8_t kPattern = 0x77;

// Asks with a buffer of 32 bytes of which `size` are told to the call.
inline Answer Query(winapi::Key key, const char16_t* name, winapi::Dword size) {
  Answer answer{0, kUntouched, size, std::vector<std::uint8_t>(32, kPattern)};
  answer.error = winapi::RegQueryValueExW(key, name, nullptr, &answer.type, answer.buffer.data(),
                                          &answer.size);
  return answer;
}

// `bytes` with the untouched pattern behind.
inline std::vector<std::uint8_t> Buffer(std::vector<std::uint8_t> bytes) {
  bytes.resize(32, kPattern);
  return bytes;
}

}  // namespace tests

#endif  // TESTS_CONTRACT_REGISTRY_FIXTURE_H_
