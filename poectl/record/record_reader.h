// Reads a record file.
#pragma once

#include "poectl/config/input_file.h"
#include "poectl/status/snapshot.h"

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>

struct Record {
  Snapshot snapshot;
  std::string line; // as it stands in the file, without its end
};

// Reads one record after the other, and holds no more than one: a file may have any length. One thread.
class RecordReader {
public:
  // Gets one line for each damaged line that is passed over.
  using Warn = std::function<void(const std::string& line)>;

  // With `warn`, damaged lines are passed over; without, the first one ends the file. Throws InputError for
  // what is no regular file, without waiting for anybody, or cannot be read.
  explicit RecordReader(const std::string& path, Warn warn = {});

  // Nothing at the end. Throws InputError at damage: it names the file and the line; every further call
  // throws it again.
  std::optional<Record> next();

  // Records that next() has returned.
  std::uint64_t count() const { return m_place.records; }

  // A place between two records. `offset` is in bytes.
  struct Place {
    std::uint64_t offset = 0;
    std::uint64_t lines = 0;   // before it
    std::uint64_t records = 0; // before it
  };
  const Place& place() const { return m_place; }
  // To a place that place() has returned.
  void goTo(const Place& place);

  // In bytes, when the file was opened.
  std::uint64_t size() const { return m_size; }

private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  bool readLine();
  std::string damage(const std::string& what) const;

  const std::string m_path;
  const Warn m_warn;
  std::unique_ptr<std::FILE, Close> m_file;
  std::uint64_t m_size = 0;
  Place m_place;
  std::string m_line;
  std::string m_fault;  // of m_line as a line; empty: none
  bool m_isCut = false; // m_line has no end
};
