// The stacks of the process's threads.
#pragma once

#include <cstddef>

// Bytes of the stack of every thread but the main thread: of those with default attributes and of those of
// the C++ library. They include the thread's own data, and lie above a guard page. The C library for PowerPC
// accepts no less; benchmarks/measure memory reports how much the deepest thread uses.
#ifdef __SANITIZE_THREAD__
constexpr std::size_t THREAD_STACK_SIZE =
    std::size_t{2048} * 1024; // ThreadSanitizer's data take more than 128 KiB
#else
constexpr std::size_t THREAD_STACK_SIZE = std::size_t{128} * 1024;
#endif
