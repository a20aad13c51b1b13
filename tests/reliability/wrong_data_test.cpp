// Reads that succeed with wrong data: every single read and all reads of a cycle. Nothing but the counters
// may keep a trace of them, except where a wrong value has been written back into a register that ports
// share: that stays until the next recovery.
#include "tests/reliability/powered_card.h"
#include "tests/support/log_capture.h"

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

  // Runs one cycle for each lie after `prepare` and another, healthy one; then `check` is called. Before the
  // first, the reads of a cycle without a lie are counted.
  void tryLies(bool alone, const std::function<void()>& prepare, const std::function<void()>& check) {
    enum class Phase { Start, Settled, Counted, Lied, Healed } phase = Phase::Start;
    const auto all = lies();
    std::size_t reads = 0;
    std::size_t read = 0;
    std::size_t lie = 0;
    m_pair.run([&] {
      EXPECT_EQ(m_pair.takeDifferences(), "") << "read " << read << ", lie " << lie;
      switch (phase) {
      case Phase::Start:
        m_pair.handleConfig(fittingConfig());
        phase = Phase::Settled;
        return true;
      case Phase::Settled:
        prepare();
        m_chip.lieIn([](std::size_t) { return false; }, all[0]);
        phase = Phase::Counted;
        return true;
      case Phase::Counted:
        reads = m_chip.reads();
        m_chip.tellTheTruth();
        phase = Phase::Healed;
        return true;
      case Phase::Lied:
        m_chip.tellTheTruth();
        m_pair.reportCached();
        phase = Phase::Healed;
        return true;
      case Phase::Healed:
        check();
        break;
      }
      if (HasFailure()) {
        ADD_FAILURE() << "read " << read << ", lie " << lie;
        return false;
      }
      if (m_tried != 0 && ++lie == all.size()) {
        lie = 0;
        read++;
      }
      if (read == (alone ? reads : 1)) {
        return false;
      }
      m_tried++;
      prepare();
      m_chip.lieIn([&, alone](std::size_t number) { return !alone || number == read; }, all[lie]);
      phase = Phase::Lied;
      return true;
    });
    std::printf("lies tried: %zu\n", m_tried);
    EXPECT_EQ(m_tried, alone ? reads * all.size() : all.size());
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
  ServicePair m_pair{m_chip};
  Healed m_healed;
  PoeStatus m_status{};
  std::size_t m_tried = 0;
};

TEST_F(WrongData, InAnySingleReadOfACycleIsHealedByTheNextTrueReading) {
  tryLies(
      true, [] {}, [&] { expectHealed(); });
}

TEST_F(WrongData, InAllReadsOfACycleIsHealedButForSharedRegistersWhichTheNextRecoveryHeals) {
  tryLies(
      false, [] {}, [&] { expectHealedByARecovery(); });
}

TEST_F(WrongData, InAnySingleReadOfARecoveryIsHealedButForSharedRegistersWhichTheNextRecoveryHeals) {
  tryLies(
      true, [&] { loseConfiguration(m_chip.truth); }, [&] { expectHealedByARecovery(); });
}

TEST_F(WrongData, InAllReadsOfARecoveryIsHealedButForSharedRegistersWhichTheNextRecoveryHeals) {
  tryLies(
      false, [&] { loseConfiguration(m_chip.truth); }, [&] { expectHealedByARecovery(); });
}

} // namespace
