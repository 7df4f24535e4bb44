// What can be copied into the drop directory.
#ifndef ZUM_SETUP_UTIL_LIB_FILESYSTEM_OBJECT_H_
#define ZUM_SETUP_UTIL_LIB_FILESYSTEM_OBJECT_H_

#include <cstdint>
#include <string>

#include "oru/rtl/trace_stream.h"

namespace correct_setup {

enum class FilesystemObjectType : std::int32_t { File = 0, Directory = 1 };

struct FilesystemObject {
  std::u16string m_name;  // relative to its directory; in a drop list a mask
  FilesystemObjectType m_type = FilesystemObjectType::File;
};

// "file:" or "dir:" and the name; the name alone for another type.
oru::TraceStream& operator<<(oru::TraceStream& stream, const FilesystemObject& object);

}  // namespace correct_setup

#endif  // ZUM_SETUP_UTIL_LIB_FILESYSTEM_OBJECT_H_
