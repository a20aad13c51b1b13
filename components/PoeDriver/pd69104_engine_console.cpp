// The engine's side of the debug console: dispatch, the help text, arguments and replies, and the register
// commands.
#include "pd69104_engine_console.h"

#include <algorithm>
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
void writeRegister(std::ostringstream& report, const char* event, std::uint32_t address, bool ok,
                   std::uint32_t value) {
  report << event << std::hex << address;
  if (ok) {
    report << ":0x" << std::hex << value;
  }
  report << "\n";
}

} // namespace

std::uint32_t numberArgument(const char* text) {
  return static_cast<std::uint32_t>(std::strtoul(text, nullptr, 0));
}

void copyReply(const std::string& reply, char* out, std::uint32_t outLen) {
  const std::size_t length = std::min<std::size_t>(reply.size(), outLen);
  std::copy_n(reply.data(), length, out);
  std::fill_n(out + length, outLen - length, '\0');
}

void writeNumber(std::ostringstream& report, const char* label, std::uint32_t number) {
  report << label << std::dec << number << "\n";
}

void writeSigned(std::ostringstream& report, const char* label, std::int32_t number) {
  report << label << std::dec << number << "\n";
}

void writeFlag(std::ostringstream& report, const char* label, bool flag) {
  report << label << (flag ? "TRUE" : "FALSE") << "\n";
}

void writeWord(std::ostringstream& report, const char* label, const char* word) {
  report << label << word << "\n";
}

void writeVolts(std::ostringstream& report, const char* label, std::uint32_t deciVolts) {
  report << label << std::dec << deciVolts / 10 << "." << deciVolts % 10 << "\n";
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
  copyReply(HELP_TEXT, out, outLen);
}

void CPD69104Engine::cmdReadReg(std::uint32_t argc, const char* const* argv, char* out,
                                std::uint32_t outLen) {
  std::ostringstream report;
  if (argc < 2) {
    report << "MISSING PARAMETERS for command readReg \n";
  } else {
    const std::uint32_t address = numberArgument(argv[1]);
    unsigned value = 0;
    const Guard guard(&m_mutex);
    const bool ok = m_driver != nullptr && m_driver->PoeReadReg(address, &value);
    writeRegister(report, ok ? "PD69104Engine: value read 0x" : "ERROR in reading register: 0x", address, ok,
                  value);
  }
  copyReply(report.str() + "\n", out, outLen);
}

// Kept: the whole value is reported, although the register takes its low 8 bits.
void CPD69104Engine::cmdWriteReg(std::uint32_t argc, const char* const* argv, char* out,
                                 std::uint32_t outLen) {
  std::ostringstream report;
  if (argc < 3) {
    report << "MISSING PARAMETERS for command writeReg \n";
  } else {
    const std::uint32_t address = numberArgument(argv[1]);
    const std::uint32_t value = numberArgument(argv[2]);
    const Guard guard(&m_mutex);
    const bool ok = m_driver != nullptr && m_driver->PoeWriteReg(address, value);
    writeRegister(report, ok ? "PD69104Engine: value written ok 0x" : "ERROR in writing register: 0x",
                  address, ok, value);
  }
  copyReply(report.str() + "\n", out, outLen);
}
