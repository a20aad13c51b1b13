// Appends to a record file.
#pragma once

#include "poectl/status/snapshot.h"
#include "posix/file_descriptor.h"

#include <functional>
#include <memory>
#include <string>

// Owns the file for as long as it exists: nobody else can record into it. One thread.
class RecordWriter {
public:
  using Warn = std::function<void(const std::string& line)>;

  // Makes the file when it is not there. A last line without an end gets one. `warn` gets one line when a
  // record cannot be written, and one when they can be again. Throws InputError for what is no regular file,
  // without waiting for anybody; for a file that begins with something else than a record of this version;
  // and for one that somebody else records into. The file is then unchanged.
  RecordWriter(const std::string& path, Warn warn);
  RecordWriter(const RecordWriter&) = delete;
  RecordWriter& operator=(const RecordWriter&) = delete;

  // Appends one line with one write. A record that the file does not take as a whole is not in it.
  void write(const Snapshot& snapshot);

  // Whether every record is in the file.
  bool isComplete() const { return m_isComplete; }

private:
  void requireRecords() const;
  void endLastLine() const;
  void report(bool written, int error);

  const std::string m_path;
  const Warn m_warn;
  FileDescriptor m_file;
  bool m_isFailing = false;
  bool m_isComplete = true;
};

// Null for an empty path. Throws as the constructor does.
std::unique_ptr<RecordWriter> openRecord(const std::string& path, RecordWriter::Warn warn);
