#include "tests/support/model/service_pair.h"

#include "tests/support/doubles/log_capture.h"
#include "tests/support/doubles/platform_doubles.h"

#include <sstream>
#include <utility>

namespace {

std::string lines(const LogLines& log) {
  std::ostringstream text;
  for (const LogLine& line : log) {
    text << "  " << line << "\n";
  }
  return text.str();
}

std::string bytes(const std::vector<std::vector<std::uint8_t>>& messages) {
  std::ostringstream text;
  for (const auto& message : messages) {
    text << "  ";
    for (const unsigned byte : message) {
      text << byte << " ";
    }
    text << "\n";
  }
  return text.str();
}

std::string words(const std::vector<std::string>& list) {
  std::string text;
  for (const std::string& word : list) {
    text += "  " + word + "\n";
  }
  return text;
}

} // namespace

ServicePair::ServicePair(BusDevice& device) : bus(device) {
  takeLog();
  takeWatchdogEvents();
}

ServicePair::~ServicePair() {
  onSleep({});
  engine.reset();
}

void ServicePair::construct(const std::vector<int>& openErrors, const std::vector<int>& bindErrors) {
  bus.openErrors = openErrors;
  bus.bindErrors = bindErrors;
  engine = std::make_unique<CPD69104Engine>();
  follow([&] { model.construct(openErrors, bindErrors); });
}

void ServicePair::run(const std::function<bool()>& afterCycle) {
  bool isSetUp = false;
  engine->start();
  posix.calls.clear();
  onSleep([&](double /*seconds*/) {
    follow([&] {
      if (!std::exchange(isSetUp, true)) {
        model.setUp();
      }
      model.cycle();
    });
    if (!afterCycle()) {
      engine->stop();
      posix.calls.clear();
    }
  });
  posix.runThread();
  onSleep({});
  model.endRun();
}

void ServicePair::follow(const std::function<void()>& modelOperation) {
  model.driver.bus.play(bus.takeTransfers());
  modelOperation();
  note(model.driver.bus.takeDifference());
  compareRest();
}

void ServicePair::compareRest() {
  const LogLines log = takeLog();
  if (!(log == model.driver.log)) {
    note("logged:\n" + lines(log) + "instead of:\n" + lines(model.driver.log));
  }
  model.driver.log.clear();
  if (posix.calls != model.calls) {
    note("called:\n" + words(posix.calls) + "instead of:\n" + words(model.calls));
  }
  posix.calls.clear();
  model.calls.clear();
  if (posix.messages != model.messages) {
    note("sent:\n" + bytes(posix.messages) + "instead of:\n" + bytes(model.messages));
  }
  posix.messages.clear();
  model.messages.clear();
  takeWatchdogEvents();
}

void ServicePair::note(const std::string& difference) {
  if (!difference.empty()) {
    m_differences += difference + "\n";
  }
}

std::string ServicePair::takeDifferences() {
  return std::exchange(m_differences, {});
}

void ServicePair::handleConfig(const PoeConfig& config) {
  engine->handleConfig(&config, sizeof config);
  follow([&] { model.handleConfig(config); });
}

void ServicePair::applyConfig(const PoeConfig& config, bool force) {
  note(engine->applyConfig(config, force) ? "" : "applyConfig is false");
  follow([&] { model.applyConfig(config, force); });
}

void ServicePair::configurePort(unsigned port, const PoePortConfig& config) {
  const bool result = engine->configurePort(port, config);
  follow([&] { note(model.configurePort(port, config) == result ? "" : "configurePort's result differs"); });
}

void ServicePair::checkChip() {
  note(engine->checkChip() ? "" : "checkChip is false");
  follow([&] { model.checkChip(); });
}

void ServicePair::audit() {
  note(engine->audit() ? "" : "audit is false");
  follow([&] { model.audit(); });
}

void ServicePair::pollPort(unsigned port) {
  const bool result = engine->pollPort(port);
  follow([&] { note(model.pollPort(port) == result ? "" : "pollPort's result differs"); });
}

void ServicePair::updateOperStatus() {
  note(engine->updateOperStatus() ? "" : "updateOperStatus is false");
  follow([&] { model.updateOperStatus(); });
}

void ServicePair::sendStatus() {
  const bool result = engine->sendStatus();
  follow([&] { note(model.sendStatus() == result ? "" : "sendStatus's result differs"); });
}

void ServicePair::setQueueErrors(int openError, int sendError) {
  posix.openError = model.openError = openError;
  posix.sendError = model.sendError = sendError;
}

void ServicePair::compareReply(const std::vector<const char*>& command,
                               const std::function<std::string()>& expected) {
  char reply[8192];
  engine->dbgCommand(static_cast<std::uint32_t>(command.size()), command.data(), reply, sizeof reply);
  follow([&] {
    const std::string wanted = expected();
    if (wanted != reply) {
      note(std::string("replied:\n") + reply + "instead of:\n" + wanted);
    }
  });
}

void ServicePair::reportCached() {
  compareReply({"device"}, [&] { return model.device(); });
  const char* ports[] = {"0", "1", "2", "3"};
  for (unsigned port = 0; port < 4; port++) {
    compareReply({"channel", ports[port]}, [&] { return model.channel(port); });
  }
}

void ServicePair::reportLive() {
  compareReply({"info"}, [&] { return model.info(); });
  const char* ports[] = {"0", "1", "2", "3"};
  for (unsigned port = 0; port < 4; port++) {
    compareReply({"poeport", ports[port]}, [&] { return model.poePort(port); });
  }
  compareReply({"readReg", "0x43"}, [&] { return model.readRegister(0x43); });
  writeRegister(0x20, 0x1234);
}

void ServicePair::writeRegister(unsigned address, unsigned value) {
  const std::string addressText = std::to_string(address);
  const std::string valueText = std::to_string(value);
  compareReply({"writeReg", addressText.c_str(), valueText.c_str()},
               [&] { return model.writeRegister(address, value); });
}
