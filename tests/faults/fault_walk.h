// Walks through the faults of an operation of so many transfers: none, each transfer alone, and all transfers
// from each one on.
#pragma once

#include <cstddef>
#include <string>

class FaultWalk {
public:
  // Back to no fault; the number of transfers is learnt anew.
  void restart() { *this = FaultWalk(); }

  bool isFaultless() const { return m_position == 0; }

  // How many transfers the operation makes without a fault; told while there is none.
  void learn(std::size_t transfers) { m_transfers = transfers; }

  // False: all faults have been walked through.
  bool next() { return ++m_position <= 2 * m_transfers; }

  // AddressSanitizer and the emulator of the card's processor make a transfer more than ten times slower, and
  // each eighth leads them through all the code.
#if defined(__SANITIZE_ADDRESS__) || defined(__powerpc__)
  static constexpr std::size_t STRIDE = 8;
#else
  static constexpr std::size_t STRIDE = 1;
#endif

  // The same for the second fault of a pair: each transfer alone.
  bool nextSecond() {
    m_position += m_position == 0 ? 1 : 2 * STRIDE;
    return m_position <= 2 * m_transfers;
  }

  bool fails(std::size_t transfer) const {
    if (m_position == 0) {
      return false;
    }
    const std::size_t first = (m_position - 1) / 2;
    return isAlone() ? transfer == first : transfer >= first;
  }

  std::string text() const {
    if (m_position == 0) {
      return "no transfer fails";
    }
    const std::string first = std::to_string((m_position - 1) / 2);
    return isAlone() ? "transfer " + first + " fails" : "all from transfer " + first + " on fail";
  }

private:
  bool isAlone() const {
    return m_position % 2 == 1;
  }

  std::size_t m_position = 0;
  std::size_t m_transfers = 0;
};
