// What every library of the family shares: the status type and the symbol visibility macros.
// KELRA_LOCAL is for the members of an exported class that only its own library calls.
#pragma once

#include <cstdint>

#if defined(_WIN32)
#define KELRA_EXPORT __declspec(dllexport)
#define KELRA_IMPORT __declspec(dllimport)
#define KELRA_LOCAL
#else
#define KELRA_EXPORT __attribute__((visibility("default")))
#define KELRA_IMPORT __attribute__((visibility("default")))
#define KELRA_LOCAL __attribute__((visibility("hidden")))
#endif

namespace KELRA {

// The interface's signed 32-bit integer; every status has this type, 0 means success.
#if defined(_WIN32)
using KelLong = long;
#else
using KelLong = std::int32_t;
#endif

}  // namespace KELRA
