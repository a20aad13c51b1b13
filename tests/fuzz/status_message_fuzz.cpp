// Status messages of any content, as poectl shows them: text, JSON, Prometheus, events, the live view. The
// JSON is read again and tells the numbers that were sent.
#include "poectl/status/event_json.h"
#include "poectl/status/status_export.h"
#include "poectl/status/status_text.h"
#include "poectl/view/view_drawing.h"
#include "tests/fuzz/expectations.h"
#include "tests/fuzz/fuzz_target.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

constexpr unsigned MAX_MESSAGES = 4;

std::uint32_t takeNumber(FuzzedDataProvider& data) {
  return data.ConsumeBool() ? data.ConsumeIntegralInRange<std::uint32_t>(0, 9)
                            : data.ConsumeIntegral<std::uint32_t>();
}

PoeStatus takeStatus(FuzzedDataProvider& data) {
  PoeStatus status{};
  status.mainPower = takeNumber(data);
  status.mainOperStatus = takeNumber(data);
  status.reserved = takeNumber(data);
  status.mainConsumption = takeNumber(data);
  for (PoePortStatus& port : status.port) {
    port.operStatus = takeNumber(data);
    port.detectionStatus = takeNumber(data);
    port.powerClassification = takeNumber(data);
    port.powerConsumption = takeNumber(data);
    for (const StatusField& counter : STATUS_COUNTER) {
      port.*counter.member = takeNumber(data);
    }
  }
  status.deviceTemperature = static_cast<std::int32_t>(takeNumber(data));
  status.thermalShutdown = data.ConsumeIntegral<std::uint8_t>();
  status.devError = data.ConsumeIntegral<std::uint8_t>();
  return status;
}

void expectLineCount(const std::string& text, long lines) {
  expectLines(text);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), lines) << text;
}

void expectNumbers(const Json& json, const PoeStatus& status) {
  EXPECT_EQ(json.at("mainPower").get<std::uint32_t>(), status.mainPower);
  EXPECT_EQ(json.at("mainOperStatus").get<std::uint32_t>(), status.mainOperStatus);
  EXPECT_EQ(json.at("mainConsumption").get<std::uint32_t>(), status.mainConsumption);
  EXPECT_EQ(json.at("deviceTemperature").get<std::int32_t>(), status.deviceTemperature);
  EXPECT_EQ(json.at("port").size(), 4U);
  for (unsigned number = 0; number < POE_PORTS; number++) {
    const Json& port = json.at("port").at(number);
    EXPECT_EQ(port.at("operStatus").get<std::uint32_t>(), status.port[number].operStatus);
    EXPECT_EQ(port.at("powerConsumption").get<std::uint32_t>(), status.port[number].powerConsumption);
    for (const StatusField& counter : STATUS_COUNTER) {
      EXPECT_EQ(port.at(counter.name).get<std::uint32_t>(), status.port[number].*counter.member);
    }
  }
}

// What a user sees while messages come and stay away.
class Watch {
public:
  explicit Watch(FuzzedDataProvider& data) : m_data(data) {}

  void see(const PoeStatus& status) {
    m_now += std::chrono::milliseconds(m_data.ConsumeIntegralInRange(0, 5000));
    if (const auto silence = m_tracker.silence(m_now)) {
      see(*silence);
    }
    for (const StatusEvent& event : m_tracker.message(status, m_now)) {
      see(event);
    }
    m_view.show(snapshotOfMessage(m_view.number() + 1, status));
    if (m_data.ConsumeBool()) {
      m_view.addGap();
    }
    draw();
  }

private:
  void see(const StatusEvent& event) {
    EXPECT_FALSE(eventText(event).empty());
    const std::string line = eventJsonLine("2024-01-01T00:00:00Z", m_view.number(), event);
    expectLineCount(line, 1);
    EXPECT_EQ(Json::parse(line).at("message").get<unsigned long>(), m_view.number());
    m_view.log("00:00:00", event);
  }

  void draw() {
    const ViewFormat format{m_data.ConsumeIntegralInRange<std::size_t>(0, 40),
                            m_data.ConsumeIntegralInRange<std::size_t>(0, 130), m_data.ConsumeBool()};
    m_view.port = m_data.ConsumeIntegralInRange(0U, 3U);
    m_view.scrolledBack = m_data.ConsumeIntegralInRange<std::size_t>(0, 20);
    const Canvas canvas = drawView(m_view, format);
    EXPECT_EQ(canvas.rows(), format.rows);
    EXPECT_EQ(canvas.columns(), format.columns);
    for (std::size_t row = 0; row < format.rows; row++) {
      const std::string text = canvas.row(row);
      EXPECT_TRUE(std::none_of(text.begin(), text.end(), [](char c) { return c >= 0 && c < ' '; })) << text;
    }
  }

  FuzzedDataProvider& m_data;
  EventTracker m_tracker;
  EventTracker::Clock::time_point m_now{std::chrono::hours(1)};
  ViewState m_view;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  Watch watch(data);
  for (unsigned number = 1; number <= MAX_MESSAGES && data.remaining_bytes() > 0; number++) {
    const PoeStatus status = takeStatus(data);
    const Snapshot snapshot = snapshotOfMessage(number, status);
    expectLineCount(snapshotText(snapshot), 6);
    expectNumbers(Json::parse(snapshotJson(snapshot)), status);
    const std::string line = snapshotJsonLine(snapshot);
    expectLineCount(line, 1);
    expectNumbers(Json::parse(line), status);
    expectLineCount(snapshotPrometheus(snapshot), (3 + 6) * 3 + 10 * 6);
    watch.see(status);
  }
  return 0;
}
