// The engine's side of the debug console: dispatch, the help text, arguments and replies, and the register
// commands.
#include "pd69104_engine_console.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

static const CommandEntry commandTable[] = {
    {"help", &CPD69104Engine::cmdHelp},       {"info", &CPD69104Engine::cmdInfo},
    {"device", &CPD69104Engine::cmdDevice},   {"channel", &CPD69104Engine::cmdChannel},
    {"poeport", &CPD69104Engine::cmdPoePort}, {"writeReg", &CPD69104Engine::cmdWriteReg},
    {"readReg", &CPD69104Engine::cmdReadReg}, {"", nullptr},
};

namespace {

// Kept: the line of "help" names no object, and it and the first line end in "\r\n".
constexpr char HELP_TEXT[] =
    "usage : \r\n"
    "\t formatted input !!! 12 = dec(12),0x12 = dec(18),012 = dec(10)\n"
    "\t>help                                      (= this overview)\r\n"
    "\t>PD69104Engine info                        (shows pd69104 info)\n"
    "\t>PD69104Engine device                      (shows pd69104 device info)\n"
    "\t>PD69104Engine channel <channel_nr>        (shows pd69104 device channel info)\n"
    "\t>PD69104Engine poeport <channel_nr>        (shows pd69104 poe port status)\n"
    "\t>PD69104Engine writeReg <address> <value>  (write a pd69104 register)\n"
    "\t>PD69104Engine readReg <address>           (read a pd69104 register)\n";
static_assert(sizeof HELP_TEXT - 1 == 571);

// The line of a register command: what happened to which register, and the value when it went well.
void addRegister(Reply& reply, const char* event, std::uint32_t address, bool ok, std::uint32_t value) {
  reply.print(ok ? "%s%x:0x%x\n" : "%s%x\n", event, address, value);
}

} // namespace

std::uint32_t numberArgument(const char* text) {
  return static_cast<std::uint32_t>(std::strtoul(text, nullptr, 0));
}

Reply::~Reply() {
  std::fill_n(m_out, m_left, '\0');
}

void Reply::add(const char* text) {
  for (; *text != '\0' && m_left > 0; m_left--) {
    *m_out++ = *text++;
  }
}

void Reply::print(const char* format, ...) {
  char text[128];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  add(text);
}

void Reply::addNumber(const char* label, std::uint32_t number) {
  print("%s%u\n", label, number);
}

void Reply::addSigned(const char* label, std::int32_t number) {
  print("%s%d\n", label, number);
}

void Reply::addFlag(const char* label, bool flag) {
  addWord(label, flag ? "TRUE" : "FALSE");
}

void Reply::addWord(const char* label, const char* word) {
  print("%s%s\n", label, word);
}

void Reply::addVolts(const char* label, std::uint32_t deciVolts) {
  print("%s%u.%u\n", label, deciVolts / 10, deciVolts % 10);
}

std::uint32_t CPD69104Engine::dbgCommand(std::uint32_t argc, const char* const* argv, char* out,
                                         std::uint32_t outLen) {
  if (argc > 0) {
    for (const CommandEntry* entry = commandTable; !entry->name.empty(); entry++) {
      if (entry->name == argv[0]) {
        (this->*entry->handler)(argc, argv, out, outLen);
        return 1;
      }
    }
  }
  cmdHelp(argc, argv, out, outLen);
  return 0;
}

void CPD69104Engine::cmdHelp(std::uint32_t /*argc*/, const char* const* /*argv*/, char* out,
                             std::uint32_t outLen) {
  Reply(out, outLen).add(HELP_TEXT);
}

bool CPD69104Engine::readRegister(std::uint32_t address, unsigned* value) {
  const Guard guard(&m_mutex);
  return m_driver != nullptr && m_driver->PoeReadReg(address, value);
}

bool CPD69104Engine::writeRegister(std::uint32_t address, std::uint32_t value) {
  const Guard guard(&m_mutex);
  return m_driver != nullptr && m_driver->PoeWriteReg(address, value);
}

void CPD69104Engine::cmdReadReg(std::uint32_t argc, const char* const* argv, char* out,
                                std::uint32_t outLen) {
  Reply reply(out, outLen);
  if (argc < 2) {
    reply.add("MISSING PARAMETERS for command readReg \n");
  } else {
    const std::uint32_t address = numberArgument(argv[1]);
    unsigned value = 0;
    const bool ok = readRegister(address, &value);
    addRegister(reply, ok ? "PD69104Engine: value read 0x" : "ERROR in reading register: 0x", address, ok,
                value);
  }
  reply.add("\n");
}

// Kept: the whole value is reported, although the register takes its low 8 bits.
void CPD69104Engine::cmdWriteReg(std::uint32_t argc, const char* const* argv, char* out,
                                 std::uint32_t outLen) {
  Reply reply(out, outLen);
  if (argc < 3) {
    reply.add("MISSING PARAMETERS for command writeReg \n");
  } else {
    const std::uint32_t address = numberArgument(argv[1]);
    const std::uint32_t value = numberArgument(argv[2]);
    const bool ok = writeRegister(address, value);
    addRegister(reply, ok ? "PD69104Engine: value written ok 0x" : "ERROR in writing register: 0x", address,
                ok, value);
  }
  reply.add("\n");
}
