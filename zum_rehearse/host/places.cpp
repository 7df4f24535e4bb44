#include "zum_rehearse/places.h"

#include <sys/stat.h>

namespace zum_rehearse {

Places::Id Places::IdOf(const std::filesystem::path& path) {
  const Place place = PlaceOf(path);
  struct stat status = {};
  // What can't be looked at, such as a root folder behind a dead mount, has its name only.
  if (::stat(place.existing.c_str(), &status) != 0) {
    return {0, 0, (place.existing / place.rest).native()};
  }
  return {status.st_dev, status.st_ino, place.rest.native()};
}

bool Places::Add(const std::filesystem::path& path) { return m_places.insert(IdOf(path)).second; }

bool Places::Holds(const std::filesystem::path& path) const {
  return m_places.contains(IdOf(path));
}

}  // namespace zum_rehearse
