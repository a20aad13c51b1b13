#include "poectl/page/page_updates.h"

#include "poectl/status/event_json.h"
#include "poectl/status/status_export.h"
#include "poectl/status/status_field.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace {

using Json = nlohmann::ordered_json;

std::string withoutLineEnd(std::string line) {
  line.erase(line.find_last_not_of('\n') + 1);
  return line;
}

void keep(std::deque<std::string>& texts, std::size_t most, std::string text) {
  texts.push_back(std::move(text));
  if (texts.size() > most) {
    texts.pop_front();
  }
}

std::string array(const std::deque<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) {
    all += (all.empty() ? "" : ",") + text;
  }
  return "[" + all + "]";
}

std::string quotedJson(const std::string& text) {
  return Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string orNull(const std::string& json) {
  return json.empty() ? "null" : json;
}

// Null stands for what the snapshot does not know.
std::string sampleJson(const Snapshot& snapshot) {
  const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(snapshot.end.time_since_epoch());
  Json sample = {time.count()};
  const auto add = [&](const StatusField& field, unsigned port) {
    sample.push_back(snapshot.knows(field) ? Json(field.read(snapshot.status, port)) : Json());
  };
  add(*chipField("mainPower"), 0);
  for (unsigned port = 0; port < POE_PORTS; port++) {
    add(*portField("powerConsumption"), port);
  }
  return sample.dump();
}

Json cardJson(const std::optional<CardState>& state) {
  if (!state) {
    return {};
  }
  Json devices = Json::array();
  for (const CardPort& port : state->port) {
    devices.push_back({{"words", port.device}, {"watts", port.watts}});
  }
  return {{"port", devices}, {"thermal", state->thermal}, {"busOk", state->busOk}};
}

std::string eventOf(const char* name, const std::string& data) {
  return std::string("event: ") + name + "\ndata: " + data + "\n\n";
}

std::string ageJson(std::chrono::milliseconds age, const std::string& snapshot) {
  return "\"ageMs\":" + std::to_string(age.count()) + ",\"snapshot\":" + orNull(snapshot);
}

} // namespace

PageUpdates::PageUpdates(std::string origin, std::chrono::milliseconds staleAfter)
    : m_origin(std::move(origin)), m_staleAfter(staleAfter) {}

void PageUpdates::snapshot(const Snapshot& snapshot) {
  m_snapshot = withoutLineEnd(snapshotJsonLine(snapshot));
  m_note.clear();
  keep(m_samples, MAX_SAMPLES, sampleJson(snapshot));
  push("snapshot",
       "{" + ageJson(std::chrono::milliseconds(0), m_snapshot) + ",\"sample\":" + m_samples.back() + "}");
}

void PageUpdates::change(const std::string& time, unsigned long number, const StatusEvent& event,
                         const Snapshot& last) {
  const std::string json = withoutLineEnd(eventJsonLine(time, number, event, last.source, last.names));
  keep(m_changes, MAX_CHANGES,
       "{\"time\":" + quotedJson(time) +
           ",\"text\":" + quotedJson(eventText(event, last.source, last.names)) + ",\"event\":" + json + "}");
  push("change", m_changes.back());
}

void PageUpdates::card(const std::optional<CardState>& state, const std::string& answer) {
  const std::string json =
      "{\"state\":" + cardJson(state).dump(-1, ' ', false, Json::error_handler_t::replace);
  const std::string data = json + ",\"answer\":" + quotedJson(answer) + "}";
  const std::string silent = json + ",\"answer\":\"\"}";
  if (silent != m_card || !answer.empty()) {
    push("card", data);
  }
  m_card = silent; // an answer is for those who are there
}

void PageUpdates::note(const std::string& line) {
  m_note = line;
  push("note", "{\"text\":" + quotedJson(line) + "}");
}

std::string PageUpdates::start(std::chrono::milliseconds age) const {
  return eventOf("start", "{\"origin\":" + quotedJson(m_origin) + ",\"staleAfterMs\":" +
                              std::to_string(m_staleAfter.count()) + "," + ageJson(age, m_snapshot) +
                              ",\"card\":" + orNull(m_card) + ",\"note\":" + quotedJson(m_note) +
                              ",\"changes\":" + array(m_changes) + ",\"samples\":" + array(m_samples) + "}");
}

std::string PageUpdates::next(std::uint64_t& number, std::chrono::milliseconds age) const {
  const std::uint64_t end = m_first + m_updates.size();
  if (number == START || number < m_first) {
    number = end;
    return start(age);
  }
  return number < end ? m_updates[static_cast<std::size_t>(number++ - m_first)] : "";
}

void PageUpdates::push(const char* name, const std::string& data) {
  m_updates.push_back(eventOf(name, data));
  if (m_updates.size() > MAX_UPDATES) {
    m_updates.pop_front();
    m_first++;
  }
}
