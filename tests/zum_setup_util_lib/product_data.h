// The product's data directory on the test's machine: c:\ProgramData\Quorvanta\ZUM\Data.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_PRODUCT_DATA_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_PRODUCT_DATA_H_

#include <filesystem>
#include <set>
#include <string>
#include <system_error>

#include "tests/support/directory_tree.h"

namespace tests {

inline constexpr char kProductData[] = "c:\\ProgramData\\Quorvanta\\ZUM\\Data";

// What stands at its place is moved out of the way while the object lives, and the directory above
// it is there.
class ProductData {
 public:
  ProductData() : m_path(ToLocal(u"c:\\ProgramData\\Quorvanta\\ZUM\\Data")), m_aside(m_path) {
    m_aside += ".aside";
    std::filesystem::create_directories(m_path.parent_path());
    std::error_code nothingThere;
    std::filesystem::rename(m_path, m_aside, nothingThere);
  }
  ProductData(const ProductData&) = delete;
  ProductData& operator=(const ProductData&) = delete;
  ~ProductData() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
    std::filesystem::rename(m_aside, m_path, ignored);
  }

  [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }
  void Make() const { std::filesystem::create_directory(m_path); }
  [[nodiscard]] std::set<std::u16string> Names() const { return NamesIn(m_path); }

 private:
  std::filesystem::path m_path;
  std::filesystem::path m_aside;
};

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_PRODUCT_DATA_H_
