#include "zum_setup_util_lib/filesystem_object.h"

#include "oru/rtl/trace_inserters.h"

namespace correct_setup {

oru::TraceStream& operator<<(oru::TraceStream& stream, const FilesystemObject& object) {
  // Without a default, so that the compiler tells of a kind that is missing.
  switch (object.m_type) {
    case FilesystemObjectType::File:
      stream << "file:";
      break;
    case FilesystemObjectType::Directory:
      stream << "dir:";
      break;
  }
  return stream << object.m_name;
}

}  // namespace correct_setup
