// The simulated card as the I2C adapter of a virtual machine: what a driver and an emulator do, right and
// wrong.
#include "simulator/card/simulated_card.h"
#include "simulator/virtio/vhost_user_session.h"
#include "tests/support/virtio/virtual_machine.h"

#include <functional>
#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using Bytes = std::vector<std::uint8_t>;
using Request = VhostUserRequest;

constexpr std::uint64_t DATA = VirtualMachine::GUEST + VirtualMachine::DATA;
constexpr std::uint64_t TABLE = VirtualMachine::GUEST + VirtualMachine::TABLE;
constexpr std::uint8_t UNTOUCHED = 0x77;
constexpr std::uint32_t STATUS = 12; // its place in the data of a request, after header and buffer
constexpr std::uint32_t FAIL_NEXT = 1;
constexpr std::uint32_t IS_READ = 2;

std::uint32_t number(Request request) {
  return static_cast<std::uint32_t>(request);
}

class MachineWithTheCard : public testing::Test {
protected:
  MachineWithTheCard() {
    machine.setUp([this] { serve(); });
  }

  void serve() { isOpen = session.serveMessage(); }

  void send(Request request, const Bytes& payload, const std::vector<int>& files = {}) {
    machine.send(number(request), payload, files);
    serve();
  }

  // Makes a request to an address of the bus as a driver does, with `descriptors` of it in another table.
  // Returns its status, -1 when the card was silent.
  int request(std::uint16_t address, std::uint32_t flags, const Bytes& data, bool indirect = false) {
    const std::uint32_t table = indirect ? VirtualMachine::TABLE : VirtualMachine::DESCRIPTORS;
    const auto size = static_cast<std::uint32_t>(data.size());
    const auto kind = static_cast<std::uint16_t>((flags & IS_READ) != 0 ? DESCRIPTOR_WRITE : 0);
    const auto bus = static_cast<std::uint16_t>(address << 1U);
    machine.put(VirtualMachine::DATA, words({bus, flags}) + data);
    machine.memory()[VirtualMachine::DATA + STATUS] = UNTOUCHED;
    const std::uint16_t last = size > 0 ? 2 : 1;
    machine.putDescriptor(0, {DATA, 8, DESCRIPTOR_NEXT, 1}, table);
    machine.putDescriptor(1, {DATA + 8, size, static_cast<std::uint16_t>(kind | DESCRIPTOR_NEXT), 2}, table);
    machine.putDescriptor(last, {DATA + STATUS, 1, DESCRIPTOR_WRITE, 0}, table);
    if (indirect) {
      machine.putDescriptor(0, {TABLE, 16U * (last + 1U), DESCRIPTOR_INDIRECT, 0});
    }
    const std::uint16_t before = machine.usedIndex();
    machine.offer(0);
    session.serveRequests();
    return machine.usedIndex() == before ? -1 : machine.memory()[VirtualMachine::DATA + STATUS];
  }

  int write(std::uint8_t reg, std::uint8_t value) { return request(0x20, 0, {reg, value}); }

  // The register's value, or -1 for a read that failed.
  int read(std::uint8_t reg, bool indirect = false) {
    EXPECT_EQ(request(0x20, FAIL_NEXT, {reg}, indirect), 0);
    const int status = request(0x20, IS_READ, {UNTOUCHED}, indirect);
    return status == 0 ? machine.memory()[VirtualMachine::DATA + 8] : -1;
  }

  VirtualMachine machine;
  SimulatedCard card{SimulatedCard::Time::Stepped};
  std::string report; // one line each
  VhostUserSession session{machine.takeCardsEnd(), card,
                           [this](const std::string& line) { report += line + "\n"; }};
  bool isOpen = true;
};

TEST_F(MachineWithTheCard, ReadsAndWritesRegistersByRequestsOfBothForms) {
  EXPECT_EQ(read(0x43), 0x41);
  EXPECT_EQ(machine.lastUsed().written, 2U); // value and status
  EXPECT_EQ(machine.interrupts(), 2U);
  EXPECT_EQ(write(0x12, 0x55), 0);
  EXPECT_EQ(machine.lastUsed().written, 1U);
  EXPECT_EQ(card.answer("reg 0x12"), "0x12 0x55\n");
  EXPECT_EQ(read(0x12, true), 0x55);
  EXPECT_EQ(report, "");
}

TEST_F(MachineWithTheCard, FindsThatTheRestOfAGroupFailsWithARequest) {
  card.answer("bus fail 1");
  EXPECT_EQ(request(0x20, FAIL_NEXT, {0x12, 0x55}), 1);
  EXPECT_EQ(request(0x20, 0, {0x12, 0x66}), 1);
  EXPECT_EQ(card.answer("reg 0x12"), "0x12 0x00\n");
  EXPECT_EQ(write(0x12, 0x77), 0);
  card.answer("bus fail 1");
  EXPECT_EQ(read(0x43), -1);
  EXPECT_EQ(read(0x43), 0x41);
}

TEST_F(MachineWithTheCard, GetsAnErrorForWhatIsNoTransferOfAByte) {
  EXPECT_EQ(request(0x21, 0, {0x12, 0x55}), 1); // another chip
  EXPECT_EQ(request(0x20, IS_READ, {UNTOUCHED}), 1);
  EXPECT_EQ(request(0x20, 0, {0x12}), 1);
  EXPECT_EQ(request(0x20, 0, {0x12, 0x55, 0x66}), 1);
  EXPECT_EQ(request(0x20, FAIL_NEXT, {0x43}), 0);
  EXPECT_EQ(request(0x20, IS_READ, {UNTOUCHED, UNTOUCHED}), 1);
  EXPECT_EQ(machine.memory()[VirtualMachine::DATA + 8], UNTOUCHED);
  EXPECT_EQ(card.answer("reg 0x12"), "0x12 0x00\n");
  EXPECT_EQ(report, "");
}

TEST_F(MachineWithTheCard, FindsTheChipByAnEmptyRequest) {
  EXPECT_EQ(request(0x20, 0, {}), 0);
  EXPECT_EQ(request(0x21, 0, {}), 1);
  card.setPresent(false);
  EXPECT_EQ(request(0x20, 0, {}), 1);
}

TEST_F(MachineWithTheCard, GoesOnWhereItHasStoppedTheRing) {
  write(0x12, 0x11);
  write(0x12, 0x22);
  machine.received();
  send(Request::GET_VRING_BASE, words({0, 0}));
  EXPECT_EQ(machine.received(), words({11, 5, 8, 0, 2}));
  EXPECT_EQ(session.kick(), -1);
  machine.setUp([this] { serve(); });
  EXPECT_EQ(write(0x12, 0x33), 0);
  EXPECT_EQ(machine.usedIndex(), 3);
}

TEST_F(MachineWithTheCard, FindsRequestsServedThatItMadeWhileTheRingWasDisabled) {
  send(Request::SET_VRING_ENABLE, words({0, 0}));
  EXPECT_EQ(session.kick(), -1);
  machine.put(VirtualMachine::DATA, words({0x40, 0, 0x5512}));
  machine.putDescriptor(0, {DATA, 10, DESCRIPTOR_NEXT, 1});
  machine.putDescriptor(1, {DATA + STATUS, 1, DESCRIPTOR_WRITE, 0});
  machine.offer(0);
  EXPECT_EQ(machine.usedIndex(), 0);
  send(Request::SET_VRING_ENABLE, words({0, 1}));
  EXPECT_EQ(machine.usedIndex(), 1);
  EXPECT_EQ(card.answer("reg 0x12"), "0x12 0x55\n");
}

TEST_F(MachineWithTheCard, IsReportedWhenItDiesWithItsRingInUseOnly) {
  machine.die();
  EXPECT_FALSE(session.serveMessage());
  EXPECT_EQ(report, "the machine has gone while it used the card\n");
}

TEST_F(MachineWithTheCard, EndsInSilenceAfterItHasStoppedTheRing) {
  send(Request::GET_VRING_BASE, words({0, 0}));
  machine.die();
  EXPECT_FALSE(session.serveMessage());
  EXPECT_EQ(report, "");
}

// The first two descriptors of a request, as a driver may make them wrong, and where it says that they begin.
struct WrongRequest {
  const char* name;
  const char* line;
  RingDescriptor first = {DATA, 8, DESCRIPTOR_NEXT, 1};
  RingDescriptor second = {DATA + STATUS, 1, DESCRIPTOR_WRITE, 0};
  std::uint16_t head = 0;
};

class WrongDriver : public MachineWithTheCard, public testing::WithParamInterface<WrongRequest> {
protected:
  void expectSilenceAndANewStart(const std::string& line) {
    EXPECT_EQ(report,
              "the machine's driver made " + line + "; the card is silent until the driver starts anew\n");
    EXPECT_EQ(session.kick(), -1);
    send(Request::GET_VRING_BASE, words({0, 0}));
    machine.setUp([this] { serve(); });
    EXPECT_TRUE(isOpen);
  }
};

TEST_P(WrongDriver, IsReportedInOneLineAndCanStartAnew) {
  machine.putDescriptor(0, GetParam().first);
  machine.putDescriptor(1, GetParam().second);
  machine.putDescriptor(0, {TABLE, 16, DESCRIPTOR_INDIRECT, 0}, VirtualMachine::TABLE);
  machine.offer(GetParam().head);
  session.serveRequests();
  expectSilenceAndANewStart(GetParam().line);
}

constexpr std::uint64_t END = VirtualMachine::GUEST + VirtualMachine::SIZE;
constexpr std::uint16_t RING = VirtualMachine::RING;
constexpr const char* WRONG_BUFFER = "a buffer that is empty or not in its memory";
constexpr const char* WRONG_TABLE = "a table of descriptors with a wrong size or place";
constexpr const char* NO_HEADERS = "a request without its headers";

const WrongRequest WRONG_REQUESTS[] = {
    {"OutsideOfTheMemory", WRONG_BUFFER, {END - 4, 8, DESCRIPTOR_NEXT, 1}},
    {"BelowTheMemory", WRONG_BUFFER, {VirtualMachine::GUEST - 1, 8, DESCRIPTOR_NEXT, 1}},
    {"AroundTheEndOfAllAddresses", WRONG_BUFFER, {DATA, 0xFFFFFFFF, DESCRIPTOR_NEXT, 1}},
    {"OfNoLength", WRONG_BUFFER, {DATA, 0, DESCRIPTOR_NEXT, 1}},
    {"WithoutAnEnd", "a chain of descriptors without an end", {DATA, 8, DESCRIPTOR_NEXT, 0}},
    {"WithANextBeyondTheTable", "a descriptor beyond its table", {DATA, 8, DESCRIPTOR_NEXT, RING}},
    {"ThatBeginsBeyondTheTable", "a descriptor beyond its table", {}, {}, RING},
    {"WithoutAHeader", NO_HEADERS, {DATA, 7, DESCRIPTOR_NEXT, 1}},
    {"WithoutAStatus", NO_HEADERS, {DATA, 8, 0, 0}},
    {"ToReadAfterOneToWrite",
     "a buffer to read after one to write",
     {DATA, 8, DESCRIPTOR_NEXT | DESCRIPTOR_WRITE, 1},
     {DATA, 8, 0, 0}},
    {"OfATableInATable", "a table of descriptors in another", {TABLE, 16, DESCRIPTOR_INDIRECT, 0}},
    {"OfATableWithHalfADescriptor", WRONG_TABLE, {TABLE, 24, DESCRIPTOR_INDIRECT, 0}},
    {"OfAnEmptyTable", WRONG_TABLE, {TABLE, 0, DESCRIPTOR_INDIRECT, 0}},
    {"OfATableOutsideOfTheMemory",
     "a table of descriptors that is not in its memory",
     {TABLE + VirtualMachine::SIZE, 48, DESCRIPTOR_INDIRECT, 0}}};

INSTANTIATE_TEST_SUITE_P(ByRequests, WrongDriver, testing::ValuesIn(WRONG_REQUESTS),
                         [](const auto& test) { return std::string(test.param.name); });

using DriverOfTooManyRequests = WrongDriver;

TEST_F(DriverOfTooManyRequests, IsReportedInOneLineAndCanStartAnew) {
  machine.put(VirtualMachine::AVAILABLE + RING_INDEX_OFFSET, {RING + 1, 0});
  session.serveRequests();
  expectSilenceAndANewStart("more requests than its ring has places");
}

// Messages of an emulator after which the session is over.
using Sending = std::function<void(VirtualMachine&)>;

struct WrongMessage {
  const char* name;
  const char* line;
  Sending send;
};

class WrongEmulator : public MachineWithTheCard, public testing::WithParamInterface<WrongMessage> {};

TEST_P(WrongEmulator, IsReportedInOneLineAndSentAway) {
  GetParam().send(machine);
  serve();
  EXPECT_FALSE(isOpen);
  EXPECT_EQ(report, std::string("the emulator sent ") + GetParam().line + "; the connection is closed\n");
}

Sending bytes(const Bytes& bytes) {
  return [=](VirtualMachine& machine) { machine.sendBytes(bytes); };
}

// Bytes after which the emulator dies.
Sending lastBytes(const Bytes& bytes) {
  return [=](VirtualMachine& machine) {
    machine.sendBytes(bytes);
    machine.die();
  };
}

Sending message(std::uint32_t request, const Bytes& payload = {}) {
  return [=](VirtualMachine& machine) { machine.send(request, payload); };
}

Sending ringOf(std::uint32_t descriptors, std::uint32_t ring = 0) {
  return message(number(Request::SET_VRING_NUM), words({ring, descriptors}));
}

// A memory table of one region, in the file of the machine's memory.
Sending memory(std::uint64_t guest, std::uint64_t size, std::uint64_t offset) {
  return [=](VirtualMachine& machine) {
    machine.send(number(Request::SET_MEM_TABLE), memoryTable(guest, size, 0, offset), {machine.memoryFile()});
  };
}

void sendManyDescriptors(VirtualMachine& machine) {
  machine.send(number(Request::SET_MEM_TABLE), {}, std::vector<int>(9, machine.memoryFile()));
}

void sendMemoryThatCanShrink(VirtualMachine& machine) {
  const FileDescriptor file(memfd_create("other", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  machine.send(number(Request::SET_MEM_TABLE), memoryTable(0, 4096, 0, 0), {file.get()});
}

void sendMemoryThatIsNoFile(VirtualMachine& machine) {
  machine.send(number(Request::SET_MEM_TABLE), memoryTable(0, 4096, 0, 0), {machine.kickFile()});
}

constexpr std::uint64_t MOST = ~std::uint64_t{0};
constexpr const char* VERSION = "a message of another version; accepted is 1";
constexpr const char* CUT_OFF = "a message without its end, or with too many descriptors";
constexpr const char* LARGER_THAN_ITS_FILE = "a region of its memory is larger than the memory's file";
constexpr const char* SHRINKING = "its memory can shrink; accepted is a memory-backend-memfd with share=on";

const WrongMessage WRONG_MESSAGES[] = {
    {"OfAnotherVersion", VERSION, bytes(words({1, 2, 0}))},
    {"ThatIsAReply", VERSION, bytes(words({1, 5, 0}))},
    {"OfALargeSize", "a message of 513 bytes; accepted are 512", bytes(words({1, 1, 513}))},
    {"CutOffInItsHeader", CUT_OFF, lastBytes({1, 0, 0})},
    {"WithoutItsPayload", "a message without its end", lastBytes(words({1, 1, 8}))},
    {"ThatIsTooShort", "a message that is too short", message(number(Request::SET_VRING_NUM), words({0}))},
    {"WithTooManyDescriptors", CUT_OFF, sendManyDescriptors},
    {"OfAnotherKind", "message 99, which is not understood", message(99)},
    {"ForAnotherRing", "another ring; accepted is ring 0", ringOf(4, 1)},
    {"ForAnEmptyRing", "a ring of 0 descriptors; accepted are powers of 2 up to 1024", ringOf(0)},
    {"ForARingOfThree", "a ring of 3 descriptors; accepted are powers of 2 up to 1024", ringOf(3)},
    {"ForALargeRing", "a ring of 2048 descriptors; accepted are powers of 2 up to 1024", ringOf(2048)},
    {"OfMemoryWithoutAFile", "a memory table without a descriptor for each region",
     message(number(Request::SET_MEM_TABLE), memoryTable(0, 4096, 0, 0))},
    {"OfMemoryBeyondItsFile", LARGER_THAN_ITS_FILE, memory(0, VirtualMachine::SIZE, 1)},
    {"OfMemoryAroundTheEndOfItsFile", LARGER_THAN_ITS_FILE, memory(0, 4096, MOST)},
    {"OfMemoryAroundTheEndOfAllAddresses", "a region of its memory has a wrong size", memory(MOST, 4096, 0)},
    {"OfNoMemory", "a region of its memory has a wrong size", memory(0, 0, 0)},
    {"OfMemoryThatCanShrink", SHRINKING, sendMemoryThatCanShrink},
    {"OfMemoryThatIsNoFile", SHRINKING, sendMemoryThatIsNoFile}};

INSTANTIATE_TEST_SUITE_P(ByMessages, WrongEmulator, testing::ValuesIn(WRONG_MESSAGES),
                         [](const auto& test) { return std::string(test.param.name); });

constexpr char RING_OUTSIDE[] =
    "the machine's driver made a ring that is not in its memory; the card is silent until the driver starts "
    "anew\n";

TEST_F(MachineWithTheCard, WithARingOutsideOfItsMemoryIsReported) {
  send(Request::SET_VRING_ADDR, words({0, 0}) + longWords({0, 0, 0, 0}));
  EXPECT_EQ(report, RING_OUTSIDE);
}

TEST_F(MachineWithTheCard, WithoutMemoryIsReportedAtItsNextRequest) {
  send(Request::SET_MEM_TABLE, words({0, 0}));
  EXPECT_TRUE(isOpen);
  EXPECT_EQ(request(0x20, 0, {}), -1);
  EXPECT_EQ(report, RING_OUTSIDE);
}

} // namespace
