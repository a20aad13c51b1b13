// A program for the simulated card: does what its arguments say, one after the
// other, and prints one line for each that has a result.
//
//   open              opens /dev/i2c-0; later words use the newest opener
//   opener:N          ... or the Nth, from 0
//   bind:ADDRESS      the slave address of the opener
//   read:REGISTER     write:REGISTER:VALUE      byte data transfers
//   await:REGISTER:VALUE   reads until the register has the value
//   word:REGISTER     a transfer that the adapter does not offer
//   functions  rdwr  unknown                    other requests
//   log:PRIORITY:TEXT      vlog:PRIORITY:TEXT   syslog, vsyslog
//   looped:PRIORITY   logs "%m" of ELOOP
//   mask:PRIORITIES   setlogmask
//   flood:THREADS:LINES    logs from several threads at once
//   busy              transfers for ever
//   say:TEXT  pid  sigpipe
//   catch:SIGNAL  wait:SIGNAL
//   exit:STATUS  die:SIGNAL
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <syslog.h>
#include <unistd.h>

namespace {

constexpr unsigned long UNKNOWN_REQUEST = 0x07FF;

std::vector<int> openers;
int opener = -1;

void say(const std::string& text) {
  std::printf("%s\n", text.c_str());
  std::fflush(stdout);
}

void sayResult(int result) {
  say(result < 0 ? std::strerror(errno) : "ok");
}

std::string hex(unsigned long value) {
  char text[32];
  std::snprintf(text, sizeof text, "0x%02lX", value);
  return text;
}

int transfer(int direction, int command, unsigned size, i2c_smbus_data* data) {
  i2c_smbus_ioctl_data request{};
  request.read_write = static_cast<__u8>(direction);
  request.command = static_cast<__u8>(command);
  request.size = size;
  request.data = data;
  return ioctl(opener, I2C_SMBUS, &request);
}

void read(int command) {
  i2c_smbus_data data{};
  if (transfer(I2C_SMBUS_READ, command, I2C_SMBUS_BYTE_DATA, &data) < 0) {
    say(std::strerror(errno));
  } else {
    say(hex(data.byte));
  }
}

void write(int command, int value) {
  i2c_smbus_data data{};
  data.byte = static_cast<__u8>(value);
  sayResult(transfer(I2C_SMBUS_WRITE, command, I2C_SMBUS_BYTE_DATA, &data));
}

void await(int command, int value) {
  i2c_smbus_data data{};
  do {
    if (transfer(I2C_SMBUS_READ, command, I2C_SMBUS_BYTE_DATA, &data) < 0) {
      say(std::strerror(errno));
      return;
    }
  } while (data.byte != value);
  say(hex(data.byte));
}

__attribute__((format(printf, 2, 3))) void logThroughVsyslog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vsyslog(priority, format, arguments);
  va_end(arguments);
}

// %m is of syslog, not of ISO C.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
void logLooped(int priority) {
  errno = ELOOP;
  syslog(priority, "open: %m");
}
#pragma GCC diagnostic pop

void flood(int threads, int lines) {
  std::vector<std::thread> running;
  running.reserve(static_cast<std::size_t>(threads));
  for (int thread = 0; thread < threads; ++thread) {
    running.emplace_back([thread, lines] {
      for (int line = 0; line < lines; ++line) {
        syslog(LOG_INFO, "thread %d line %d of a flood", thread, line);
      }
    });
  }
  for (std::thread& thread : running) {
    thread.join();
  }
}

void catchSignal(int number) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, number);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void waitForSignal(int number) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, number);
  int caught = 0;
  sigwait(&set, &caught);
  say("caught " + std::to_string(caught));
}

void openAdapter() {
  opener = open("/dev/i2c-0", O_RDWR | O_CLOEXEC);
  sayResult(opener);
  openers.push_back(opener);
}

void readWord(int command) {
  i2c_smbus_data data{};
  sayResult(transfer(I2C_SMBUS_READ, command, I2C_SMBUS_WORD_DATA, &data));
}

void askFunctions() {
  unsigned long functions = 0;
  sayResult(ioctl(opener, I2C_FUNCS, &functions));
  say(hex(functions));
}

void combinedTransfer() {
  i2c_rdwr_ioctl_data request{};
  sayResult(ioctl(opener, I2C_RDWR, &request));
}

[[noreturn]] void keepBusy() {
  i2c_smbus_data data{};
  for (;;) {
    transfer(I2C_SMBUS_READ, 0x43, I2C_SMBUS_BYTE_DATA, &data);
  }
}

void askSigpipe() {
  struct sigaction action {};
  sigaction(SIGPIPE, nullptr, &action);
  say(action.sa_handler == SIG_DFL ? "default" : "changed");
}

// The two arguments of a word, as text and as numbers.
struct Arguments {
  std::string text;
  std::string secondText;
  int number;
  int secondNumber;
};

const std::map<std::string, std::function<void(const Arguments&)>>& words() {
  using A = const Arguments&;
  static const std::map<std::string, std::function<void(A)>> table = {
      {"open", [](A) { openAdapter(); }},
      {"opener", [](A a) { opener = openers.at(static_cast<std::size_t>(a.number)); }},
      {"bind", [](A a) { sayResult(ioctl(opener, I2C_SLAVE, static_cast<unsigned long>(a.number))); }},
      {"read", [](A a) { read(a.number); }},
      {"write", [](A a) { write(a.number, a.secondNumber); }},
      {"await", [](A a) { await(a.number, a.secondNumber); }},
      {"word", [](A a) { readWord(a.number); }},
      {"functions", [](A) { askFunctions(); }},
      {"rdwr", [](A) { combinedTransfer(); }},
      {"unknown", [](A) { sayResult(ioctl(opener, UNKNOWN_REQUEST, 0UL)); }},
      {"log", [](A a) { syslog(a.number, "%s", a.secondText.c_str()); }},
      {"vlog", [](A a) { logThroughVsyslog(a.number, "%s", a.secondText.c_str()); }},
      {"looped", [](A a) { logLooped(a.number); }},
      {"mask", [](A a) { setlogmask(a.number); }},
      {"flood", [](A a) { flood(a.number, a.secondNumber); }},
      {"busy", [](A) { keepBusy(); }},
      {"say", [](A a) { say(a.text); }},
      {"pid", [](A) { say(std::to_string(getpid())); }},
      {"sigpipe", [](A) { askSigpipe(); }},
      {"catch", [](A a) { catchSignal(a.number); }},
      {"wait", [](A a) { waitForSignal(a.number); }},
      {"exit", [](A a) { std::exit(a.number); }},
      {"die", [](A a) { raise(a.number); }},
  };
  return table;
}

// WORD[:FIRST[:SECOND]]
void run(const std::string& argument) {
  const std::size_t colon = std::min(argument.find(':'), argument.size());
  const std::size_t next = std::min(argument.find(':', colon + 1), argument.size());
  const auto entry = words().find(argument.substr(0, colon));
  if (entry == words().end()) {
    say("no such word: " + argument);
    std::exit(EXIT_FAILURE);
  }
  Arguments arguments;
  arguments.text = argument.substr(std::min(colon + 1, argument.size()), next - std::min(colon + 1, next));
  arguments.secondText = argument.substr(std::min(next + 1, argument.size()));
  arguments.number = static_cast<int>(std::strtol(arguments.text.c_str(), nullptr, 0));
  arguments.secondNumber = static_cast<int>(std::strtol(arguments.secondText.c_str(), nullptr, 0));
  entry->second(arguments);
}

} // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    run(argv[i]);
  }
  return EXIT_SUCCESS;
}
