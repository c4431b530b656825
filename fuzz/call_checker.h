// Plays calls that a fuzzer makes up, and checks what every method promises:
//
//   - every instruction set gives the same statuses, results and exceptions;
//   - so does a call whose images are packed, apart from each other and from its output;
//   - a successful call's result is that of the plain model;
//   - a failed call leaves its output as the method says: untouched, a copy of the input, cleared;
//   - inputs, the pixels around all images, and what shares none with the output stay as they are;
//   - no exception passes but want of memory and OpenCV's refusals, where a method tells them.
//
// What does not hold is told, with the call, and ends the program.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "call.h"

namespace kelra_fuzz {

void CheckCalls(std::span<const Operation> operations, const std::uint8_t* data, std::size_t size);

}  // namespace kelra_fuzz
