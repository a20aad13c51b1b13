// The total consumption of the last minutes, for a plot.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

struct ConsumptionSample {
  std::uint32_t consumption; // W
  std::uint32_t limit;       // W: of the active bank at that time
};

// One entry a message; an entry without a sample is a second without one.
class ConsumptionHistory {
public:
  static constexpr std::size_t MOST = 1000; // entries, the oldest go first

  void add(const ConsumptionSample& sample) { push(sample); }
  void addGap() { push(std::nullopt); }

  std::size_t size() const { return m_entries.size(); }

  // `age` counts entries back from the newest, which is 0. Nothing for a gap and beyond the oldest.
  std::optional<ConsumptionSample> at(std::size_t age) const {
    return age < m_entries.size() ? m_entries[m_entries.size() - 1 - age] : std::nullopt;
  }

private:
  void push(const std::optional<ConsumptionSample>& entry) {
    m_entries.push_back(entry);
    if (m_entries.size() > MOST) {
      m_entries.pop_front();
    }
  }

  std::deque<std::optional<ConsumptionSample>> m_entries;
};
