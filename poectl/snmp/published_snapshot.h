// The snapshot that another process publishes in a file.
#pragma once

#include "poectl/snmp/mib_object.h"

#include <functional>
#include <optional>
#include <string>
#include <sys/stat.h>

// Reads the file again only when it has changed, which costs one stat() for each look. One thread.
class PublishedSnapshot {
public:
  // Gets one line whenever there is another reason why the file has no snapshot.
  using Warn = std::function<void(const std::string& line)>;

  // `path`: one line as snapshotJsonLine() writes it, which is replaced by rename. It need not exist.
  PublishedSnapshot(std::string path, Warn warn);

  // What is known at the time `now`; isStaleAt() says when a snapshot is stale. Never waits for anybody and
  // never throws for what is in the file.
  CardLook look(Snapshot::Time now);

private:
  void read();

  const std::string m_path;
  const Warn m_warn;
  struct stat m_identity {}; // of the file that was read last; all 0: none
  std::optional<Snapshot> m_snapshot;
  std::string m_refusal; // why there is no snapshot; empty: there is one
};
