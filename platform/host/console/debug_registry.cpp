#include "platform/host/console/debug_registry.h"

#include <algorithm>

#include "platform/host/guard_release.h"

namespace Zorvan {

namespace {

// Its address tells the threads apart.
thread_local char t_token;

} // namespace

DebugRegistry& DebugRegistry::instance() {
  static auto* const registry = new DebugRegistry;
  return *registry;
}

// A base constructor runs before the derived class is there, and whoever calls a virtual function meanwhile
// races with the constructors. A thread that constructs under a Guard is spared that: its objects are shown
// by publish(), under the lock that the console takes before it looks, so that all of their construction
// happens before the call.
void DebugRegistry::add(Cdebugable* object) {
  const bool hidden = threadHoldsGuard();
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_entries.push_back({object, ++m_lastSerial, hidden ? &t_token : nullptr, {}, false});
  }
  if (hidden) {
    atLastGuardRelease(&DebugRegistry::publishOwn);
  }
}

void DebugRegistry::publishOwn() {
  instance().publish(&t_token);
}

// An object whose constructor has thrown is not among the entries any more: its base's destructor removed it.
void DebugRegistry::publish(const void* thread) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (Entry& entry : m_entries) {
    if (entry.constructingThread == thread) {
      entry.constructingThread = nullptr;
    }
  }
}

void DebugRegistry::remove(const Cdebugable* object) {
  std::unique_lock<std::mutex> lock(m_mutex);
  const auto entry = std::find_if(m_entries.begin(), m_entries.end(),
                                  [object](const Entry& e) { return e.object == object; });
  entry->leaving = true;
  m_released.notify_all(); // whoever waits for the object need not any more
  m_released.wait(lock, [&] {
    // A handler may destroy its own object: to wait for itself would take for ever.
    return entry->caller == std::thread::id() || entry->caller == std::this_thread::get_id();
  });
  m_entries.erase(entry);
  m_released.notify_all();
}

// Goes by serial, not by position: entries may come and go while the console is at one of them.
Cdebugable* DebugRegistry::acquireAfter(std::uint64_t* serial) {
  std::unique_lock<std::mutex> lock(m_mutex);
  for (;;) {
    const auto entry = std::find_if(m_entries.begin(), m_entries.end(), [serial](const Entry& e) {
      return e.serial > *serial && e.constructingThread == nullptr && !e.leaving;
    });
    if (entry == m_entries.end()) {
      return nullptr;
    }
    if (entry->caller == std::thread::id()) {
      entry->caller = std::this_thread::get_id();
      *serial = entry->serial;
      return entry->object;
    }
    m_released.wait(lock); // another server's call; the entry may be gone afterwards
  }
}

void DebugRegistry::release(std::uint64_t serial) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (Entry& entry : m_entries) {
    if (entry.serial == serial) {
      entry.caller = std::thread::id();
    }
  }
  m_released.notify_all();
}

bool DebugRegistry::Call::next() {
  leave();
  m_object = instance().acquireAfter(&m_serial);
  return m_object != nullptr;
}

void DebugRegistry::Call::leave() {
  if (m_object != nullptr) {
    instance().release(m_serial);
  }
  m_object = nullptr;
}

} // namespace Zorvan
