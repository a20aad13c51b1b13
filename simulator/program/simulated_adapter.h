// A simulated /dev/i2c-0 with one chip at address 0x20. Programs that this
// process starts see it, through the preloaded umockdev library and an
// environment variable that the constructor sets.
#pragma once

#include <umockdev.h>

#include <cstddef>
#include <memory>
#include <string>

class SimulatedCard;

class SimulatedAdapter {
public:
  static constexpr const char* DEVICE = "/dev/i2c-0";

  // The process must have libumockdev-preload.so.0 preloaded, and must not have asked
  // GLib for the folder for temporary files: the adapter's files go to `folder`. `card`
  // has to outlive the adapter and is used on the thread that answers the bus, which is
  // one of umockdev's. Throws std::runtime_error.
  SimulatedAdapter(SimulatedCard& card, const std::string& folder);
  ~SimulatedAdapter();
  SimulatedAdapter(const SimulatedAdapter&) = delete;
  SimulatedAdapter& operator=(const SimulatedAdapter&) = delete;

private:
  struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
  };
  using IoctlData = std::unique_ptr<UMockdevIoctlData, Unref>;
  struct Reply {
    long result;
    int error;
  };

  static IoctlData resolve(UMockdevIoctlData* data, std::size_t offset, std::size_t length);
  static gboolean onIoctl(UMockdevIoctlBase* base, UMockdevIoctlClient* client, gpointer self);
  Reply answer(UMockdevIoctlClient* client);
  static Reply bind(UMockdevIoctlClient* client, unsigned long address);
  static Reply functions(UMockdevIoctlData* arg);
  Reply transfer(UMockdevIoctlClient* client, UMockdevIoctlData* arg);

  SimulatedCard& m_card;
  // In this order: the testbed's thread must not be the last to hold the handler.
  std::unique_ptr<UMockdevIoctlBase, Unref> m_ioctls;
  std::unique_ptr<UMockdevTestbed, Unref> m_testbed;
};
