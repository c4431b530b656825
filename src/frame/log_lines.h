// What every call writes to the log: its name and the fixed line numbers of its start and exit.
//
// Tools that read the records identify call sites by these numbers, so they do not follow the
// source.
#pragma once

namespace KELRA {

struct LogLines {
  const char* function;
  int start;
  int exit;
};

namespace log_lines {

// The line of an exit that is never logged.
inline constexpr int kNoExit = 0;

inline constexpr LogLines kConstantArithmetic{"GreyAndOrOperation2_greyValue", 5424, 5513};
inline constexpr LogLines kAddConst{"AddConst", 5523, 5705};
inline constexpr LogLines kSubtractConst{"SubtractConst", 5747, 5873};
inline constexpr LogLines kMultiplyConst{"MultiplyConst", 5916, 6032};
inline constexpr LogLines kDivideConst{"DivideConst", 6080, 6208};

inline constexpr LogLines kPlacedArithmetic{"GreyAndOrOperation2", 4789, 5386};
inline constexpr LogLines kAdd{"Add", 5398, 5416};
inline constexpr LogLines kSubtract{"Subtract", 5717, 5736};
inline constexpr LogLines kMultiply{"Multiply", 5886, 5905};
inline constexpr LogLines kDivide{"Divide", 6051, 6069};
inline constexpr LogLines kBitAnd{"BitAnd", 6368, kNoExit};
inline constexpr LogLines kBitOr{"BitOr", 6493, kNoExit};
inline constexpr LogLines kBitXor{"BitXor", 6618, kNoExit};
inline constexpr LogLines kComparison{"GreyAndOrOperation2_Compare", 4709, 4776};
inline constexpr LogLines kCompare{"Compare", 7684, kNoExit};
inline constexpr LogLines kCompareConst{"CompareConst", 7949, 8044};

inline constexpr LogLines kPaste{"Paste", 9729, kNoExit};
inline constexpr LogLines kPasteOper{"PasteOper", 9370, 9719};
inline constexpr LogLines kGridPaste{"Paste2", 9800, 9915};
inline constexpr LogLines kOverlappingGridPaste{"Paste3", 9925, 10040};

inline constexpr LogLines kTranspose{"Transpose", 10050, 10069};
inline constexpr LogLines kAffine{"Affine", 10079, 10118};
inline constexpr LogLines kPerspective{"Perspective", 10128, 10168};
inline constexpr LogLines kAddBorder{"AddBorder", 10178, 10244};
inline constexpr LogLines kWarp{"Warp", 10254, 10311};
inline constexpr LogLines kPolarInverse{"cvNewPolarInvImage", 10321, 10382};
inline constexpr LogLines kUnwarp{"Unwarp", 10392, 10450};

inline constexpr LogLines kSqrt{"Sqrt", 6248, 6323};
inline constexpr LogLines kBitAndConst{"BitAndConst", 6404, 6476};
inline constexpr LogLines kBitOrConst{"BitOrConst", 6529, 6601};
inline constexpr LogLines kBitXorConst{"BitXorConst", 6656, 6734};
inline constexpr LogLines kBitNot{"BitNot", 6760, 6835};

inline constexpr LogLines kCreateConst{"CreateConst", 6848, 6952};
inline constexpr LogLines kCopy{"Copy", 6964, 6974};
inline constexpr LogLines kImageFill{"ImageFill", 6986, 7102};
inline constexpr LogLines kRegionFill{"ImageFill2", 7114, 7132};

inline constexpr LogLines kPixelMax{"PixelMax", 8056, 8134};
inline constexpr LogLines kPixelMin{"PixelMin", 8146, 8223};
inline constexpr LogLines kPixelAverage{"PixelAverage", 8233, 8513};

inline constexpr LogLines kPixelMaxConstWork{"PixelMaxConstfun", 8536, 8613};
inline constexpr LogLines kPixelMaxConst{"PixelMaxConst", 8622, 8724};
inline constexpr LogLines kPixelMinConstWork{"PixelMinConstfun", 8734, 8812};
// Logged under the name of its pixel work; readers of the log know it so.
inline constexpr LogLines kPixelMinConst{"PixelMinConstfun", 8821, 8948};
inline constexpr LogLines kPixelAverageConstWork{"PixelAverageConstfun", 8958, 9040};
inline constexpr LogLines kPixelAverageConst{"PixelAverageConst", 9050, 9156};
inline constexpr LogLines kDifference{"Difference", 9167, 9198};
inline constexpr LogLines kDifferenceConstWork{"DifferenceConstfun", 9208, 9246};
inline constexpr LogLines kDifferenceConst{"DifferenceConst", 9255, 9359};
inline constexpr LogLines kGetPixelValue{"GetPixelValue", 7106, 7168};
inline constexpr LogLines kSetPixelValue{"SetPixelValue", 7178, 7240};
inline constexpr LogLines kSetRegionValue{"SetRegionValue", 7250, 7336};

inline constexpr LogLines kImageConvert{"ImageConvert", 7346, 7392};
inline constexpr LogLines kImageConvertBitmap{"ImageConvertBITMAPfun", 7402, 7478};
inline constexpr LogLines kImageDepthConvert{"ImageDepthConvert", 7488, 7504};
inline constexpr LogLines kImageRowSeparate{"ImageRowSeparate", 7514, 7562};

}  // namespace log_lines
}  // namespace KELRA
