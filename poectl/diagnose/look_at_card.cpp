#include "poectl/diagnose/look_at_card.h"

#include "poectl/console/console_client.h"
#include "poectl/console/console_report.h"
#include "poectl/diagnose/card_facts.h"
#include "poectl/diagnose/log_source.h"
#include "poectl/status/timestamp.h"
#include "text/number.h"

#include <memory>
#include <thread>

namespace {

constexpr unsigned FREE_LOOKS = 5;
static_assert(MAX_LOOK_TRANSFERS == INFO_TRANSFERS + 2 * POE_PORTS * POEPORT_TRANSFERS + 3);
constexpr ConsoleWait REPLY_WAIT{std::chrono::seconds(5)};

class Looker {
public:
  Looker(const LookOptions& options, const std::function<void(const std::string&)>& say)
      : m_options(options), m_say(say) {}

  CardLooks look() {
    openServiceLog();
    m_looks.names = m_options.names;
    m_looks.statusFirst = queueState(QUEUE_TO_MAIN);
    m_looks.begin = currentTime();
    askConsoleReports();
    m_looks.end = currentTime();
    m_looks.status = queueState(QUEUE_TO_MAIN);
    m_looks.configuration = queueState(QUEUE_TO_POE);
    followLog();
    return m_looks;
  }

private:
  void openServiceLog() {
    try {
      m_log = openLog(m_options.log);
      m_looks.logName = m_log->name();
      m_looks.logText = m_log->text();
      m_looks.log.add(m_looks.logText, false);
    } catch (const LogError& error) {
      m_log = nullptr;
      m_looks.logProblem = error.what();
    }
  }

  void followLog() {
    try {
      if (m_log) {
        const std::string added = m_log->added();
        m_looks.logText += added;
        m_looks.log.add(added, true);
      }
    } catch (const LogError& error) {
      m_log = nullptr;
      m_looks.logProblem = error.what();
    }
  }

  void askConsoleReports() {
    try {
      for (unsigned look = 0; look < FREE_LOOKS; look++) {
        if (look != 0) {
          std::this_thread::sleep_for(m_options.interval);
        }
        m_looks.free.push_back(freeReports());
      }
      followLog();
      askBus();
    } catch (const ConsoleClosedError& error) {
      breakOff(ConsoleState::CLOSED, error);
    } catch (const ConsoleSilentError& error) {
      breakOff(ConsoleState::SILENT, error);
    } catch (const ConsoleError& error) {
      breakOff(ConsoleState::FOREIGN, error);
    }
  }

  void breakOff(ConsoleState state, const ConsoleError& error) {
    m_looks.console = state;
    m_looks.consoleProblem = error.what();
    m_looks.whyNoBus = m_looks.bus ? "" : "the console gives no reports";
  }

  template <typename Report, typename... Port>
  static SeenReport<Report> report(const char* name, Report (*parse)(const std::string&, Port...),
                                   Port... port) {
    const std::string command = (std::string(name) + ... + (" " + std::to_string(port)));
    return seenReport(command, askConsole(consoleLine(command), REPLY_WAIT), parse, port...);
  }

  FreeReports freeReports() const {
    FreeReports reports;
    reports.device = report("device", parseDevice);
    reports.device.understood(); // a program that is not the service is refused
    for (unsigned port = 0; port < POE_PORTS; port++) {
      reports.channel[port] = report("channel", parseChannel, port);
    }
    return reports;
  }

  std::string reasonAgainstBus() const {
    if (m_options.bus == BusUse::NEVER) {
      return "--no-bus was given";
    }
    if (hasNoDriver(m_looks)) {
      return "the service has no driver";
    }
    const bool isForbidden = m_options.bus == BusUse::UNLESS_FAILING && isBusFailing(m_looks);
    return isForbidden
               ? "the bus fails, and each failed transfer may cost all ports their power; --bus uses it "
                 "all the same"
               : "";
  }

  void askBus() {
    m_looks.whyNoBus = reasonAgainstBus();
    if (!m_looks.whyNoBus.empty()) {
      return;
    }
    m_say("using the chip's bus now, with at most " + std::to_string(MAX_LOOK_TRANSFERS) +
          " transfers; one that fails costs every port its power for a moment (--no-bus avoids it)");
    m_looks.bus.emplace();
    BusReports& bus = *m_looks.bus;
    bus.info = busReport(INFO_TRANSFERS, "info", parseInfo);
    for (unsigned port = 0; port < POE_PORTS; port++) {
      bus.first[port] = busReport(POEPORT_TRANSFERS, "poeport", parsePoePort, port);
    }
    bus.mode = readRegister("0x12");
    bus.detection = readRegister("0x14");
    askAgain(bus);
  }

  // Some seconds later, what may have changed.
  void askAgain(BusReports& bus) {
    std::vector<unsigned> ports;
    for (unsigned port = 0; port < POE_PORTS; port++) {
      if (needsSecondReading(port)) {
        ports.push_back(port);
      }
    }
    if (bus.showsMarker() || !ports.empty()) {
      std::this_thread::sleep_for(m_options.growth);
    }
    if (bus.showsMarker()) {
      bus.marker = readRegister("0x90");
    }
    for (const unsigned port : ports) {
      bus.later[port] = busReport(POEPORT_TRANSFERS, "poeport", parsePoePort, port);
    }
  }

  // An enabled port with a device that has had no power in a look, or one that has counted an event.
  bool needsSecondReading(unsigned port) const {
    const std::optional<PoePortReport>& first = m_looks.bus->first[port].values;
    if (!first || !first->enabled) {
      return false;
    }
    if (channelOnce(m_looks, port, ChannelLine::ENABLE, false) &&
        !channelAlways(m_looks, port, ChannelLine::DETECTION, DetectionStatus::OPEN_CIRCUIT)) {
      return true;
    }
    return std::any_of(STATUS_COUNTER.begin(), STATUS_COUNTER.end(), [&](const StatusField& counter) {
      return counter.member != &PoePortStatus::invalidSignatureCounter &&
             counterOf(*first, counter.member) != 0;
    });
  }

  // Before each report, the transfer-free one shows whether the bus is still good.
  bool mayGoOn() {
    m_looks.free.push_back(freeReports());
    if (m_options.bus != BusUse::ALWAYS && isBusFailing(m_looks)) {
      m_looks.whyNoBus = "the bus began to fail while it was used; what was still to be asked is not known";
      return false;
    }
    return true;
  }

  template <typename Report, typename... Port>
  SeenReport<Report> busReport(unsigned transfers, const char* name,
                               Report (*parse)(const std::string&, Port...), Port... port) {
    if (!mayGoOn()) {
      return {};
    }
    m_looks.transfers += transfers;
    return report(name, parse, port...);
  }

  // "PD69104Engine: value read 0x12:0xff"
  std::optional<std::uint32_t> readRegister(const std::string& address) {
    if (!mayGoOn()) {
      return std::nullopt;
    }
    m_looks.transfers++;
    const std::string reply = askConsole(consoleLine("readReg " + address), REPLY_WAIT);
    const std::string mark = "value read " + address + ":";
    const std::size_t start = reply.find(mark);
    if (start == std::string::npos) {
      return std::nullopt;
    }
    const std::size_t value = start + mark.size();
    return text::prefixedNumberFrom<std::uint32_t>(reply.substr(value, reply.find('\n', value) - value));
  }

  const LookOptions& m_options;
  const std::function<void(const std::string&)>& m_say;
  std::unique_ptr<LogSource> m_log;
  CardLooks m_looks;
};

} // namespace

CardLooks lookAtCard(const LookOptions& options, const std::function<void(const std::string&)>& say) {
  return Looker(options, say).look();
}
