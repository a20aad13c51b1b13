#include "poectl/publish/published.h"

#include "poectl/record/record_reader.h"
#include "poectl/status/status_events.h"

#include <algorithm>
#include <unistd.h>

std::string publishedFile(const std::string& directory, const char* name) {
  return directory + "/" + name;
}

std::optional<Snapshot> lastPublished(const std::string& directory) {
  const std::string path = publishedFile(directory, STATUS_FILE);
  if (access(path.c_str(), F_OK) != 0) {
    return {};
  }
  const std::optional<Record> record = RecordReader(path).next();
  return record ? std::optional(record->snapshot) : std::nullopt;
}

std::chrono::milliseconds ageOf(const Snapshot& snapshot, Snapshot::Time now) {
  const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(now - snapshot.end);
  return std::max(age, std::chrono::milliseconds(0));
}

bool isStaleAt(const Snapshot& snapshot, std::chrono::milliseconds age) {
  return age >= staleAfterPeriod(snapshot.period);
}
