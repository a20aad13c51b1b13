// Reads that succeed with wrong data: every single read and all reads of a cycle. Nothing but the counters
// may keep a trace of them, except where a wrong value has been written back into a register that ports
// share: that stays until the next recovery.
#include "tests/support/doubles/log_capture.h"
#include "tests/support/model/powered_card.h"

#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>

namespace {

// Registers whose reads give another value than they hold.
class LyingRegisters : public BusDevice {
public:
  bool read(std::uint8_t reg, std::uint8_t* value) override {
    const bool isRead = truth.read(reg, value);
    if (m_lie && m_isLying(m_reads)) {
      *value = m_lie(*value);
    }
    m_reads++;
    return isRead;
  }

  bool write(std::uint8_t reg, std::uint8_t value) override { return truth.write(reg, value); }

  using Lie = std::function<std::uint8_t(std::uint8_t)>;

  // Counts the reads from 0.
  void lieIn(const std::function<bool(std::size_t read)>& reads, const Lie& lie) {
    m_isLying = reads;
    m_lie = lie;
    m_reads = 0;
  }

  void tellTheTruth() { m_lie = nullptr; }
  std::size_t reads() const { return m_reads; }

  RegisterFile truth;

private:
  std::function<bool(std::size_t)> m_isLying;
  Lie m_lie;
  std::size_t m_reads = 0;
};

std::vector<LyingRegisters::Lie> lies() {
  std::vector<LyingRegisters::Lie> all = {[](std::uint8_t) { return std::uint8_t{0}; },
                                          [](std::uint8_t) { return std::uint8_t{0xFF}; }};
  for (unsigned bit = 0; bit < 8; bit++) {
    all.emplace_back([bit](std::uint8_t value) { return static_cast<std::uint8_t>(value ^ 1U << bit); });
  }
  return all;
}

class WrongData : public StrictLogTest {
protected:
  WrongData() {
    setPoweredPorts(m_chip.truth);
    m_pair.construct();
  }

  // Which reads lie at once.
  enum class Lying { One, All };

  // Runs one cycle for each lie after `prepare` and another, healthy one; then `check` is called. Before the
  // first, the reads of a cycle without a lie are counted.
  void tryLies(Lying lying, const std::function<void()>& prepare, const std::function<void()>& check) {
    m_lying = lying;
    m_prepare = prepare;
    m_check = check;
    m_pair.run([&] { return step(); });
    std::printf("lies tried: %zu\n", m_tried);
    EXPECT_EQ(m_tried, (lying == Lying::One ? m_reads : 1) * m_lies.size());
  }

  void expectHealed() { EXPECT_EQ(m_healed.differs(m_pair, m_chip.truth, fittingConfig()), ""); }

  // The status is right; the registers are after a recovery, which is made here.
  void expectHealedByARecovery() {
    if (m_status.mainOperStatus == 0) {
      m_status = withoutCounters(m_pair.status());
    }
    const PoeStatus now = withoutCounters(m_pair.status());
    EXPECT_EQ(std::memcmp(&m_status, &now, sizeof now), 0) << "the status is not what it was";
    loseConfiguration(m_chip.truth);
    m_pair.checkChip();
    expectHealed();
  }

  LyingRegisters m_chip;

private:
  // What the cycle has been that has just ended.
  enum class Phase { Start, Settled, Counted, Lied, Healed };

  bool step() {
    EXPECT_EQ(m_pair.takeDifferences(), "") << "read " << m_read << ", lie " << m_lie;
    switch (m_phase) {
    case Phase::Start:
      m_pair.handleConfig(fittingConfig());
      m_phase = Phase::Settled;
      break;
    case Phase::Settled:
      m_prepare();
      m_chip.lieIn([](std::size_t) { return false; }, m_lies[0]);
      m_phase = Phase::Counted;
      break;
    case Phase::Counted:
      m_reads = m_chip.reads();
      [[fallthrough]];
    case Phase::Lied:
      m_chip.tellTheTruth();
      m_pair.reportCached();
      m_phase = Phase::Healed;
      break;
    case Phase::Healed:
      m_check();
      return beginNextLie();
    }
    return true;
  }

  bool beginNextLie() {
    if (HasFailure()) {
      ADD_FAILURE() << "read " << m_read << ", lie " << m_lie;
      return false;
    }
    if (m_tried != 0 && ++m_lie == m_lies.size()) {
      m_lie = 0;
      m_read++;
    }
    if (m_read == (m_lying == Lying::One ? m_reads : 1)) {
      return false;
    }
    m_tried++;
    m_prepare();
    m_chip.lieIn([&](std::size_t number) { return m_lying == Lying::All || number == m_read; },
                 m_lies[m_lie]);
    m_phase = Phase::Lied;
    return true;
  }

  ServicePair m_pair{m_chip};
  Healed m_healed;
  PoeStatus m_status{};
  const std::vector<LyingRegisters::Lie> m_lies = lies();
  Lying m_lying = Lying::One;
  std::function<void()> m_prepare;
  std::function<void()> m_check;
  Phase m_phase = Phase::Start;
  std::size_t m_reads = 0; // of a cycle that lies nowhere
  std::size_t m_read = 0;
  std::size_t m_lie = 0;
  std::size_t m_tried = 0;
};

TEST_F(WrongData, InAnySingleReadOfACycleIsHealedByTheNextTrueReading) {
  tryLies(
      Lying::One, [] {}, [&] { expectHealed(); });
}

TEST_F(WrongData, InAllReadsOfACycleIsHealedButForSharedRegistersWhichTheNextRecoveryHeals) {
  tryLies(
      Lying::All, [] {}, [&] { expectHealedByARecovery(); });
}

TEST_F(WrongData, InAnySingleReadOfARecoveryIsHealedButForSharedRegistersWhichTheNextRecoveryHeals) {
  tryLies(
      Lying::One, [&] { loseConfiguration(m_chip.truth); }, [&] { expectHealedByARecovery(); });
}

TEST_F(WrongData, InAllReadsOfARecoveryIsHealedButForSharedRegistersWhichTheNextRecoveryHeals) {
  tryLies(
      Lying::All, [&] { loseConfiguration(m_chip.truth); }, [&] { expectHealedByARecovery(); });
}

} // namespace
