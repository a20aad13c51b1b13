// A console object whose handler the test writes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/debugable.h"
#include "platform/host/console/debug_registry.h"

class Talker : public Zorvan::Cdebugable {
public:
  using Words = std::vector<std::string>;

  // `answer` makes the reply out of the words of a command.
  Talker(const std::string& name, std::function<std::string(const Words&)> answer)
      : Cdebugable(name), m_answer(std::move(answer)) {
    Zorvan::DebugRegistry::instance().showConstructed();
  }

  std::uint32_t dbgCommand(std::uint32_t argc, const char* const* argv, char* out,
                           std::uint32_t outLen) override {
    const std::string reply = m_answer(Words(argv, argv + argc));
    reply.copy(out, outLen);
    return 1;
  }

private:
  std::function<std::string(const Words&)> m_answer;
};

// Answers with its words, each in brackets.
class Echo : public Talker {
public:
  explicit Echo(const std::string& name)
      : Talker(name, [](const Words& words) {
          std::string reply;
          for (const std::string& word : words) {
            reply += "[" + word + "]";
          }
          return reply + "\n";
        }) {}
};
