#include "tests/support/temporary_folder.h"

#include <random>
#include <stdexcept>
#include <system_error>

namespace tests {

TemporaryFolder::TemporaryFolder() {
  std::random_device random;
  for (int attempt = 0; attempt < 100; ++attempt) {
    m_path = std::filesystem::temp_directory_path() / ("zum-test-" + std::to_string(random()));
    if (std::filesystem::create_directory(m_path)) return;
  }
  throw std::runtime_error("no temporary folder can be made");
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

std::u16string TemporaryFolder::WindowsPath() const {
  std::u16string path = m_path.u16string();
#ifndef _WIN32
  // On the host Z: is the root of the file system.
  for (char16_t& unit : path) {
    if (unit == u'/') unit = u'\\';
  }
  path.insert(0, u"Z:");
#endif
  return path;
}

}  // namespace tests
