#include "platform/host/watchdog/watchdog_table.h"

#include <algorithm>
#include <utility>

namespace {

using Report = WatchdogTable::Report;
using Reports = WatchdogTable::Reports;

void report(Reports& reports, Report::Kind kind, const WatchdogTable::Client& client, std::uint64_t now) {
  reports.push_back({kind, client.name, WatchdogTable::gap(client, now), client.timeout});
}

} // namespace

WatchdogTable::Client::Client(const std::string& clientName) noexcept {
  std::copy_n(clientName.data(), std::min(clientName.size(), NAME_SIZE - 1), name);
}

void WatchdogTable::add(Client* client) {
  Client** end = &m_first;
  while (*end != nullptr) {
    end = &(*end)->next;
  }
  *end = client;
}

Reports WatchdogTable::remove(Client* client, std::uint64_t now) {
  Client** link = &m_first;
  while (*link != client) {
    link = &(*link)->next;
  }
  *link = std::exchange(client->next, nullptr);
  Reports reports;
  if (isLate(*client, now) && !client->reportedLate) {
    report(reports, Report::Kind::NOT_FED, *client, now);
  }
  return reports;
}

Reports WatchdogTable::start(Client& client, unsigned timeout, std::uint64_t now) {
  Reports reports = notify(client, now);
  client.started = true;
  client.timeout = timeout;
  return reports;
}

Reports WatchdogTable::notify(Client& client, std::uint64_t now) {
  Reports reports;
  if (isLate(client, now)) {
    if (!client.reportedLate) {
      report(reports, Report::Kind::NOT_FED, client, now);
    }
    report(reports, Report::Kind::FED_AGAIN, client, now);
  }
  client.reportedLate = false;
  client.lastFed = now;
  return reports;
}

WatchdogTable::Findings WatchdogTable::check(std::uint64_t now) {
  Findings findings{startedClients() != 0, {}};
  for (Client* client = m_first; client != nullptr; client = client->next) {
    if (!isLate(*client, now)) {
      continue;
    }
    findings.allInTime = false;
    if (!client->reportedLate) {
      report(findings.reports, Report::Kind::NOT_FED, *client, now);
    }
    client->reportedLate = true;
  }
  return findings;
}

std::uint64_t WatchdogTable::nextDeadline() const {
  std::uint64_t deadline = NEVER;
  for (const Client* client = m_first; client != nullptr; client = client->next) {
    if (client->started && !client->reportedLate) {
      deadline = std::min(deadline, client->lastFed + client->timeout + 1);
    }
  }
  return deadline;
}

std::size_t WatchdogTable::startedClients() const {
  std::size_t started = 0;
  for (const Client* client = m_first; client != nullptr; client = client->next) {
    started += client->started ? 1U : 0U;
  }
  return started;
}

bool WatchdogTable::isLate(const Client& client, std::uint64_t now) {
  return client.started && gap(client, now) > client.timeout;
}

// A caller may have read the clock before another one that got in first; such a gap is none.
std::uint64_t WatchdogTable::gap(const Client& client, std::uint64_t now) {
  return now > client.lastFed ? now - client.lastFed : 0;
}
