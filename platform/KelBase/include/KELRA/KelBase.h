// What every library of the family shares: the status type and the symbol visibility macros.
#pragma once

#include <cstdint>

#if defined(_WIN32)
#define KELRA_EXPORT __declspec(dllexport)
#define KELRA_IMPORT __declspec(dllimport)
#else
#define KELRA_EXPORT __attribute__((visibility("default")))
#define KELRA_IMPORT __attribute__((visibility("default")))
#endif

namespace KELRA {

// The interface's signed 32-bit integer; every status has this type, 0 means success.
#if defined(_WIN32)
using KelLong = long;
#else
using KelLong = std::int32_t;
#endif

}  // namespace KELRA
