#include "tests/target/support/module.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

void insertModule(const char* file, const char* parameters) {
  const int module = open(file, O_RDONLY | O_CLOEXEC);
  ASSERT_GE(module, 0) << file << ": " << std::strerror(errno);
  EXPECT_EQ(syscall(SYS_finit_module, module, parameters, 0), 0) << file << ": " << std::strerror(errno);
  close(module);
}

void removeModule(const char* name) {
  EXPECT_EQ(syscall(SYS_delete_module, name, O_NONBLOCK), 0) << name << ": " << std::strerror(errno);
}
