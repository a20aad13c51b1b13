#include "platform/host/console/debug_registry.h"

#include <algorithm>
#include <new>

namespace Zorvan {

namespace {

thread_local bool t_hasHidden = false; // the thread has entered objects and not shown them

} // namespace

DebugRegistry& DebugRegistry::instance() {
  alignas(DebugRegistry) static unsigned char storage[sizeof(DebugRegistry)];
  static auto* const registry = new (storage) DebugRegistry;
  return *registry;
}

bool DebugRegistry::add(Cdebugable* object) noexcept {
  const std::lock_guard<std::mutex> lock(m_mutex);
  try {
    m_entries.push_back({object, ++m_lastSerial, std::this_thread::get_id(), {}, false});
    t_hasHidden = true;
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

// A base constructor enters the object before the derived constructor has made it what it is. A virtual call
// by another thread would race with that, so other threads see the object only after a later call of the
// constructing thread.
void DebugRegistry::showConstructed() {
  if (!t_hasHidden) {
    return;
  }
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (Entry& entry : m_entries) {
    if (entry.constructor == std::this_thread::get_id()) {
      entry.constructor = {};
    }
  }
  t_hasHidden = false;
}

void DebugRegistry::remove(const Cdebugable* object) {
  std::unique_lock<std::mutex> lock(m_mutex);
  const auto entry = std::find_if(m_entries.begin(), m_entries.end(),
                                  [object](const Entry& e) { return e.object == object; });
  if (entry == m_entries.end()) {
    return; // there was no memory for it
  }
  entry->leaving = true;
  m_released.notify_all(); // waiters for the object can stop waiting
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
      const bool isShown = e.constructor == std::thread::id() || e.constructor == std::this_thread::get_id();
      return e.serial > *serial && isShown && !e.leaving;
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
