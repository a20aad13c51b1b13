// Goes through a record file in both directions.
#pragma once

#include "poectl/record/record_events.h"
#include "poectl/record/record_reader.h"

#include <vector>

// Keeps one record and an index of at most MAX_PLACES places, whatever the length of the file. One thread.
class RecordPlayer {
public:
  static constexpr std::size_t MAX_PLACES = 4096;

  // As RecordReader's. Throws InputError.
  RecordPlayer(const std::string& path, RecordReader::Warn warn);

  // The next record becomes the current one. False at the end, which damage is too: see damage().
  bool forward();

  // Goes to before the record of this number, from 1 to number() + 1: forward() reads it next. The record's
  // events are then those of a file that begins with it. Throws InputError.
  void rewindTo(std::uint64_t record);

  // Of the current record, from 1; 0 before the first.
  std::uint64_t number() const { return m_number; }
  const Snapshot& snapshot() const { return m_record.snapshot; }
  // What the current record has brought.
  const std::vector<RecordedEvent>& events() const { return m_events; }
  // Which part of the file has been read to get here, 0 to 100.
  unsigned percent() const;
  // What ended the file; empty: its end, or it has not ended.
  const std::string& damage() const { return m_damage; }

private:
  void index(const RecordReader::Place& place);

  RecordReader m_reader;
  std::vector<RecordReader::Place> m_places; // of each m_stride-th record, from the first on
  std::uint64_t m_stride = 1;
  std::uint64_t m_number = 0;
  Record m_record;
  RecordEvents m_tracker;
  std::vector<RecordedEvent> m_events;
  std::string m_damage;
};
