// Code between KELRA_BEGIN_TARGET("avx2") and KELRA_END_TARGET is compiled for that instruction
// set; all else stays runnable everywhere. Headers are included before the region, so that no
// function that other translation units share is compiled for it: here stand those of the vector
// operations and the row kernels.
#pragma once

#include <immintrin.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "frame/kernels/row_kernels.h"

#define KELRA_PRAGMA(text) _Pragma(#text)

#if defined(__clang__)
#define KELRA_BEGIN_TARGET(features) \
  KELRA_PRAGMA(clang attribute push(__attribute__((target(features))), apply_to = function))
#define KELRA_END_TARGET _Pragma("clang attribute pop")
#elif defined(__GNUC__)
#define KELRA_BEGIN_TARGET(features) _Pragma("GCC push_options") KELRA_PRAGMA(GCC target(features))
#define KELRA_END_TARGET _Pragma("GCC pop_options")
#else
#define KELRA_BEGIN_TARGET(features)
#define KELRA_END_TARGET
#endif
