// The few GDI names that reading a bitmap needs: <windows.h> on Windows, elsewhere an in-process
// stand-in with the same names and layouts.
#pragma once

#if defined(_WIN32)

#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#else

#include <cstdint>

#include "KELRA/KelBase.h"

#if defined(KelGdi_EXPORTS)
#define KELGDI_API KELRA_EXPORT
#else
#define KELGDI_API KELRA_IMPORT
#endif

// All three functions may be called from any thread. A handle is not given out again before all
// others have been, so that one used after its bitmap's end is recognised.
extern "C" {

// Opaque; a handle's value fits a signed 32-bit integer, and 0 is no handle.
typedef struct HBITMAP__* HBITMAP;

typedef struct tagBITMAP {
  std::int32_t bmType;
  std::int32_t bmWidth;
  std::int32_t bmHeight;
  std::int32_t bmWidthBytes;  // bytes per row, even
  std::uint16_t bmPlanes;
  std::uint16_t bmBitsPixel;
  void* bmBits;
} BITMAP;

// Makes a bitmap that keeps a copy of `bits` (rows padded to 16 bits, `height` of them; zeros when
// null). Returns 0 when a size is below 1, when `planes` is not 1, when `bitsPerPixel` is none of
// 1, 4, 8, 16, 24 and 32, when the bits would exceed 2^31 - 1 bytes, and when memory is short.
KELGDI_API HBITMAP CreateBitmap(int width, int height, unsigned planes, unsigned bitsPerPixel,
                                const void* bits);

// Fills the record of a bitmap and returns its 32 bytes; 0 for an unknown handle or too small a
// buffer. With a null buffer it only returns the size. `bmBits` is the address of the kept copy,
// which lives until DeleteObject.
KELGDI_API int GetObjectW(void* handle, int size, void* record);

// Frees a bitmap; 0 for an unknown handle, else 1.
KELGDI_API int DeleteObject(void* handle);

}  // extern "C"

static_assert(sizeof(BITMAP) == 32, "the layout of the GDI record");

#endif
