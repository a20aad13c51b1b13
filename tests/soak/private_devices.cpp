#include "tests/soak/private_devices.h"

#include <cerrno>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <system_error>
#include <unistd.h>

namespace {

void check(bool ok, const std::string& what) {
  if (!ok) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

// The new /dev is made at a place that is there anyway and nobody needs meanwhile.
constexpr char WORKPLACE[] = "/mnt";

void bindDevice(const std::string& name) {
  const std::string place = std::string(WORKPLACE) + "/" + name;
  close(open(place.c_str(), O_WRONLY | O_CREAT, 0600));
  check(mount(("/dev/" + name).c_str(), place.c_str(), nullptr, MS_BIND, nullptr) == 0, place);
}

} // namespace

std::string enterPrivateDevices() {
  try {
    check(unshare(CLONE_NEWNS) == 0, "no mount namespace");
    check(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "/");
    check(mount("tmpfs", WORKPLACE, "tmpfs", 0, "mode=0755") == 0, WORKPLACE);
    for (const char* const name : {"null", "zero", "full", "random", "urandom", "tty"}) {
      bindDevice(name);
    }
    check(mount(WORKPLACE, "/dev", nullptr, MS_MOVE, nullptr) == 0, "/dev");
  } catch (const std::system_error& error) {
    return error.what();
  }
  return "";
}

void mountSmallDisk(const std::string& directory, const std::string& size) {
  check(mount("tmpfs", directory.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0, directory);
}
