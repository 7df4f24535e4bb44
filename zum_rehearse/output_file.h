// A file that is there as a whole or not at all.
#ifndef ZUM_REHEARSE_OUTPUT_FILE_H_
#define ZUM_REHEARSE_OUTPUT_FILE_H_

#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <string_view>

namespace zum_rehearse {

// Writes beside the file and puts the result in its place at the end, so that a run that is killed
// leaves the old file, or none, and never one that could be imported and is half of it. What it has
// written by then stays under the file's name with the process's number and ".new" behind it.
//
// Written to straight away is what has no such place: a pipe or a device, a link that leads
// nowhere, and a file in a folder that takes no other.
class OutputFile {
 public:
  // The file is replaced, if it may be written to. A failure shows at Commit.
  explicit OutputFile(const std::filesystem::path& path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  // Without Commit the file is as it was.
  ~OutputFile() { Drop(); }

  [[nodiscard]] std::ostream& Stream() { return m_stream; }

  // To be called once. On failure false, with the reason, and the file is as it was.
  [[nodiscard]] bool Commit(std::string& reason);

 private:
  [[nodiscard]] bool OpenBeside(const std::filesystem::path& path);
  void Drop();

  std::filesystem::path m_target;
  std::filesystem::path m_beside;  // empty: nothing lies there
  std::ofstream m_stream;
  std::string m_reason;  // why nothing could be opened
};

// A whole file at once.
[[nodiscard]] bool WriteWholeFile(const std::filesystem::path& path, std::string_view bytes,
                                  std::string& reason);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_OUTPUT_FILE_H_
