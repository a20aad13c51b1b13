#include "simulator/program/adapter_messages.h"

#include <glib.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include <unistd.h>

namespace {

// umockdev quotes names typographically, which not every terminal shows.
std::string inAscii(const char* message) {
  std::string text;
  bool lastIsAscii = true;
  for (; *message != '\0'; ++message) {
    const bool ascii = (static_cast<unsigned char>(*message) & 0x80U) == 0;
    if (ascii) {
      text += *message == '\n' ? ' ' : *message;
    } else if (lastIsAscii) {
      text += '\'';
    }
    lastIsAscii = ascii;
  }
  return text;
}

const char* textOf(const GLogField* fields, gsize count) {
  for (gsize field = 0; field < count; ++field) {
    if (std::strcmp(fields[field].key, "MESSAGE") == 0) {
      return static_cast<const char*>(fields[field].value);
    }
  }
  return "no reason is given";
}

GLogWriterOutput onMessage(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer data) {
  const auto* messages = static_cast<const AdapterMessages*>(data);
  const auto severity = static_cast<unsigned>(level);
  const unsigned atStart = G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING;
  const unsigned fatal = messages->starting() ? atStart : static_cast<unsigned>(G_LOG_LEVEL_ERROR);
  if ((severity & (fatal | G_LOG_FLAG_FATAL)) != 0) {
    messages->end(textOf(fields, count));
  }
  return g_log_writer_default(level, fields, count, nullptr);
}

} // namespace

AdapterMessages::AdapterMessages(int startFailed, int runFailed, std::function<void()> cleanUp)
    : m_startFailed(startFailed), m_runFailed(runFailed), m_cleanUp(std::move(cleanUp)) {
  g_log_set_writer_func(onMessage, this, nullptr);
}

void AdapterMessages::end(const char* message) const {
  std::fprintf(stderr, "poe_card: the simulated adapter fails: %s\n", inAscii(message).c_str());
  const int status = m_starting ? m_startFailed : m_runFailed;
  m_cleanUp();
  _exit(status);
}
