#include "poectl/scenario/scenario_step.h"

#include "text/number.h"
#include "text/text.h"

#include <algorithm>

namespace {

constexpr double MIN_SECONDS = 0.1;
constexpr double MAX_SECONDS = 3600;
constexpr unsigned MAX_MESSAGES = 3600;
constexpr unsigned LAST_REGISTER = 0xCE;
constexpr unsigned MAX_VALUE = 0xFF;

constexpr char APPLY_FORM[] = "apply FILE or apply again is accepted";
constexpr char CARD_FORM[] = "card WORDS is accepted; 'poectl card help' lists them";
constexpr char CONSOLE_FORM[] = "console WORDS or console WORDS shows \"TEXT\" is accepted";
constexpr char SECONDS_FORM[] = "a time from 0.1 to 3600 s is accepted";
constexpr char MESSAGES_FORM[] = "1 to 3600 messages are accepted, as in 3 messages";
constexpr char MARK_FORM[] = "mark log is accepted";
constexpr char EXPECT_FORM[] =
    "expect port, expect ports, expect chip, expect register, expect log and expect no log are accepted";
constexpr char PORT_FORM[] = "a port from 0 to 3 is accepted";
constexpr char PORTS_FORM[] = "ports from 0 to 3 are accepted, each once, as in 0,1";
constexpr char COUNTERS_FORM[] = "counters unchanged since line N is accepted";
constexpr char LINE_FORM[] = "the number of an earlier line that has a step is accepted";
constexpr char ADDRESS_FORM[] = "an address from 0 to 0xCE is accepted";
constexpr char VALUE_FORM[] = "a value from 0 to 0xFF is accepted";
constexpr char LOG_FORM[] = "a text in quotes is accepted, as in expect log \"restarting Port 1\"";
constexpr char WITHIN_FORM[] = "within SECONDS or within N messages is accepted";
constexpr char FOR_FORM[] = "for N messages is accepted";
constexpr char NOTHING_MORE[] = "nothing more is accepted";

// Takes the words of one line, from left to right.
class StepReader {
public:
  StepReader(const ScenarioLine& line, const std::string& place, const ConfigReader& readConfiguration,
             const Scenario& earlier)
      : m_words(line.words), m_end(line.end), m_place(place), m_readConfiguration(readConfiguration),
        m_earlier(earlier) {}

  StepAction read() {
    const std::string& step = take(ACCEPTED_STEPS);
    if (step == "apply") {
      return readApply();
    }
    if (step == "card") {
      return CardStep{takeRest(CARD_FORM)};
    }
    if (step == "console") {
      return readConsole();
    }
    if (step == "wait") {
      return last(WaitStep{takeSeconds(SECONDS_FORM)});
    }
    if (step == "after") {
      return last(AfterStep{takeMessages(MESSAGES_FORM)});
    }
    if (step == "mark") {
      return readMark();
    }
    if (step == "expect") {
      return readExpect();
    }
    failAtLast("unknown step " + text::quoted(step), ACCEPTED_STEPS);
  }

private:
  StepAction readApply() {
    const std::string& file = take(APPLY_FORM);
    if (file != "again") {
      try {
        return last(ApplyStep{m_readConfiguration(file)});
      } catch (const ScenarioError&) {
        throw;
      } catch (const InputError& error) {
        failAtLast("apply: " + std::string(error.what()), "");
      }
    }
    const auto applied = std::find_if(m_earlier.rbegin(), m_earlier.rend(), [](const Step& step) {
      return std::holds_alternative<ApplyStep>(step.action);
    });
    if (applied == m_earlier.rend()) {
      failAtLast("nothing has been applied before", APPLY_FORM);
    }
    return last(std::get<ApplyStep>(applied->action));
  }

  MarkLogStep readMark() {
    const std::string& subject = take(MARK_FORM);
    if (subject != "log") {
      failAtLast(text::quoted(subject) + " cannot be marked", MARK_FORM);
    }
    return last(MarkLogStep{});
  }

  ConsoleStep readConsole() {
    ConsoleStep step;
    const std::size_t count = m_words.size();
    const bool shows = count >= 2 && isBare(m_words[count - 2], "shows");
    if (shows) {
      if (!m_words.back().quoted || m_words.back().text.empty()) {
        m_next = count;
        failAtLast(text::quoted(m_words.back().text) + " is no text in quotes", CONSOLE_FORM);
      }
      step.shows = m_words.back().text;
    }
    step.words = takeRest(CONSOLE_FORM, shows ? 2 : 0);
    return step;
  }

  StepAction readExpect() {
    const std::string& subject = take(EXPECT_FORM);
    if (subject == "port") {
      const std::optional<unsigned> port = portFrom(take(PORT_FORM));
      if (!port) {
        failAtLast(text::quoted(m_words[m_next - 1].text) + " is no port", PORT_FORM);
      }
      return readPortsExpectation({*port});
    }
    if (subject == "ports") {
      return readPortsExpectation(takePorts());
    }
    if (subject == "chip") {
      return readStatusExpectation({}, chipField, chipFieldNames() + " are accepted");
    }
    if (subject == "register") {
      return readRegisterExpectation();
    }
    if (subject == "no") {
      if (take(EXPECT_FORM) != "log") {
        failAtLast("'no' is not followed by log", EXPECT_FORM);
      }
      return readLogAbsence();
    }
    if (subject == "log") {
      LogExpectation expectation{takeText(LOG_FORM), false, {}};
      readWithin(expectation.timing);
      return last(expectation);
    }
    failAtLast("unknown subject " + text::quoted(subject), EXPECT_FORM);
  }

  StepAction readPortsExpectation(std::vector<unsigned> ports) {
    if (skip("counters")) {
      return readCountersExpectation(std::move(ports));
    }
    return readStatusExpectation(std::move(ports), portField, portFieldNames() + ", counters are accepted");
  }

  CountersExpectation readCountersExpectation(std::vector<unsigned> ports) {
    for (const char* const word : {"unchanged", "since", "line"}) {
      if (!skip(word)) {
        fail(std::string("the word ") + word + " is missing", COUNTERS_FORM);
      }
    }
    const std::optional<unsigned> line = text::numberFrom<unsigned>(take(LINE_FORM));
    const bool isStep = line && std::any_of(m_earlier.begin(), m_earlier.end(),
                                            [&](const Step& step) { return step.line == *line; });
    if (!isStep) {
      failAtLast(text::quoted(m_words[m_next - 1].text) + " is no line of an earlier step", LINE_FORM);
    }
    return last(CountersExpectation{std::move(ports), *line, readStay()});
  }

  StatusExpectation readStatusExpectation(std::vector<unsigned> ports,
                                          const StatusField* (*find)(const std::string&),
                                          const std::string& fields) {
    const std::string& name = take(fields);
    const StatusField* const field = find(name);
    if (field == nullptr) {
      failAtLast("unknown field " + text::quoted(name), fields);
    }
    StatusExpectation expectation{field, std::move(ports), {}, {}};
    expectation.timing.stays = skip("stays");
    expectation.wanted = readWanted(*field);
    readTiming(expectation.timing);
    return last(expectation);
  }

  WantedValue readWanted(const StatusField& field) {
    const std::string accepted = acceptedValues(field);
    std::string text = take(accepted);
    WantedValue wanted;
    if (field.kind == StatusField::Kind::COUNTER && text.compare(0, 1, "+") == 0) {
      text.erase(0, 1);
      wanted.kind = WantedValue::Kind::INCREASE;
    }
    const std::optional<std::int64_t> value = fieldValue(field, text);
    if (!value || (wanted.kind == WantedValue::Kind::INCREASE && *value < 0)) {
      failAtLast(text::quoted(m_words[m_next - 1].text) + " is no value of " + field.name, accepted);
    }
    wanted.value = *value;
    if (wanted.kind == WantedValue::Kind::INCREASE && skip("or")) {
      if (!skip("more")) {
        fail("'or' is not followed by more", "an increase such as +1 or more is accepted");
      }
      wanted.kind = WantedValue::Kind::INCREASE_OR_MORE;
    }
    return wanted;
  }

  RegisterExpectation readRegisterExpectation() {
    RegisterExpectation expectation{takeChipNumber("register address", LAST_REGISTER, ADDRESS_FORM), 0, {}};
    expectation.timing.stays = skip("stays");
    expectation.value = takeChipNumber("register value", MAX_VALUE, VALUE_FORM);
    readTiming(expectation.timing);
    return last(expectation);
  }

  LogExpectation readLogAbsence() {
    LogExpectation expectation{takeText(LOG_FORM), true, {}};
    expectation.timing = readStay();
    return expectation;
  }

  // At the end of a line: now, and also in so many messages if the line says so.
  Timing readStay() {
    Timing timing;
    timing.stays = true;
    timing.messages = skip("for") ? takeMessages(MESSAGES_FORM) : 0;
    if (isMore()) {
      fail(text::quoted(m_words[m_next].text) + " is too much", FOR_FORM);
    }
    return timing;
  }

  void readTiming(Timing& timing) {
    if (!timing.stays) {
      readWithin(timing);
      return;
    }
    if (!skip("for")) {
      fail("'stays' needs a number of messages", FOR_FORM);
    }
    timing.messages = takeMessages(MESSAGES_FORM);
  }

  void readWithin(Timing& timing) {
    if (!isMore()) {
      return;
    }
    if (!skip("within")) {
      fail(text::quoted(m_words[m_next].text) + " is not understood here", WITHIN_FORM);
    }
    if (m_next + 1 < m_words.size()) {
      timing.messages = takeMessages(WITHIN_FORM);
    } else {
      timing.seconds = takeSeconds(WITHIN_FORM);
    }
  }

  static std::optional<unsigned> portFrom(const std::string& text) {
    const std::optional<unsigned> port = text::numberFrom<unsigned>(text);
    return port && *port < POE_PORTS ? port : std::nullopt;
  }

  // Ports separated by commas.
  std::vector<unsigned> takePorts() {
    const std::string& list = take(PORTS_FORM);
    std::vector<unsigned> ports;
    for (std::size_t start = 0, end = 0; end < list.size(); start = end + 1) {
      end = std::min(list.find(',', start), list.size());
      const std::optional<unsigned> port = portFrom(list.substr(start, end - start));
      if (!port || std::find(ports.begin(), ports.end(), *port) != ports.end()) {
        failAtLast(text::quoted(list) + " is no list of ports", PORTS_FORM);
      }
      ports.push_back(*port);
    }
    if (ports.empty()) {
      failAtLast("'' is no list of ports", PORTS_FORM);
    }
    return ports;
  }

  // A number and the word "messages".
  unsigned takeMessages(const char* accepted) {
    const std::optional<unsigned> count = text::numberFrom<unsigned>(take(accepted));
    if (!count || *count < 1 || *count > MAX_MESSAGES) {
      failAtLast(text::quoted(m_words[m_next - 1].text) + " is no number of messages", MESSAGES_FORM);
    }
    if (!skip("messages") && !skip("message")) {
      fail("the word messages is missing", accepted);
    }
    return *count;
  }

  double takeSeconds(const char* accepted) {
    const std::optional<double> seconds = text::numberFrom<double>(take(accepted));
    if (!seconds || !(*seconds >= MIN_SECONDS && *seconds <= MAX_SECONDS)) {
      failAtLast(text::quoted(m_words[m_next - 1].text) + " is no time", SECONDS_FORM);
    }
    return *seconds;
  }

  unsigned takeChipNumber(const char* what, unsigned most, const char* accepted) {
    const std::optional<unsigned> number = text::prefixedNumberFrom<unsigned>(take(accepted));
    if (!number || *number > most) {
      failAtLast(text::quoted(m_words[m_next - 1].text) + " is no " + what, accepted);
    }
    return *number;
  }

  const std::string& takeText(const char* accepted) {
    const std::string& text = take(accepted);
    if (!m_words[m_next - 1].quoted || text.empty()) {
      failAtLast(text::quoted(text) + " is no text in quotes", accepted);
    }
    return text;
  }

  // The words up to the end, or up to `without` words before it, as one text.
  std::string takeRest(const char* accepted, std::size_t without = 0) {
    std::string text;
    for (; m_next + without < m_words.size(); m_next++) {
      text += text.empty() ? m_words[m_next].text : " " + m_words[m_next].text;
    }
    if (text.empty()) {
      fail("words are missing", accepted);
    }
    return text;
  }

  const std::string& take(const std::string& accepted) {
    if (!isMore()) {
      fail("the line is not complete", accepted);
    }
    return m_words[m_next++].text;
  }

  bool isMore() const { return m_next < m_words.size(); }

  static bool isBare(const ScenarioWord& word, const char* text) { return !word.quoted && word.text == text; }

  bool skip(const char* text) {
    const bool found = isMore() && isBare(m_words[m_next], text);
    m_next += found ? 1 : 0;
    return found;
  }

  template <typename Action>
  Action last(Action action) {
    if (isMore()) {
      fail(text::quoted(m_words[m_next].text) + " is too much", NOTHING_MORE);
    }
    return action;
  }

  // At the next word, or after the last one.
  [[noreturn]] void fail(const std::string& what, const std::string& accepted) const {
    failAt(isMore() ? m_words[m_next].column : m_end, what, accepted);
  }

  // At the word that was taken last.
  [[noreturn]] void failAtLast(const std::string& what, const std::string& accepted) const {
    failAt(m_words[m_next - 1].column, what, accepted);
  }

  // What comes from the file is shown without its tabs, the only control characters that a text may have.
  [[noreturn]] void failAt(unsigned column, std::string what, const std::string& accepted) const {
    std::replace(what.begin(), what.end(), '\t', '?');
    throw ScenarioError(m_place + ":" + std::to_string(column) + ": " + what +
                        (accepted.empty() ? "" : "; " + accepted));
  }

  const std::vector<ScenarioWord>& m_words;
  const unsigned m_end;
  const std::string& m_place; // FILE:LINE
  const ConfigReader& m_readConfiguration;
  const Scenario& m_earlier;
  std::size_t m_next = 0;
};

} // namespace

StepAction readStep(const ScenarioLine& line, const std::string& place, const ConfigReader& readConfiguration,
                    const Scenario& earlier) {
  return StepReader(line, place, readConfiguration, earlier).read();
}
