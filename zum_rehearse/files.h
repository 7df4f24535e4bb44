// Files by paths of the standard library, in both worlds.
#ifndef ZUM_REHEARSE_FILES_H_
#define ZUM_REHEARSE_FILES_H_

#include <filesystem>
#include <string>
#include <string_view>

namespace zum_rehearse {

// The path of a UTF-8 text, and back; natively the bytes as they are.
[[nodiscard]] std::filesystem::path PathOf(std::string_view utf8);
[[nodiscard]] std::string Utf8Of(const std::filesystem::path& path);

// The full path as the seam takes it. Throws std::exception where it has no UTF-16 form.
[[nodiscard]] std::u16string SystemPath(const std::filesystem::path& path);

// Reads a whole file. On failure false, with the reason in `reason`.
[[nodiscard]] bool ReadWholeFile(const std::filesystem::path& path, std::string& bytes,
                                 std::string& reason);

// With ASCII letters in lower case; other bytes as they are.
[[nodiscard]] std::string LowerCase(std::string_view text);

// True where a folder's file of this name is taken for an export: ".reg" in any case.
[[nodiscard]] bool IsNamedAsExport(const std::filesystem::path& path);

// The last error of the C library in words.
[[nodiscard]] std::string LastReason();

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_FILES_H_
