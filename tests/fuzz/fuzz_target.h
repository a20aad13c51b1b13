// What each fuzz target has: one function that takes an input of any bytes.
//
// What must hold is said with GoogleTest's EXPECT_...; a failure ends the run and makes the input a found
// case. Nothing may be left of one input when the next one comes, or a found case could not be repeated.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fuzzer/FuzzedDataProvider.h>
#include <gtest/gtest.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);
