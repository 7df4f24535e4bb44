// A flat list of the plain files and directories in one directory, in the order of the system's
// search. Links, "." and ".." are passed over.
#ifndef ZUM_SETUP_UTIL_LIB_FILESYSTEM_ITERATOR_H_
#define ZUM_SETUP_UTIL_LIB_FILESYSTEM_ITERATOR_H_

#include <memory>
#include <string>

#include "platform/util/windows/filesystem/directory_walker.h"
#include "platform/util/windows/filesystem/find_context.h"
#include "zum_setup_util_lib/filesystem_object.h"

namespace correct_setup {

// Slot order is declaration order.
class IFilesystemIterator {
 public:
  virtual ~IFilesystemIterator() = default;

  // Throws oru::CheckResultFailedException ("Invalid state") where the iterator stands at no
  // object, and at a directory what MoveNext throws for its name.
  [[nodiscard]] virtual FilesystemObject GetCurrentObject() const = 0;
  // Goes to the next object. False at the end and for a directory that can't be opened, where the
  // next call starts over, and for a search that breaks off, which stays where it is. A directory
  // whose name has characters from 256 up throws std::bad_cast, a lack of memory std::bad_alloc;
  // the search then stands at that directory, and the next call goes on behind it.
  [[nodiscard]] virtual bool MoveNext() = 0;
  // Closes the search, so that the next MoveNext starts over.
  virtual void Reset() = 0;
};

class FilesystemIterator final : public IFilesystemIterator {
 public:
  explicit FilesystemIterator(const std::u16string& from) : m_from(from) {}

  [[nodiscard]] FilesystemObject GetCurrentObject() const override;
  [[nodiscard]] bool MoveNext() override;
  void Reset() override;

 private:
  [[nodiscard]] bool StepForward();
  [[nodiscard]] bool IsAcceptable() const;

  std::u16string m_from;
  product_platform::filesystem::DirectoryWalker<product_platform::filesystem::FlatPolicy> m_walker;
};

// Touches no disk, so it can't fail on a bad path.
[[nodiscard]] std::shared_ptr<IFilesystemIterator> CreateFilesystemIterator(
    const std::u16string& from);

// The object for the entry at which a search stands. Throws oru::CheckResultFailedException for a
// null or invalid search ("Invalid argument") and for a link ("Invalid type").
[[nodiscard]] FilesystemObject MakeFilesystemObject(
    const product_platform::filesystem::FindContext* from);

}  // namespace correct_setup

#endif  // ZUM_SETUP_UTIL_LIB_FILESYSTEM_ITERATOR_H_
