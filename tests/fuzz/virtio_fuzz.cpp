// A virtual machine that sends the card any messages and puts anything into its memory. The card never reads
// or writes outside of that memory, ends a session or stops a ring in one line, and waits for nothing.
#include "simulator/card/simulated_card.h"
#include "simulator/virtio/vhost_user_session.h"
#include "tests/fuzz/expectations.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/virtio/virtual_machine.h"

#include <algorithm>

#include <linux/virtio_i2c.h>

namespace {

using Machine = VirtualMachine;

// Places that the card reads, and addresses around the ends of the memory.
const std::uint64_t NUMBERS[] = {0,
                                 1,
                                 2,
                                 8,
                                 Machine::SIZE,
                                 Machine::GUEST,
                                 Machine::GUEST + Machine::TABLE,
                                 Machine::GUEST + Machine::DATA,
                                 Machine::GUEST + Machine::SIZE - 8,
                                 Machine::USER,
                                 Machine::USER + Machine::AVAILABLE,
                                 Machine::USER + Machine::USED,
                                 Machine::USER + Machine::SIZE - 4,
                                 ~std::uint64_t{0}};

class Session {
public:
  Session() {
    m_machine.setUp([this] { serve(); });
  }

  bool isOpen() const { return m_isOpen; }

  void serve() {
    m_isOpen = m_isOpen && m_session.serveMessage();
    serveRequests();
  }

  void serveRequests() {
    if (m_isOpen && m_session.kick() >= 0) {
      m_session.serveRequests();
    }
  }

  void sendMessage(FuzzedDataProvider& data) {
    const auto request = data.ConsumeIntegralInRange<std::uint32_t>(0, 20);
    std::vector<std::uint8_t> payload;
    while (data.ConsumeBool() && payload.size() < 600) {
      payload = std::move(payload) + longWords({takeNumber(data)});
    }
    const int files[] = {m_machine.memoryFile(), m_machine.kickFile()};
    const std::vector<int> sent(data.ConsumeIntegralInRange<std::size_t>(0, 9), data.PickValueInArray(files));
    m_machine.send(request, payload, sent);
    serve();
    m_machine.received();
  }

  void sendBytes(FuzzedDataProvider& data) {
    const std::string bytes = data.ConsumeRandomLengthString(40);
    if (!bytes.empty()) {
      m_machine.sendBytes({bytes.begin(), bytes.end()});
      m_machine.die(); // what is missing does not come
      while (m_isOpen) {
        serve();
      }
    }
  }

  void makeRequest(FuzzedDataProvider& data) {
    for (unsigned index = 0; index < Machine::RING; ++index) {
      m_machine.putDescriptor(index, takeDescriptor(data));
      m_machine.putDescriptor(index, takeDescriptor(data), Machine::TABLE);
    }
    m_machine.put(Machine::DATA,
                  words({data.PickValueInArray({0x40U, 0x42U}), data.ConsumeIntegralInRange(0U, 3U),
                         data.ConsumeIntegral<std::uint32_t>()}));
    m_machine.offer(data.ConsumeIntegralInRange<std::uint16_t>(0, Machine::RING));
    serveRequests();
  }

  // A transfer of a register as a kernel asks for it: two requests for a read, one for a write. At most one
  // descriptor of each is a wrong one.
  void makeTransfer(FuzzedDataProvider& data) {
    const auto reg = data.ConsumeIntegral<std::uint8_t>();
    if (data.ConsumeBool()) {
      makeChain(data, VIRTIO_I2C_FLAGS_FAIL_NEXT, {reg});
      makeChain(data, VIRTIO_I2C_FLAGS_M_RD, {0});
    } else {
      makeChain(data, 0, {reg, data.ConsumeIntegral<std::uint8_t>()});
    }
  }

  // The emulator sets the ring up again, as for a machine that starts again.
  void startAgain(FuzzedDataProvider& /*data*/) {
    m_machine.setUp([this] { serve(); });
    m_machine.received();
  }

  void spoilMemory(FuzzedDataProvider& data) {
    const auto place = data.ConsumeIntegralInRange<std::uint32_t>(0, 0x2FFF);
    m_machine.memory()[place] = data.ConsumeIntegral<std::uint8_t>();
    m_machine.kick();
    serveRequests();
  }

  void finish() {
    m_machine.die();
    while (m_isOpen) {
      serve();
    }
    expectLines(m_report);
  }

private:
  void makeChain(FuzzedDataProvider& data, std::uint32_t flags, const std::vector<std::uint8_t>& buffer) {
    constexpr std::uint32_t BUFFER = Machine::DATA + 0x100;
    constexpr std::uint32_t STATUS = Machine::DATA + 0x200;
    const bool isIndirect = data.ConsumeBool();
    const std::uint32_t table = isIndirect ? Machine::TABLE : Machine::DESCRIPTORS;
    const std::uint16_t isRead = (flags & VIRTIO_I2C_FLAGS_M_RD) != 0 ? DESCRIPTOR_WRITE : 0;
    const auto bufferFlags = static_cast<std::uint16_t>(DESCRIPTOR_NEXT | isRead);
    m_machine.put(Machine::DATA, words({0x40, flags}));
    m_machine.put(BUFFER, buffer);
    m_machine.putDescriptor(0, {Machine::GUEST + Machine::DATA, 8, DESCRIPTOR_NEXT, 1}, table);
    m_machine.putDescriptor(
        1, {Machine::GUEST + BUFFER, static_cast<std::uint32_t>(buffer.size()), bufferFlags, 2}, table);
    m_machine.putDescriptor(2, {Machine::GUEST + STATUS, 1, DESCRIPTOR_WRITE, 0}, table);
    if (data.ConsumeBool()) {
      m_machine.putDescriptor(data.ConsumeIntegralInRange(0U, 2U), takeDescriptor(data), table);
    }
    if (isIndirect) {
      m_machine.putDescriptor(3, {Machine::GUEST + Machine::TABLE, 48, DESCRIPTOR_INDIRECT, 0});
    }
    m_machine.offer(isIndirect ? 3 : 0);
    serveRequests();
  }

  static std::uint64_t takeNumber(FuzzedDataProvider& data) {
    return data.ConsumeBool() ? data.PickValueInArray(NUMBERS) : data.ConsumeIntegral<std::uint64_t>();
  }

  static RingDescriptor takeDescriptor(FuzzedDataProvider& data) {
    return {takeNumber(data), data.ConsumeIntegralInRange<std::uint32_t>(0, 64),
            data.ConsumeIntegralInRange<std::uint16_t>(0, 7),
            data.ConsumeIntegralInRange<std::uint16_t>(0, Machine::RING)};
  }

  Machine m_machine;
  SimulatedCard m_card{SimulatedCard::Time::Stepped};
  std::string m_report;
  VhostUserSession m_session{m_machine.takeCardsEnd(), m_card, [this](const std::string& line) {
                               EXPECT_EQ(line.find('\n'), std::string::npos) << line;
                               m_report += line + "\n";
                             }};
  bool m_isOpen = true;
};

using Action = void (Session::*)(FuzzedDataProvider& data);
constexpr Action ACTIONS[] = {&Session::sendMessage,  &Session::sendMessage, &Session::sendMessage,
                              &Session::sendBytes,    &Session::spoilMemory, &Session::makeRequest,
                              &Session::makeTransfer, &Session::startAgain};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  Session session;
  while (session.isOpen() && data.remaining_bytes() > 0) {
    (session.*data.PickValueInArray(ACTIONS))(data);
  }
  session.finish();
  return 0;
}
