// How the service reports: software errors and gated trace lines, both through syslog.
//
// Macros around plain syslog calls, so that the compiler checks each format against its arguments. A
// message's arguments are evaluated after the first line of a pair has been written: take errno into a
// variable before.
#pragma once

#include "platform/trace_object.h"

#include <cstdint>
#include <cstring>
#include <syslog.h>

// A software error: two lines at LOG_ERR that no trace level suppresses. `path` and `line` name the check in
// the form that the readers of the log know; they are an interface of their own and are not the position in
// this file.
#define SOFTWARE_ERROR(path, line, ...)                                                                      \
  do {                                                                                                       \
    syslog(LOG_ERR, "SWERR ERROR DETECTED: %s %d ", path, line);                                             \
    syslog(LOG_ERR, __VA_ARGS__);                                                                            \
  } while (false)

// A trace line of syslog priority `priority`, written only when the trace level is at least that.
#define TRACE(priority, ...)                                                                                 \
  do {                                                                                                       \
    if (traceWrites(priority)) {                                                                             \
      syslog(priority, __VA_ARGS__);                                                                         \
    }                                                                                                        \
  } while (false)

// True when a line of this priority is to be written now. Of the trace object only the first field counts: a
// pointer to the current level, which may be null.
inline bool traceWrites(int priority) {
  if (g_traceObject == nullptr) {
    return false;
  }
  const std::int32_t* level = nullptr;
  std::memcpy(&level, static_cast<const void*>(g_traceObject), sizeof level);
  return level != nullptr && __atomic_load_n(level, __ATOMIC_RELAXED) >= priority;
}

// What a message prints of a pointer: its low 32 bits.
inline unsigned pointerBits(const void* pointer) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(pointer));
}
