// The objects that the debug console can address, in the order of their construction.
//
// The registry owns none of them. All operations may be called from any thread. Its lock is held for
// bookkeeping only, never while one of the objects is called; so an object may take any lock in a call, and
// may hold any lock when it is constructed.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <list>
#include <mutex>
#include <thread>

namespace Zorvan {

class Cdebugable;

class DebugRegistry {
public:
  class Call;

  // The one registry. It is never destroyed, so an object may outlive main.
  static DebugRegistry& instance();

  DebugRegistry(const DebugRegistry&) = delete;
  DebugRegistry& operator=(const DebugRegistry&) = delete;

  // Enters `object`, for the calling thread alone until that thread calls showConstructed. False when there
  // is no memory for the entry; the object is then never called.
  bool add(Cdebugable* object) noexcept;

  // Shows the objects that the calling thread has entered to all threads. Takes no lock when there are none.
  void showConstructed();

  // Takes `object` out. Waits for another thread's call to it that is in progress.
  void remove(const Cdebugable* object);

private:
  struct Entry {
    Cdebugable* object;
    std::uint64_t serial;
    std::thread::id constructor; // thread that may still construct it, else no thread
    std::thread::id caller;      // thread whose call is in progress, else no thread
    bool leaving;                // its destructor waits for the call in progress
  };

  DebugRegistry() = default;
  ~DebugRegistry() = default;

  Cdebugable* acquireAfter(std::uint64_t* serial);
  void release(std::uint64_t serial);

  std::mutex m_mutex;
  std::condition_variable m_released;
  std::list<Entry> m_entries; // in the order of their serials
  std::uint64_t m_lastSerial = 0;
};

// The console's way to the objects, one after another. While a Call is at an object, the object cannot be
// destroyed by another thread, and no other Call gets at it. Belongs to the thread that made it.
class DebugRegistry::Call {
public:
  Call() = default;
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  ~Call() { leave(); }

  // Leaves the object that the call is at and goes to the next one, at first to the first. Returns
  // false when there is none left.
  bool next();

  Cdebugable& object() const { return *m_object; }

private:
  void leave();

  Cdebugable* m_object = nullptr;
  std::uint64_t m_serial = 0;
};

} // namespace Zorvan
