// Calls of the engine's command handler that check its buffer.
#pragma once

#include "tests/unit/service/engine_fixture.h"

#include <string>
#include <vector>

class Console : public EngineTest {
protected:
  static constexpr std::uint32_t SIZE = 8192;

  // Calls the handler with a buffer of `outLen` bytes inside a larger one and expects nothing written behind
  // it.
  std::uint32_t call(const std::vector<std::string>& words, std::uint32_t outLen, std::string* reply) {
    std::vector<const char*> argv;
    for (const std::string& word : words) {
      argv.push_back(word.c_str());
    }
    reply->assign(outLen + 64, '#');
    const std::uint32_t result =
        engine->dbgCommand(static_cast<std::uint32_t>(words.size()), argv.data(), reply->data(), outLen);
    EXPECT_EQ(reply->substr(outLen), std::string(64, '#')) << "written beyond the buffer";
    reply->resize(outLen);
    return result;
  }

  // The reply of a known command, which must be followed by NUL up to the end of the buffer.
  std::string reply(const std::vector<std::string>& words) {
    std::string text;
    EXPECT_EQ(call(words, SIZE, &text), 1U);
    const std::size_t length = text.find('\0');
    EXPECT_EQ(text.find_first_not_of('\0', length), std::string::npos);
    return text.substr(0, length);
  }

  // Runs the engine for one cycle after `prepare` and then the step.
  void afterACycle(const Step& prepare, const Step& step) {
    makeEngine();
    runCycles({[&] {
                 prepare();
                 takeLog();
               },
               [&] {
                 bus.takeTransfers();
                 takeLog();
                 step();
               }});
  }
};
