#include "zum_rehearse/places.h"

#include <algorithm>
#include <string>
#include <system_error>

#include "winapi/strings.h"

namespace zum_rehearse {
namespace {

// The system drops dots and blanks at the end of a name.
std::u16string NameAsMade(const std::filesystem::path& name) {
  std::u16string text = name.u16string();
  text.erase(text.find_last_not_of(u". ") + 1);
  return text;
}

bool AreSameNames(const std::filesystem::path& left, const std::filesystem::path& right) {
  return std::equal(
      left.begin(), left.end(), right.begin(), right.end(), [](const auto& one, const auto& other) {
        return winapi::lstrcmpiW(NameAsMade(one).c_str(), NameAsMade(other).c_str()) == 0;
      });
}

bool AreSame(const Place& left, const Place& right) {
  std::error_code error;
  return std::filesystem::equivalent(left.existing, right.existing, error) &&
         AreSameNames(left.rest, right.rest);
}

}  // namespace

bool Places::Add(const std::filesystem::path& path) {
  if (Holds(path)) return false;
  m_places.push_back(PlaceOf(path));
  return true;
}

bool Places::Holds(const std::filesystem::path& path) const {
  const Place place = PlaceOf(path);
  return std::any_of(m_places.begin(), m_places.end(),
                     [&place](const Place& each) { return AreSame(each, place); });
}

}  // namespace zum_rehearse
