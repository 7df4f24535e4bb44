#include "zum_rehearse/places.h"

#include <system_error>

namespace zum_rehearse {
namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;  // a chain that is longer leads nowhere

// The full path, as the system goes it: only Windows takes ".." out before it looks for links.
fs::path FullPath(const fs::path& path) {
  std::error_code error;
  fs::path full = fs::absolute(path, error);
#ifdef _WIN32
  full = full.lexically_normal();
  // The C library finds no folder whose name has a separator behind it.
  if (!full.has_filename() && full.has_relative_path()) full = full.parent_path();
#endif
  return full;
}

fs::path TargetOf(const fs::path& link) {
  std::error_code error;
  return link.parent_path() / fs::read_symlink(link, error);
}

}  // namespace

Place PlaceOf(const fs::path& path) {
  Place place = {FullPath(path), {}};
  std::error_code error;
  for (int links = 0; !fs::exists(place.existing, error);) {
    if (fs::is_symlink(fs::symlink_status(place.existing, error)) && ++links < kMostLinks) {
      place.existing = TargetOf(place.existing);
      continue;
    }
    const fs::path name = place.existing.filename();
    const fs::path parent = place.existing.parent_path();
    if (parent == place.existing) break;  // a root that isn't there
    // A separator at the end has no name behind it.
    if (!name.empty() && name != ".") place.rest = place.rest.empty() ? name : name / place.rest;
    place.existing = parent;
  }
  return place;
}

fs::path Resolved(const fs::path& path) {
  const Place place = PlaceOf(path);
  std::error_code error;
  const fs::path existing = fs::canonical(place.existing, error);
  return (error ? place.existing : existing) / place.rest;
}

}  // namespace zum_rehearse
