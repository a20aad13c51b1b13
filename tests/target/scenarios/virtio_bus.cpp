#include "tests/target/scenarios/virtio_bus.h"

#include "tests/target/support/chip.h"

#include <unistd.h>

// Debian's kernel has the bus of the machine in modules, too; a kernel that has it built in lacks these
// files.
void insertVirtioAdapter() {
  for (const std::string name : {"virtio_ring", "virtio", "virtio_pci_legacy_dev", "virtio_pci_modern_dev",
                                 "virtio_pci", "i2c-dev", "i2c-virtio"}) {
    const std::string file = "/lib/modules/" + name + ".ko";
    if (access(file.c_str(), F_OK) == 0) {
      insertModule(file, "");
    }
  }
}

std::string askCard(SerialLine& serial, const std::string& words) {
  serial.write(words);
  std::string reply;
  std::string line;
  do {
    line = serial.read();
    reply += line + "\n";
  } while (!line.empty());
  return reply;
}
