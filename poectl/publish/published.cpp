#include "poectl/publish/published.h"

#include "poectl/record/record_line.h"
#include "poectl/record/record_reader.h"
#include "poectl/status/status_events.h"

#include <unistd.h>

std::string publishedFile(const std::string& directory, const char* name) {
  return directory + "/" + name;
}

Snapshot publishedSnapshot(const std::string& path) {
  const std::string accepted = "; accepted is one line of 'poectl publish'";
  RecordReader reader(path);
  if (reader.size() > MAX_RECORD_LINE) { // which would take time to read
    throw InputError(path + ": is too long; accepted are " + std::to_string(MAX_RECORD_LINE) + " bytes");
  }
  auto record = reader.next();
  if (!record) {
    throw InputError(path + ": is empty" + accepted);
  }
  if (reader.place().offset != reader.size()) {
    throw InputError(path + ": has more than one line" + accepted);
  }
  return std::move(record->snapshot);
}

std::optional<Snapshot> lastPublished(const std::string& directory) {
  const std::string path = publishedFile(directory, STATUS_FILE);
  return access(path.c_str(), F_OK) == 0 ? std::optional(publishedSnapshot(path)) : std::nullopt;
}

std::chrono::milliseconds ageOf(const Snapshot& snapshot, Snapshot::Time now) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(now - snapshot.end);
}

bool isStaleAt(const Snapshot& snapshot, std::chrono::milliseconds age) {
  return std::chrono::abs(age) >= staleAfterPeriod(snapshot.period);
}
