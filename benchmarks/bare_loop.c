// What the service is measured against: what an engineer would write to get the chip's status and nothing
// more once a second. It makes the transfers of one of the service's cycles in the same order, turns them
// into the same values and the same status message, for four ports that are enabled, and sends it in the same
// way. It has no configuration, no audit of the budget, no recovery, no console, no watchdog, no thread and
// no lock.
#include <errno.h>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <math.h>
#include <mqueue.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

enum { PORTS = 4, COUNTERS = 6, MESSAGE_ID = 17 };

struct port_status {
  uint32_t oper_status, detection_status, power_classification, power_consumption;
  uint32_t counter[COUNTERS];
};

struct status_message {
  uint32_t id;
  uint32_t main_power, main_oper_status, reserved, main_consumption;
  struct port_status port[PORTS];
  int32_t temperature;
  uint8_t thermal_shutdown, dev_error, padding[2];
};
_Static_assert(sizeof(struct status_message) == 188, "the status message has 188 bytes");

// What the message does not carry, in the units of the service's records.
struct measurements {
  uint32_t main_voltage, port_voltage; // dV
  uint32_t current;                    // mA
};

static int bus;
static struct status_message message = {.id = MESSAGE_ID};
static struct measurements measured[PORTS];
static uint32_t main_voltage, shutdown_voltage; // dV
static uint8_t device_id;
static uint8_t last_counts[COUNTERS];

// A value that cannot be read is left as it was.
static bool read_register(uint8_t address, uint8_t* value) {
  union i2c_smbus_data data;
  struct i2c_smbus_ioctl_data arguments = {I2C_SMBUS_READ, address, I2C_SMBUS_BYTE_DATA, &data};
  if (ioctl(bus, I2C_SMBUS, &arguments) < 0) {
    if (!message.dev_error) {
      syslog(LOG_ERR, "cannot read register 0x%x", address);
    }
    message.dev_error = true;
    return false;
  }
  message.dev_error = false;
  *value = data.byte;
  return true;
}

static bool read_register16(uint8_t address, unsigned* value) {
  uint8_t low, high;
  if (!read_register(address, &low) || !read_register((uint8_t)(address + 1), &high)) {
    return false;
  }
  *value = low + ((unsigned)high << 8);
  return true;
}

static void read_voltage(uint8_t address, uint32_t* voltage) {
  unsigned raw;
  if (read_register16(address, &raw)) {
    *voltage = (uint32_t)lround(raw * 5.835 / 100);
  }
}

static void read_device(void) {
  uint8_t value;
  if (read_register(0x43, &value)) {
    device_id = value;
  }
  if (read_register(0x70, &value)) {
    message.temperature = (int)(value * 0.96) - 27;
  }
  if (read_register(0x42, &value)) {
    message.thermal_shutdown = value >> 7;
  }
}

static void read_power(void) {
  uint8_t value;
  unsigned raw;
  if (read_register(0x96, &value)) {
    message.main_consumption = value;
  }
  if (read_register(0x91, &value) && read_register((uint8_t)(0x89 + (value >> 3 & 7)), &value)) {
    message.main_power = value;
  }
  read_voltage(0x71, &main_voltage);
  if (read_register16(0xCB, &raw)) {
    shutdown_voltage = (uint32_t)lround((raw & 0x7FF) * 1.86);
  }
}

// The chip's counters have two bits for each port.
static void read_counters(void) {
  for (int counter = 0; counter < COUNTERS; counter++) {
    uint8_t counts;
    if (!read_register((uint8_t)(0x77 + counter), &counts)) {
      continue;
    }
    const unsigned weight = counter == 1 ? 2 : 1;
    for (int port = 0; port < PORTS; port++) {
      const unsigned count = (unsigned)counts >> 2 * port;
      const unsigned last = (unsigned)last_counts[counter] >> 2 * port;
      message.port[port].counter[counter] += weight * ((count - last) & 3);
    }
    last_counts[counter] = counts;
  }
}

static uint32_t oper_status(unsigned detection, bool powered, bool hot_or_broken, bool detection_failed) {
  if (message.dev_error || message.thermal_shutdown || hot_or_broken) {
    return 6;
  }
  if (detection_failed || detection == 1 || detection == 2 || detection == 3 || detection == 5) {
    return 4;
  }
  return powered ? 3 : 2;
}

static void read_state(int port) {
  static const uint8_t classification[8] = {0, 2, 3, 4, 5, 0, 1, 0};
  struct port_status* status = &message.port[port];
  uint8_t power, state, high_power, details;
  bool ok = read_register(0x10, &power);
  ok &= read_register((uint8_t)(0x0C + port), &state);
  ok &= read_register((uint8_t)(0x49 + 5 * port), &high_power);
  ok &= read_register((uint8_t)(0x75 + port / 2), &details);
  if (!ok) {
    return;
  }
  const unsigned detail = (unsigned)details >> port % 2 * 4;
  status->detection_status = state & 7;
  status->power_classification = classification[state >> 4 & 7];
  status->oper_status = oper_status(status->detection_status, power >> port & 1,
                                    (high_power & 2) || (detail & 1), (detail & 8) != 0);
}

static void read_measurements(int port) {
  unsigned raw;
  uint8_t value;
  read_voltage(0x71, &measured[port].main_voltage);
  read_voltage((uint8_t)(0x32 + 4 * port), &measured[port].port_voltage);
  if (read_register16((uint8_t)(0x30 + 4 * port), &raw)) {
    measured[port].current = (uint32_t)lround(raw * 122.07 / 1000);
  }
  if (read_register((uint8_t)(0x92 + port), &value)) {
    message.port[port].power_consumption = value;
  }
}

static void send_message(void) {
  const mqd_t queue = mq_open("/queueToMain", O_WRONLY);
  if (queue == (mqd_t)-1) {
    return;
  }
  struct timespec deadline;
  clock_gettime(CLOCK_REALTIME, &deadline);
  deadline.tv_sec += 1;
  mq_timedsend(queue, (const char*)&message, sizeof message, 0, &deadline);
  mq_close(queue);
}

static void poll_chip(void) {
  uint8_t marker;
  if (!read_register(0x90, &marker)) {
    message.main_oper_status = 3;
  } else if (marker == 0) {
    message.main_oper_status = 1;
  }
  read_device();
  read_power();
  read_device();
  read_counters();
  for (int port = 0; port < PORTS; port++) {
    read_state(port);
    read_measurements(port);
  }
  send_message();
}

int main(void) {
  bus = open("/dev/i2c-0", O_RDWR);
  if (bus < 0 || ioctl(bus, I2C_SLAVE, 0x20) < 0) {
    fprintf(stderr, "bare_loop: /dev/i2c-0: %s\n", strerror(errno));
    return 1;
  }
  for (;;) {
    poll_chip();
    const struct timespec pause = {.tv_sec = 1};
    clock_nanosleep(CLOCK_MONOTONIC, 0, &pause, NULL);
  }
}
