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
//   missing:PRIORITY  logs "%m" of ENOENT
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
void logMissing(int priority) {
  errno = ENOENT;
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

void obey(const std::string& word, const std::string& first, const std::string& second) {
  const int number = static_cast<int>(std::strtol(first.c_str(), nullptr, 0));
  const int other = static_cast<int>(std::strtol(second.c_str(), nullptr, 0));
  i2c_smbus_data data{};
  if (word == "open") {
    opener = open("/dev/i2c-0", O_RDWR | O_CLOEXEC);
    sayResult(opener);
    openers.push_back(opener);
  } else if (word == "opener") {
    opener = openers.at(static_cast<std::size_t>(number));
  } else if (word == "bind") {
    sayResult(ioctl(opener, I2C_SLAVE, static_cast<unsigned long>(number)));
  } else if (word == "read") {
    read(number);
  } else if (word == "write") {
    write(number, other);
  } else if (word == "await") {
    await(number, other);
  } else if (word == "word") {
    sayResult(transfer(I2C_SMBUS_READ, number, I2C_SMBUS_WORD_DATA, &data));
  } else if (word == "functions") {
    unsigned long functions = 0;
    sayResult(ioctl(opener, I2C_FUNCS, &functions));
    say(hex(functions));
  } else if (word == "rdwr") {
    i2c_rdwr_ioctl_data request{};
    sayResult(ioctl(opener, I2C_RDWR, &request));
  } else if (word == "unknown") {
    sayResult(ioctl(opener, UNKNOWN_REQUEST, 0UL));
  } else if (word == "log") {
    syslog(number, "%s", second.c_str());
  } else if (word == "vlog") {
    logThroughVsyslog(number, "%s", second.c_str());
  } else if (word == "missing") {
    logMissing(number);
  } else if (word == "mask") {
    setlogmask(number);
  } else if (word == "flood") {
    flood(number, other);
  } else if (word == "busy") {
    for (;;) {
      transfer(I2C_SMBUS_READ, 0x43, I2C_SMBUS_BYTE_DATA, &data);
    }
  } else if (word == "say") {
    say(first);
  } else if (word == "pid") {
    say(std::to_string(getpid()));
  } else if (word == "sigpipe") {
    struct sigaction action {};
    sigaction(SIGPIPE, nullptr, &action);
    say(action.sa_handler == SIG_DFL ? "default" : "changed");
  } else if (word == "catch") {
    catchSignal(number);
  } else if (word == "wait") {
    waitForSignal(number);
  } else if (word == "exit") {
    std::exit(number);
  } else if (word == "die") {
    raise(number);
  } else {
    say("no such word: " + word);
    std::exit(EXIT_FAILURE);
  }
}

} // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string text = argv[i];
    const std::size_t colon = std::min(text.find(':'), text.size());
    const std::size_t next = std::min(text.find(':', colon + 1), text.size());
    obey(text.substr(0, colon),
         text.substr(std::min(colon + 1, text.size()), next - std::min(colon + 1, next)),
         text.substr(std::min(next + 1, text.size())));
  }
  return EXIT_SUCCESS;
}
