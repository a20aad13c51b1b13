// poe_card: runs a command on a simulated card.
#include "simulator/bus/transfer_record.h"
#include "simulator/card/simulated_card.h"
#include "simulator/program/adapter_messages.h"
#include "simulator/program/card_options.h"
#include "simulator/program/child_process.h"
#include "simulator/program/control_socket.h"
#include "simulator/program/descriptors.h"
#include "simulator/program/log_loss.h"
#include "simulator/program/simulated_adapter.h"
#include "simulator/program/work_folder.h"
#include "simulator/virtio/virtio_server.h"
#include "text/text_file.h"

#include <glib-unix.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <dlfcn.h>
#include <unistd.h>

namespace {

constexpr int FAILED = 1;
constexpr int WRONG_USAGE = 2;
constexpr const char* MOCK_LIBRARY = "libumockdev-preload.so.0";

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::string joined(const std::string& first, const std::string& second) {
  return second.empty() ? first : first + ":" + second;
}

// The library that makes /dev/i2c-0 appear has to be preloaded, into this
// process too: starts the program over with it when it is not there.
void enterMockEnvironment(char** argv) {
  const std::string preloaded = variable("LD_PRELOAD");
  if (preloaded.find(MOCK_LIBRARY) != std::string::npos) {
    return;
  }
  if (dlopen(MOCK_LIBRARY, RTLD_LAZY | RTLD_LOCAL) == nullptr) { // ld.so itself would only warn
    throw std::runtime_error(std::string(dlerror()) + "; the Debian package umockdev has it");
  }
  setenv("LD_PRELOAD", joined(MOCK_LIBRARY, preloaded).c_str(), 1);
  // A program built with AddressSanitizer, the command or this one, refuses to
  // run when its runtime is not the first library.
  const std::string asanOptions = variable("ASAN_OPTIONS");
  if (asanOptions.find("verify_asan_link_order") == std::string::npos) {
    setenv("ASAN_OPTIONS", joined("verify_asan_link_order=0", asanOptions).c_str(), 1);
  }
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  execv(self.c_str(), argv);
  throw std::system_error(errno, std::generic_category(), self);
}

// The library beside us that takes the command's syslog lines, where to, and where it reports their loss.
ChildProcess::Environment syslogCapture(const std::string& file, const std::string& lossSocket) {
  const std::filesystem::path bin = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  const std::string name = "libpoe_card_syslog.so";
  const std::string folder = (bin.parent_path() / "libexec" / "poe-tools").string();
  const std::string library = folder + "/" + name;
  if (access(library.c_str(), R_OK) != 0) {
    throw std::system_error(errno, std::generic_category(), library);
  }
  // Its folder may have a blank in its name, which LD_PRELOAD would take for the end of a path.
  if (folder.find_first_of(":;") != std::string::npos) {
    throw std::runtime_error(
        "--log: a library cannot be preloaded from a folder with a colon or semicolon: " + folder);
  }
  try {
    requireWritableFile(file);
  } catch (const std::runtime_error& error) {
    throw UsageError(std::string("--log: ") + error.what());
  }
  return {{"LD_PRELOAD", joined(variable("LD_PRELOAD"), name)},
          {"LD_LIBRARY_PATH", joined(folder, variable("LD_LIBRARY_PATH"))},
          {"POE_CARD_SYSLOG", std::filesystem::absolute(file).string()},
          {"POE_CARD_LOG_LOSS", lossSocket}};
}

struct Waiting {
  ChildProcess& child;
  GMainLoop* loop;
};

gboolean onSignal(gint /*fd*/, GIOCondition /*condition*/, gpointer data) {
  const auto* waiting = static_cast<Waiting*>(data);
  if (!waiting->child.handleSignal()) {
    return G_SOURCE_CONTINUE;
  }
  g_main_loop_quit(waiting->loop);
  return G_SOURCE_REMOVE;
}

std::unique_ptr<ControlSocket> controlSocket(const std::string& path, SimulatedCard& card) {
  if (path.empty()) {
    return nullptr;
  }
  try {
    return std::make_unique<ControlSocket>(path,
                                           [&card](const std::string& line) { return card.answer(line); });
  } catch (const ListenerError& error) {
    throw UsageError(std::string("--control: ") + error.what());
  }
}

// The card for the emulator of a virtual machine.
std::unique_ptr<VirtioServer> virtioServer(const std::string& path, SimulatedCard& card) {
  const auto report = [path](const std::string& line) {
    std::fprintf(stderr, "poe_card: %s: %s\n", path.c_str(), line.c_str());
  };
  try {
    return std::make_unique<VirtioServer>(path, card, report);
  } catch (const ListenerError& error) {
    throw UsageError(std::string("--virtio: ") + error.what());
  }
}

std::unique_ptr<TransferRecord> recordIn(const std::string& file, bool withTimes) {
  if (file.empty()) {
    return nullptr;
  }
  try {
    return std::make_unique<TransferRecord>(file, withTimes);
  } catch (const std::runtime_error& error) {
    throw UsageError(std::string("--record: ") + error.what());
  }
}

// Names the signal that ended the command, as a shell does for its own commands.
void reportUnexpectedSignal(const ChildProcess& child, const std::string& command) {
  const int number = child.unexpectedSignal();
  if (number != 0) {
    const char* name = sigabbrev_np(number);
    std::fprintf(stderr, "poe_card: %s was ended by %s%s\n", command.c_str(),
                 name == nullptr ? "signal " : "SIG",
                 name == nullptr ? std::to_string(number).c_str() : name);
  }
}

// Runs the command on the card to its end.
void runOn(SimulatedCard& card, const CardOptions& options, const ChildProcess::Environment& environment,
           ChildProcess& child) {
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  Waiting waiting{child, loop};
  g_unix_fd_add(child.signalFd(), G_IO_IN, onSignal, &waiting);
  child.start(options.command, environment);
  g_main_loop_run(loop);
  g_main_loop_unref(loop);
  reportUnexpectedSignal(child, options.command.front());
  if (!card.recordComplete()) {
    throw std::runtime_error("--record: " + options.recordFile + " did not take all transfers");
  }
}

std::unique_ptr<WorkFolder> workFolder() {
  try {
    requireDescriptors();
    return std::make_unique<WorkFolder>();
  } catch (const std::runtime_error& error) {
    throw UsageError(error.what());
  }
}

int run(const CardOptions& options) {
  ChildProcess child;
  const std::unique_ptr<WorkFolder> folder = workFolder();
  std::string controlPath; // once there is a socket
  AdapterMessages messages(WRONG_USAGE, FAILED, [&folder, &controlPath] {
    unlink(controlPath.c_str());
    folder->remove();
  });
  ChildProcess::Environment environment;
  std::optional<LogLoss> logLoss;
  if (!options.logFile.empty()) {
    const std::string lossSocket = folder->path() + "/log-loss";
    environment = syslogCapture(options.logFile, lossSocket);
    if (options.logTimes) {
      environment.emplace_back("POE_CARD_LOG_TIMES", "yes");
    }
    logLoss.emplace(lossSocket, options.logFile);
  }
  SimulatedCard card(options.stepped ? SimulatedCard::Time::Stepped : SimulatedCard::Time::Real);
  std::unique_ptr<ControlSocket> control = controlSocket(options.controlPath, card);
  if (control) {
    controlPath = control->path();
    environment.emplace_back("POE_CARD_CONTROL", controlPath);
  }
  card.record(recordIn(options.recordFile, options.recordTimes));
  card.setPresent(options.chipPresent);
  card.schedule(options.commands);
  std::unique_ptr<VirtioServer> virtio;
  std::optional<SimulatedAdapter> adapter;
  if (!options.virtioPath.empty()) {
    virtio = virtioServer(options.virtioPath, card);
  } else if (options.adapter) {
    adapter.emplace(card, folder->path());
  } else if (access(SimulatedAdapter::DEVICE, F_OK) == 0) {
    throw std::runtime_error(
        "--no-adapter: this machine has a /dev/i2c-0 of its own, which cannot be hidden");
  }
  messages.adapterIsMade();

  runOn(card, options, environment, child);
  control.reset(); // its clients may have the descriptors that the removal of the adapter's folders needs
  return logLoss && logLoss->any() ? FAILED : child.exitStatus();
}

// Returns the exit status: a full disk is not to look like success.
int print(const char* text) {
  if (std::fputs(text, stdout) == EOF || std::fflush(stdout) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
  }
  return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
  try {
    const CardOptions options = parseCardOptions(argc, argv);
    if (options.help) {
      return print(cardHelp().c_str());
    }
    if (options.version) {
      return print(POE_VERSION "\n");
    }
    if (options.virtioPath.empty()) {
      enterMockEnvironment(argv);
    }
    return run(options);
  } catch (const UsageError& error) {
    std::fprintf(stderr, "poe_card: %s\n", error.what());
    return WRONG_USAGE;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "poe_card: %s\n", error.what());
    return FAILED;
  }
}
