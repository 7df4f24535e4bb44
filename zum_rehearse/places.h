// What paths lead to: the same file or folder, however it is spelled and through whichever links.
#ifndef ZUM_REHEARSE_PLACES_H_
#define ZUM_REHEARSE_PLACES_H_

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace zum_rehearse {

// A path without the links that lead nowhere yet: the nearest thing that is there, and the names
// below it that are still free.
struct Place {
  std::filesystem::path existing;
  std::filesystem::path rest;
};
[[nodiscard]] Place PlaceOf(const std::filesystem::path& path);

// The file that would be written to under this name, behind all links.
[[nodiscard]] std::filesystem::path Resolved(const std::filesystem::path& path);

// A set of places. What is there is known by the file system's own number for it, hard links
// included; what is free by its name in a folder that is there.
class Places {
 public:
  // False where the place is in the set already.
  bool Add(const std::filesystem::path& path);
  [[nodiscard]] bool Holds(const std::filesystem::path& path) const;

 private:
#ifdef _WIN32
  std::vector<Place> m_places;  // a handful: the outputs of one machine
#else
  using Id = std::tuple<std::uintmax_t, std::uintmax_t, std::string>;  // device, number, free names
  static Id IdOf(const std::filesystem::path& path);
  std::set<Id> m_places;
#endif
};

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_PLACES_H_
