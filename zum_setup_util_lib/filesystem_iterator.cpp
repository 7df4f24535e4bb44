#include "zum_setup_util_lib/filesystem_iterator.h"

#include <string_view>

#include "oru/rtl/exception.h"
#include "oru/rtl/string.h"
#include "oru/rtl/text_conversion.h"

namespace correct_setup {
namespace {

using product_platform::filesystem::ClassifyEntry;
using product_platform::filesystem::EntryClass;
using product_platform::filesystem::FindContext;

constexpr char kSourceFile[] = "zum_setup_util_lib/filesystem_iterator";

// The test is made on the name's 8-bit form, so a name without one ends the walk by an exception.
bool IsDotDirectory(std::u16string_view name) {
  oru::String8 text;
  oru::ThrowOnConversionFailure(oru::Utf16ToAnsi(name, text));
  return text == "." || text == "..";
}

}  // namespace

FilesystemObject MakeFilesystemObject(const FindContext* from) {
  if (from == nullptr || !from->IsValid()) {
    throw oru::CheckResultFailedException(kSourceFile, __LINE__, oru::errInvalidArgument)
        << u"from not valid";
  }
  const std::u16string name(from->Name());
  switch (ClassifyEntry(from->Data().dwFileAttributes)) {
    case EntryClass::kFile:
      return {name, FilesystemObjectType::File};
    case EntryClass::kDirectory:
      return {name, FilesystemObjectType::Directory};
    case EntryClass::kLink:
      break;
  }
  // Not from the iterator, which passes links over.
  throw oru::CheckResultFailedException(kSourceFile, __LINE__, oru::errInvalidType)
      << u"not supported type, for name = " << name;
}

// A directory that can't be opened and a search that breaks off look like the end. The drop of a
// package that isn't there rests on that: it copies nothing, and fails later.
bool FilesystemIterator::StepForward() {
  const oru::ResultCode rc =
      m_walker.Current() == nullptr ? m_walker.Open(m_from) : m_walker.Next();
  return rc == oru::sOk;
}

// Asked again by GetCurrentObject: nothing keeps a caller from asking too early or too late.
bool FilesystemIterator::IsAcceptable() const {
  if (!m_walker.IsValid()) return false;
  const FindContext& current = *m_walker.Current();
  switch (ClassifyEntry(current.Data().dwFileAttributes)) {
    case EntryClass::kFile:
      return true;
    case EntryClass::kDirectory:
      return !IsDotDirectory(current.Name());
    case EntryClass::kLink:
      break;
  }
  return false;
}

bool FilesystemIterator::MoveNext() {
  while (StepForward()) {
    if (IsAcceptable()) return true;
  }
  return false;
}

FilesystemObject FilesystemIterator::GetCurrentObject() const {
  if (!IsAcceptable()) {
    throw oru::CheckResultFailedException(kSourceFile, __LINE__, oru::errInvalidState)
        << u"can't get current state";
  }
  return MakeFilesystemObject(m_walker.Current());
}

void FilesystemIterator::Reset() { m_walker.Close(); }

std::shared_ptr<IFilesystemIterator> CreateFilesystemIterator(const std::u16string& from) {
  return std::make_shared<FilesystemIterator>(from);
}

}  // namespace correct_setup
