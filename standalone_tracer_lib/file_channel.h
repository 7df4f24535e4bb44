// The channel that writes the trace file.
#ifndef STANDALONE_TRACER_LIB_FILE_CHANNEL_H_
#define STANDALONE_TRACER_LIB_FILE_CHANNEL_H_

#include <fstream>

#include "oru/rtl/object_impl.h"
#include "oru/rtl/result_code.h"
#include "oru/rtl/string.h"
#include "oru/rtl/tracer.h"

namespace standalone::trace {

// Made by oru::CreateObject. The file has its header from the start, a line for each record, and
// its footer when the object ends. Others may open it for reading and writing meanwhile. Lines
// reach it when the stream's buffer fills up and at the end, and a write that fails is told
// nowhere. Not locked: one thread at a time.
class FileChannel : public oru::inherit_ifaces<oru::tracer::IChannel>,
                    private oru::ObjectModuleAutoLockTyped<FileChannel>,
                    private oru::NonCopyable {
 public:
  // Makes or truncates the file. `commandLine` is zero-terminated and not null. Throws
  // oru::CheckFailedException when the file can't be opened, and oru::datetime::TimeSystemError or
  // std::bad_alloc, with an empty file left behind, when the header can't be composed.
  FileChannel(const oru::String16& path, const char* commandLine);

  // sOk, whatever became of the write. Throws oru::datetime::TimeSystemError or std::bad_alloc,
  // with nothing written, when the line can't be composed.
  oru::ResultCode WriteRecord(const oru::tracer::TraceRecord* record) override;

 protected:
  // Leaves out a footer that can't be composed.
  ~FileChannel();

 private:
  void WriteFooter();

  std::ofstream m_stream;
};

}  // namespace standalone::trace

#endif  // STANDALONE_TRACER_LIB_FILE_CHANNEL_H_
