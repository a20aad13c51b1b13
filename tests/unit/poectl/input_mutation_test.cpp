// Scenario and configuration files that are damaged at random: each is read, or refused in one line.
//
// The seeds are fixed, so that a failure comes again.
#include "poectl/config/config_file.h"
#include "poectl/scenario/scenario.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

constexpr unsigned MUTATIONS = 200; // of each file
constexpr unsigned MOST_CHANGES = 4;

const char* const PIECES[] = {"\"",      "#",    "\n",   "\t",     " within ", " stays ",   "+",   "0x",
                              "-1",      "1e99", "\r",   "\x7f",   "\xff\xfe", "[",         "]",   "=",
                              "{",       "'",    "\\u",  "expect", "apply ..", "port.0",    "nan", " or more",
                              " for 1 ", ".",    "true", "again",  "\"\"\"",   "4294967296"};

std::vector<std::string> textsOf(const std::string& extension) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(SCENARIOS)) {
    if (entry.path().extension() == extension) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  std::vector<std::string> texts;
  for (const auto& file : files) {
    texts.push_back(readInput(file.string()));
  }
  return texts;
}

using Random = std::mt19937;

std::size_t below(std::size_t limit, Random& random) {
  return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

void change(std::string& text, Random& random) {
  const std::size_t place = below(text.size() + 1, random);
  const std::size_t length = std::min(below(20, random), text.size() - place);
  const std::size_t from = below(text.size() + 1, random);
  switch (below(5, random)) {
  case 0:
    text.erase(place, length);
    break;
  case 1:
    text.insert(place, PIECES[below(std::size(PIECES), random)]);
    break;
  case 2:
    text.insert(place, text.substr(from, 40));
    break;
  case 3:
    text.resize(place);
    break;
  default:
    text.insert(place, 1, static_cast<char>(below(256, random)));
    break;
  }
}

struct Count {
  unsigned read = 0;
  unsigned refused = 0;
};

// Reads every file of this kind with its mutations.
template <typename Read>
Count readMutations(const std::vector<std::string>& texts, Read read) {
  Count count;
  for (std::size_t file = 0; file < texts.size(); file++) {
    for (unsigned mutation = 0; mutation < MUTATIONS; mutation++) {
      Random random(static_cast<unsigned>(file) * MUTATIONS + mutation);
      std::string text = texts[file];
      for (std::size_t changes = below(MOST_CHANGES, random) + 1; changes > 0; changes--) {
        change(text, random);
      }
      SCOPED_TRACE("file " + std::to_string(file) + ", mutation " + std::to_string(mutation));
      try {
        read(text);
        count.read++;
      } catch (const InputError& error) {
        const std::string line = error.what();
        EXPECT_EQ(line.compare(0, 2, "f:"), 0) << line;
        EXPECT_TRUE(std::none_of(line.begin(), line.end(), [](char character) {
          return static_cast<unsigned char>(character) < ' ' || character == '\x7f';
        })) << line;
        count.refused++;
      }
    }
  }
  return count;
}

TEST(InputMutation, OfAScenarioIsReadOrRefusedInOneLine) {
  const std::vector<std::string> texts = textsOf(".play");
  ASSERT_GE(texts.size(), 25U);
  const Count count = readMutations(texts, [](const std::string& text) {
    parseScenario(text, "f", [](const std::string&) { return PoeConfig{}; });
  });
  EXPECT_GT(count.read, texts.size());
  EXPECT_GT(count.refused, texts.size() * MUTATIONS / 2);
}

TEST(InputMutation, OfAConfigurationIsReadOrRefusedInOneLine) {
  const std::vector<std::string> texts = textsOf(".toml");
  ASSERT_GE(texts.size(), 10U);
  const Count count = readMutations(texts, [](const std::string& text) { parseConfig(text, "f"); });
  EXPECT_GT(count.read, texts.size());
  EXPECT_GT(count.refused, texts.size() * MUTATIONS / 2);
}

} // namespace
