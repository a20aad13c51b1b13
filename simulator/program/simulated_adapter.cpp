#include "simulator/program/simulated_adapter.h"

#include "simulator/card/simulated_card.h"

#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>

namespace {

// The device file has contents, so that it is a plain file and not a terminal,
// which would become the controlling terminal of a daemon that opens it.
constexpr const char* DESCRIPTION = "P: /devices/platform/i2c-0/i2c-dev/i2c-0\n"
                                    "N: i2c-0=00\n"
                                    "E: DEVNAME=/dev/i2c-0\n"
                                    "E: SUBSYSTEM=i2c-dev\n";
constexpr unsigned long CHIP_ADDRESS = 0x20;
constexpr unsigned long MAX_ADDRESS = 0x7F;
// Where an opener's bound slave address is kept: on umockdev's record of the opener.
constexpr const char* BOUND_ADDRESS = "bound-address";

void throwOnError(GError* error) {
  if (error == nullptr) {
    return;
  }
  const std::string text = error->message;
  g_error_free(error);
  throw std::runtime_error(text);
}

// umockdev takes the place of its files from TMPDIR. The command gets the one of the user.
UMockdevTestbed* testbedIn(const std::string& folder) {
  const char* set = std::getenv("TMPDIR");
  const std::optional<std::string> ofTheUser =
      set == nullptr ? std::nullopt : std::optional<std::string>(set);
  setenv("TMPDIR", folder.c_str(), 1);
  UMockdevTestbed* testbed = umockdev_testbed_new();
  if (ofTheUser) {
    setenv("TMPDIR", ofTheUser->c_str(), 1);
  } else {
    unsetenv("TMPDIR");
  }
  return testbed;
}

} // namespace

SimulatedAdapter::SimulatedAdapter(SimulatedCard& card, const std::string& folder)
    : m_card(card), m_ioctls(umockdev_ioctl_base_new()), m_testbed(testbedIn(folder)) {
  if (!umockdev_in_mock_environment()) { // Known only now that there is a testbed.
    throw std::runtime_error("libumockdev-preload.so.0 is not preloaded");
  }
  GError* error = nullptr;
  umockdev_testbed_add_from_string(m_testbed.get(), DESCRIPTION, &error);
  throwOnError(error);
  g_signal_connect(m_ioctls.get(), "handle-ioctl", G_CALLBACK(onIoctl), this);
  umockdev_testbed_attach_ioctl(m_testbed.get(), DEVICE, m_ioctls.get(), &error);
  throwOnError(error);
}

SimulatedAdapter::~SimulatedAdapter() {
  umockdev_testbed_detach_ioctl(m_testbed.get(), DEVICE, nullptr);
}

// The caller's memory that the pointer points to at `offset`; empty if it cannot be reached.
SimulatedAdapter::IoctlData SimulatedAdapter::resolve(UMockdevIoctlData* data, std::size_t offset,
                                                      std::size_t length) {
  GError* error = nullptr;
  IoctlData memory(umockdev_ioctl_data_resolve(data, offset, length, &error));
  g_clear_error(&error);
  return memory;
}

gboolean SimulatedAdapter::onIoctl(UMockdevIoctlBase* /*base*/, UMockdevIoctlClient* client, gpointer self) {
  const Reply reply = static_cast<SimulatedAdapter*>(self)->answer(client);
  umockdev_ioctl_client_complete(client, reply.result, reply.error);
  return TRUE;
}

SimulatedAdapter::Reply SimulatedAdapter::answer(UMockdevIoctlClient* client) {
  UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg(client); // stays the client's
  unsigned long value = 0;
  std::memcpy(&value, arg->data, sizeof value);
  switch (umockdev_ioctl_client_get_request(client)) {
  case I2C_SLAVE:
  case I2C_SLAVE_FORCE:
    return bind(client, value);
  case I2C_FUNCS:
    return functions(arg);
  case I2C_SMBUS:
    return transfer(client, arg);
  case I2C_RDWR:
    return {-1, EOPNOTSUPP};
  default:
    return {-1, ENOTTY};
  }
}

SimulatedAdapter::Reply SimulatedAdapter::bind(UMockdevIoctlClient* client, unsigned long address) {
  if (address > MAX_ADDRESS) {
    return {-1, EINVAL};
  }
  g_object_set_data(G_OBJECT(client), BOUND_ADDRESS, GSIZE_TO_POINTER(address));
  return {0, 0};
}

SimulatedAdapter::Reply SimulatedAdapter::functions(UMockdevIoctlData* arg) {
  unsigned long offered = I2C_FUNC_SMBUS_BYTE_DATA;
  const IoctlData result = resolve(arg, 0, sizeof offered);
  if (result == nullptr) {
    return {-1, EFAULT};
  }
  umockdev_ioctl_data_update(result.get(), 0, reinterpret_cast<guint8*>(&offered), sizeof offered);
  return {0, 0};
}

SimulatedAdapter::Reply SimulatedAdapter::transfer(UMockdevIoctlClient* client, UMockdevIoctlData* arg) {
  const IoctlData record = resolve(arg, 0, sizeof(i2c_smbus_ioctl_data));
  if (record == nullptr) {
    return {-1, EFAULT};
  }
  i2c_smbus_ioctl_data request{};
  std::memcpy(&request, record->data, sizeof request);
  if (request.size > I2C_SMBUS_I2C_BLOCK_DATA || request.read_write > I2C_SMBUS_READ) {
    return {-1, EINVAL};
  }
  if (request.size != I2C_SMBUS_BYTE_DATA) {
    return {-1, EOPNOTSUPP};
  }
  if (request.data == nullptr) {
    return {-1, EINVAL};
  }
  const IoctlData data =
      resolve(record.get(), offsetof(i2c_smbus_ioctl_data, data), sizeof(i2c_smbus_data::byte));
  if (data == nullptr) {
    return {-1, EFAULT};
  }

  if (GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(client), BOUND_ADDRESS)) != CHIP_ADDRESS) {
    return {-1, ENXIO};
  }
  if (request.read_write == I2C_SMBUS_WRITE) {
    return m_card.write(request.command, data->data[0]) ? Reply{0, 0} : Reply{-1, ENXIO};
  }
  std::uint8_t value = 0;
  if (!m_card.read(request.command, &value)) {
    return {-1, ENXIO};
  }
  umockdev_ioctl_data_update(data.get(), 0, &value, sizeof value);
  return {0, 0};
}
