#include "platform/host/watchdog/watchdog_table.h"

#include <algorithm>
#include <utility>

namespace {

using Report = WatchdogTable::Report;

void report(std::vector<Report>& reports, Report::Kind kind, const WatchdogTable::Client& client,
            std::uint64_t gap) {
  reports.push_back({kind, client.name, gap, client.timeout});
}

// A client may have been late and fed again between two checks; then both are reported now, in this order.
void reportFedAgain(std::vector<Report>& reports, WatchdogTable::Client& client) {
  if (client.missedGap == 0) {
    return;
  }
  if (!client.reportedLate) {
    report(reports, Report::Kind::NOT_FED, client, client.missedGap);
  }
  report(reports, Report::Kind::FED_AGAIN, client, client.missedGap);
  client.reportedLate = false;
  client.missedGap = 0;
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

std::vector<Report> WatchdogTable::remove(Client* client, std::uint64_t now) {
  for (Client** link = &m_first; *link != nullptr; link = &(*link)->next) {
    if (*link == client) {
      *link = std::exchange(client->next, nullptr);
      break;
    }
  }
  std::vector<Report> reports;
  reportFedAgain(reports, *client);
  if (isLate(*client, now) && !client->reportedLate) {
    report(reports, Report::Kind::NOT_FED, *client, gap(*client, now));
  }
  return reports;
}

void WatchdogTable::start(Client& client, unsigned timeout, std::uint64_t now) {
  notify(client, now);
  client.started = true;
  client.timeout = timeout;
}

void WatchdogTable::notify(Client& client, std::uint64_t now) {
  if (isLate(client, now)) {
    client.missedGap = std::max(client.missedGap, gap(client, now));
  }
  client.lastFed = now;
}

WatchdogTable::Findings WatchdogTable::check(std::uint64_t now) {
  Findings findings{startedClients() != 0, {}};
  for (Client* client = m_first; client != nullptr; client = client->next) {
    reportFedAgain(findings.reports, *client);
    if (!isLate(*client, now)) {
      continue;
    }
    findings.allInTime = false;
    if (!client->reportedLate) {
      report(findings.reports, Report::Kind::NOT_FED, *client, gap(*client, now));
    }
    client->reportedLate = true;
  }
  return findings;
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
