// Image operations for machine vision.
//
// Rules that all methods share; a method's own comment gives what is particular to it.
//
// Images. 8-bit or 16-bit unsigned samples in one or three interleaved channels unless a method
// says otherwise; rows of any stride; channels are never reordered. KelImageType has the values of
// OpenCV's depth codes. `src`, `image1`, ... are read only unless a method says otherwise.
//
// Results. The result is assigned to the output image's matrix. An output that already has the
// result's size and type may be written in place, in its own memory, and so change in all images
// that share it; otherwise, and where it shares pixels that are still to be read, it gets a new
// matrix. The output may be an input or share its pixels; the result is the same as with a separate
// output.
//
// Ownership. Images, arrays and regions belong to the caller, and no call keeps a reference to its
// arguments. Images share pixels by reference counting: with the matrix of efficiency mode (below),
// and, after ImageConvert, with a buffer that the caller must keep. ImageConvertBITMAP alone takes
// something over: the bitmap.
//
// Coordinates are in pixels: x or column to the right, y or row down, both from 0, a pixel's centre
// at whole numbers. Angles are in degrees, counterclockwise as seen on a screen.
//
// Regions. A method that takes a region works on the pixels inside it; all others keep the input's
// values. KEL_ROI_WHOLE_IMAGE works on the image itself. A run-length region works on whole rows
// and brings the input back outside a mask of the region. Other shapes cut their bounding box out,
// with 0 outside the shape, work on this part and put it back. So cutting out precedes the checks
// that belong to the work, and making the mask or putting the part back follows them; "the region
// library's code" is what any of these three fails with (KelROIDataConvert.h).
//
// Numbers. "saturate" ends each formula: the value is clamped to the sample range before it becomes
// an integer, below it 0, above it 255 or 65535, NaN 0, +infinity the largest value and -infinity
// 0. Arithmetic is in single precision, each operation rounded on its own. Where a method says
// "rounded in blocks", a row's pixels are rounded to the nearest integer, ties to even, in whole
// blocks of 16 pixels (8-bit) or 8 pixels (16-bit) from the left of the image, or of the part that
// a region cuts out; those that remain at the row's end are truncated toward zero. "Rounded half
// up" adds 0.5 and truncates, in every pixel. The bytes are the same on every processor and with
// any number of threads. Where pixels are interpolated by OpenCV, its function is named; its
// bilinear weights are multiples of 1/32 pixel (cv::INTER_BITS, opencv2/imgproc.hpp).
//
// Statuses. 0 is success; otherwise the first failing check's code (KelStatus.h), or the code of a
// sibling library passed through. Unless a method says otherwise
//   ERR_IMAGE_EMPTY    an image without pixels, or a matrix of more than two dimensions,
//   ERR_BIT_DEPTH      samples neither 8- nor 16-bit unsigned,
//   ERR_CHANNEL_COUNT  neither one nor three channels,
//   ERR_ROI_TYPE       a kind of region without an area,
// and a `value` must be a sample value of the image: 0 to 255, or 0 to 65535. A failed check leaves
// the output untouched; what a later failure leaves, each method says. A null output pointer is
// ERR_IMAGE_EMPTY, too, reported before any pixel work. The library throws nothing of its own;
// where memory runs out, or OpenCV refuses a call, their exceptions pass unless a method says
// otherwise.
//
// Efficiency mode (KELRA_EFFICIENCY not 0). Methods that say so write into a matrix that the object
// keeps: successive results of equal size and type share pixels, so a later call overwrites an
// earlier result unless the caller has copied it. A call that fails after this matrix was bound to
// the output leaves the output cleared where it would otherwise stay as it was.
//
// Threads. Methods of different objects may run at the same time. So may methods of one object,
// except in efficiency mode. A method shares the rows of large images out to oneTBB's threads, of
// the arena that it is called in; tbb::global_control limits them.
#pragma once

#include <memory>

#include "KELRA/KelBase.h"
#include "KELRA/KelData.h"
#include "KELRA/KelGdi.h"
#include "KELRA/KelStatus.h"

#if defined(KelImageOperation_EXPORTS)
#define KELIMAGEOPERATION_API KELRA_EXPORT
#else
#define KELIMAGEOPERATION_API KELRA_IMPORT
#endif

namespace KELRA {

class KELIMAGEOPERATION_API KelImageOperation {
 public:
  KelImageOperation();
  ~KelImageOperation();
  // Copies share the matrix of efficiency mode; it lives as long as the last of them.
  KelImageOperation(const KelImageOperation& other);
  KelImageOperation& operator=(const KelImageOperation& other);

  // Image and constant. `scale` and `offset` may be any float.

  // dst = saturate((src + value) * scale + offset), each sample, rounded in blocks.
  //
  // Statuses in order: ERR_IMAGE_EMPTY, ERR_BIT_DEPTH, ERR_PARAM_1 (value), ERR_ROI_TYPE; then
  // ERR_CHANNEL_COUNT or the region library's code. These leave `dst` as it was; but without a mask
  // it holds the result for the whole image, and when the part cannot be put back, what the region
  // library made. Uses efficiency mode except on the whole image.
  KelLong AddConst(KelImage& src, KelROI& roi, KelImage* dst, int value, float scale, float offset);

  // dst = saturate((src - value) * scale + offset), each sample, rounded in blocks.
  //
  // Statuses and efficiency mode as for AddConst. When the work or the mask fails under a
  // run-length region, or the region cannot be cut out, `dst` becomes a copy of `src`; when the
  // work on the part fails or the part cannot be put back, it stays as it was.
  KelLong SubtractConst(KelImage& src, KelROI& roi, KelImage* dst, int value, float scale,
                        float offset);

  // dst = saturate(src * value * scale + offset), each sample, rounded in blocks; src * value is
  // rounded to single precision first.
  //
  // Statuses in order: ERR_IMAGE_EMPTY, ERR_ROI_TYPE, ERR_BIT_DEPTH, ERR_PARAM_1; then
  // ERR_CHANNEL_COUNT or the region library's code, with `dst` a copy of `src` except on the whole
  // image, where it stays as it was. Uses efficiency mode.
  KelLong MultiplyConst(KelImage& src, KelROI& roi, KelImage* dst, int value, float scale,
                        float offset);

  // dst = saturate(src / value * scale + offset), each sample, rounded half up.
  //
  // `value`: not 0. Statuses in order: ERR_IMAGE_EMPTY, ERR_BIT_DEPTH, ERR_PARAM_1, ERR_ROI_TYPE;
  // then as for MultiplyConst. Uses efficiency mode.
  KelLong DivideConst(KelImage& src, KelROI& roi, KelImage* dst, int value, float scale,
                      float offset);

  // Roots and bits. Any number of channels.

  // dst = the square root of src, each sample, rounded to the nearest integer: 0 to 16 for 8-bit, 0
  // to 256 for 16-bit images.
  //
  // Statuses in order: ERR_BIT_DEPTH, ERR_ROI_TYPE; then ERR_IMAGE_EMPTY or the region library's
  // code, with `dst` a copy of `src` except on the whole image, where it stays as it was.
  KelLong Sqrt(KelImage& src, KelROI& roi, KelImage* dst);

  // dst = src AND value, bit by bit, each sample of every channel.
  //
  // Statuses in order: ERR_BIT_DEPTH, ERR_ROI_TYPE; then ERR_IMAGE_EMPTY, ERR_PARAM_1 (value) or
  // the region library's code, with `dst` as for Sqrt.
  KelLong BitAndConst(KelImage& src, KelROI& roi, KelImage* dst, int value);

  // dst = src OR value. All else as for BitAndConst.
  KelLong BitOrConst(KelImage& src, KelROI& roi, KelImage* dst, int value);

  // dst = src XOR value. All else as for BitAndConst.
  KelLong BitXorConst(KelImage& src, KelROI& roi, KelImage* dst, int value);

  // dst = NOT src: 255 or 65535 minus each sample. Statuses as for Sqrt.
  KelLong BitNot(KelImage& src, KelROI& roi, KelImage* dst);

  // Two images. The arithmetic and bitwise methods lay the second image onto the first: its top
  // left pixel comes to lie at `position` on the first image, and it is turned by `angle` about
  // that pixel. The formula holds where it lies; elsewhere the result is the first image, whose
  // size and depth it has. What sticks out of the first image is cut off.
  //
  // `position`: inside the first image. `angle`: 0 to 360. When one image has one channel and the
  // other three, the one-channel image itself is changed to three by cv::cvtColor, in place, also
  // when a later check fails.
  //
  // Upright, that is at angle 0, the position's fraction is dropped, and blocks count from where
  // the second image begins.
  //
  // At any other angle, 360 included, the second image is turned into its bounding box, as
  // cv::warpAffine does it: bilinear at positions in whole 32nds of a pixel, by cosine and sine
  // narrowed to single precision; cv::Exception if it is wider or higher than 32766 pixels. The box
  // is laid so that the turned top left pixel is at `position`, fractions dropped; where nothing of
  // it is left on the first image, the result is the first image.

  // result = saturate((image1 + image2) * scale + offset), each sample, rounded in blocks.
  //
  // `scale` and `offset` may be any float. Turned, the sum saturates; unless `scale` is 1 and
  // `offset` 0, it is then scaled and offset where the turned image has a share in the pixel, in
  // double precision (rounded to single for three channels), and truncated.
  //
  // Statuses in order: ERR_BIT_DEPTH (first image), ERR_DEPTH_MISMATCH, ERR_IMAGE_EMPTY (either),
  // ERR_CHANNEL_COUNT (either), ERR_PARAM_1 (position), ERR_PARAM_2 (angle). Uses efficiency mode
  // when `position` is exactly (0, 0), before all checks.
  KelLong Add(KelImage& image1, KelImage& image2, KelImage* result, KelPoint& position,
              double angle, float scale, float offset);

  // result = saturate((image1 - image2) * scale + offset), each sample, rounded in blocks.
  //
  // All else as for Add; turned, the difference saturates before it is scaled and offset.
  KelLong Subtract(KelImage& image1, KelImage& image2, KelImage* result, KelPoint& position,
                   double angle, float scale, float offset);

  // result = saturate(image1 * image2 * scale + offset), each sample, rounded in blocks; image1 *
  // image2 is rounded to single precision first.
  //
  // All else as for Add, but when turned: the result is saturate(image1 * image2 * scale), by
  // cv::multiply unless `scale` is 1, which gives 0 beyond a 32-bit integer. At 8 bits `offset` is
  // then added where the turned image has a share in the pixel, and the sum truncated. At 16 bits
  // `offset` has no effect, and around the turned image, in its bounding box, the first image is
  // scaled, too.
  KelLong Multiply(KelImage& image1, KelImage& image2, KelImage* result, KelPoint& position,
                   double angle, float scale, float offset);

  // result = saturate(image1 / image2 * scale + offset), each sample, rounded half up; 0 where the
  // second image is 0, whatever the offset.
  //
  // All else as for Add, but when turned: the result is saturate(image1 * scale / image2) by
  // cv::divide, rounded to nearest and 0 where the second image is 0. Where the turned image has a
  // share in the pixel `offset` is then added, and the sum truncated; at 16 bits the result of that
  // is scaled and offset once more.
  KelLong Divide(KelImage& image1, KelImage& image2, KelImage* result, KelPoint& position,
                 double angle, float scale, float offset);

  // result = image1 AND image2, bit by bit, each sample. Around a turned image, in its box, the
  // first image.
  //
  // Statuses in order: ERR_BIT_DEPTH (first image), ERR_DEPTH_MISMATCH, ERR_IMAGE_EMPTY (either),
  // ERR_CHANNEL_COUNT (either; a one-channel image beside any other has been changed to three
  // channels by then), ERR_PARAM_1 (position), ERR_PARAM_2 (angle). The library catches what OpenCV
  // throws: ERR_WARP_EXCEPTION when the second image cannot be turned, being wider or higher than
  // 32766 pixels for example, ERR_BITWISE_EXCEPTION when the images cannot be combined.
  KelLong BitAnd(KelImage& image1, KelImage& image2, KelImage* result, KelPoint& position,
                 double angle);

  // result = image1 OR image2. All else as for BitAnd.
  KelLong BitOr(KelImage& image1, KelImage& image2, KelImage* result, KelPoint& position,
                double angle);

  // result = image1 XOR image2. All else as for BitAnd.
  KelLong BitXor(KelImage& image1, KelImage& image2, KelImage* result, KelPoint& position,
                 double angle);

  // A copy of the first image, with a mark in every pixel where the relation holds between the
  // images. The first column is never tested and keeps the first image's values.
  //
  // `mode`: 0 equal, 1 greater, 2 greater or equal, 3 less, 4 less or equal, 5 not equal, the first
  // image against the second, mark 0; 6 to 11 the same with the mark 255, at 16 bits too. One
  // channel. Images of different sizes are compared where both have pixels, from the top left on;
  // the rest is the first image. Statuses in order: ERR_IMAGE_EMPTY (first, second image),
  // ERR_PARAM_1 (mode), ERR_NOT_SINGLE_CHANNEL (either), ERR_BIT_DEPTH (first image),
  // ERR_DEPTH_MISMATCH.
  KelLong Compare(KelImage& image1, KelImage& image2, KelImage* result, int mode);

  // A copy of the image, with a mark in every pixel of the region where the relation holds between
  // the image and `value`. The first column of the image, or of the part that the region cuts out,
  // is never tested and keeps its values.
  //
  // `mode` and channels as for Compare. Statuses in order: ERR_IMAGE_EMPTY, ERR_NOT_SINGLE_CHANNEL,
  // ERR_PARAM_1 (value, of an 8- or 16-bit image), ERR_PARAM_2 (mode), ERR_ROI_TYPE; then
  // ERR_BIT_DEPTH or the region library's code, with `result` a copy of `image` under a run-length
  // region and otherwise as it was, unless putting a part back failed, which leaves what the region
  // library made.
  KelLong CompareConst(KelImage& image, KelROI& roi, KelImage* result, int value, int mode);

  // Pasting. Later images cover earlier ones.

  // Pastes `image2` onto the canvas `image1` with its top left corner at `position` (truncated
  // toward zero), turned about it by `angle`. The canvas grows by zeros on every side where the
  // pasted image leaves it; a negative coordinate grows the canvas to the left or above first, and
  // the corner is then at its edge.
  //
  // A turned image is sampled bilinearly in double precision, by the library itself with the
  // weights as they are and pi as 3.1415926535, and truncated to its sample type; pixels that it
  // does not reach keep the canvas. One or three channels when turned, any number at angle 0.
  //
  // Statuses in order: ERR_IMAGE_EMPTY (either), ERR_BIT_DEPTH (the canvas), ERR_DEPTH_MISMATCH,
  // ERR_CHANNEL_MISMATCH; ERR_IMAGE_EMPTY (the canvas could not be grown to the left or above);
  // ERR_PARAM_1 (position beyond the canvas's right or bottom edge, or anything that a 32-bit
  // integer does not hold); ERR_PARAM_2 (angle outside 0 to 360); ERR_CHANNEL_COUNT (turned);
  // ERR_PARAM_1 (a result larger than a matrix can be).
  KelLong Paste(KelImage& image1, KelImage& image2, KelImage* result, KelPoint& position,
                double angle);

  // Lays equally sized images out in a grid, row by row, each moved by its own offset: image i has
  // its corner at (column * width + offsets[i].x, row * height + offsets[i].y), truncated toward
  // zero. What leaves the grid is cut off, and what nothing covers is 0.
  //
  // An offset that is no number or takes an image beyond every canvas leaves that image out.
  // `values` is not used. Statuses in order: ERR_GRID_COUNT (a count below 1, or rows times columns
  // other than the number of images); ERR_POINT_COUNT (other than one offset an image);
  // ERR_IMAGE_EMPTY, ERR_CHANNEL_COUNT, ERR_BIT_DEPTH (the first image); then image by image,
  // compared with the first, ERR_WIDTH_MISMATCH, ERR_HEIGHT_MISMATCH, ERR_CHANNEL_MISMATCH,
  // ERR_DEPTH_MISMATCH; ERR_PASTE_WORK (no image lands on the canvas, or it is larger than a matrix
  // can be).
  KelLong Paste(KelImageArray& images, KelImage* result, int gridRows, int gridColumns,
                KelPointArray& offsets, KelVarArray& values);

  // Tiles equally sized images in a grid, row by row, neighbours overlapping by `overlapX` columns
  // and `overlapY` rows.
  //
  // Statuses in order: ERR_GRID_COUNT, then those of the first image, as above; ERR_PARAM_4
  // (overlapX negative or above the width), ERR_PARAM_5 (overlapY negative or above the height);
  // those of differing images, as above; ERR_PASTE_EXCEPTION (the canvas is larger than a matrix
  // can be, memory runs out, or OpenCV refuses).
  KelLong Paste(KelImageArray& images, KelImage* result, int gridRows, int gridColumns,
                int overlapX, int overlapY);

  // Statistics.

  // dst = the largest sample of all images, each pixel and channel.
  //
  // Statuses in order: ERR_COUNT_LIMIT (no image); of the first image ERR_IMAGE_EMPTY,
  // ERR_BIT_DEPTH, ERR_CHANNEL_COUNT; then image by image, compared with the first,
  // ERR_DEPTH_MISMATCH, ERR_WIDTH_MISMATCH, ERR_HEIGHT_MISMATCH, ERR_CHANNEL_MISMATCH,
  // ERR_IMAGE_EMPTY.
  //
  // Efficiency mode: the result is the object's matrix, whose previous pixels, if they are of the
  // images' size and type and not those of an input, take part in the maximum. If they are of the
  // same size but another type, the matrix is converted and the call ends with an OpenCV exception
  // (StsUnmatchedSizes); the next call succeeds. A failing call leaves the matrix alone.
  KelLong PixelMax(KelImageArray& images, KelImage* dst);

  // dst = the smallest sample of all images, each pixel and channel.
  //
  // Statuses as for PixelMax. Efficiency mode: the result is the object's matrix; what it held
  // before has no influence.
  KelLong PixelMin(KelImageArray& images, KelImage* dst);

  // dst = the mean of all images, each pixel and channel, rounded to nearest, ties to even.
  //
  // `mode`: 0 takes all n values, 1 leaves out one smallest, 2 one largest, 3 one of each. The sum
  // is formed in single precision in the images' order, what is left out is subtracted from it (the
  // largest first), and the rest is multiplied by 1 / (count of the remaining values).
  //
  // Statuses in order: ERR_COUNT_LIMIT (no image), ERR_IMAGE_EMPTY of the first image, ERR_PARAM_2
  // (mode), ERR_BIT_DEPTH and ERR_CHANNEL_COUNT of the first image; then image by image, compared
  // with the first, ERR_AVG_SIZE_MISMATCH, ERR_IMAGE_EMPTY, ERR_AVG_DEPTH_MISMATCH,
  // ERR_AVG_CHANNEL_MISMATCH; then ERR_COUNT_LIMIT if there are fewer than 2 (modes 1 and 2) or 3
  // images (mode 3).
  //
  // Efficiency mode: the sum is formed in the object's matrix, converted to single precision. If it
  // is of the images' size and channels, the sum starts from its previous values; it ends as the
  // means before they are rounded. The output never shares it. A failing call leaves it alone.
  KelLong PixelAverage(KelImageArray& images, KelImage* dst, int mode);

  // dst = max(src, value), each sample.
  //
  // Statuses in order: ERR_IMAGE_EMPTY, ERR_BIT_DEPTH, ERR_ROI_TYPE; then ERR_CHANNEL_COUNT,
  // ERR_PARAM_1 (value) or the region library's code. Under a run-length region these leave a copy
  // of `src` in `dst`, otherwise they leave it as it was. When a part cannot be put back, `dst` is
  // what the region library made of it, and the status is 0.
  //
  // On the whole image and under a run-length region, `value` is written into an output of the
  // input's size before the comparison: an output that shares pixels with the input compares
  // `value` with itself there, so that with the input as output all samples become `value`. An
  // output of the input's size but another type ends the call with an OpenCV exception, unless
  // OpenCV takes an image of so few pixels for a constant.
  //
  // Uses efficiency mode; the output is bound before the region's kind is checked, so that
  // ERR_ROI_TYPE leaves it cleared.
  KelLong PixelMaxConst(KelImage& src, KelROI& roi, KelImage* dst, int value);

  // dst = min(src, value), each sample. Parameters, statuses and outputs in place as for
  // PixelMaxConst. Uses efficiency mode except on the whole image.
  KelLong PixelMinConst(KelImage& src, KelROI& roi, KelImage* dst, int value);

  // dst = (src + value) / 2, each sample, rounded to nearest, ties to even. Parameters and statuses
  // as for PixelMaxConst.
  KelLong PixelAverageConst(KelImage& src, KelROI& roi, KelImage* dst, int value);

  // dst = |first - second|, each sample.
  //
  // Statuses in order: ERR_IMAGE_EMPTY of the first and of the second image, ERR_BIT_DEPTH of the
  // first, ERR_DEPTH_MISMATCH, ERR_WIDTH_MISMATCH, ERR_HEIGHT_MISMATCH, ERR_CHANNEL_COUNT of the
  // first, ERR_CHANNEL_MISMATCH.
  KelLong Difference(KelImage& first, KelImage& second, KelImage* dst);

  // dst = |src - value|, each sample. Parameters and statuses as for PixelMaxConst.
  KelLong DifferenceConst(KelImage& src, KelROI& roi, KelImage* dst, int value);

  // Geometry. Any number of channels, except in Transpose.

  // dst = src with rows and columns exchanged: dst(y, x) = src(x, y). One or three channels.
  //
  // Statuses in order: ERR_IMAGE_EMPTY, ERR_BIT_DEPTH, ERR_CHANNEL_COUNT.
  KelLong Transpose(KelImage& src, KelImage* dst);

  // dst = src warped by the affine map that takes each of the three points `from` to the point of
  // the same index in `to` (cv::getAffineTransform): an image of src's size, sampled bilinearly as
  // by cv::warpAffine, 0 where nothing of src lands.
  //
  // Points are narrowed to single precision; three on a line determine no map, and the result is
  // what OpenCV makes of it. Statuses in order: ERR_IMAGE_EMPTY, ERR_BIT_DEPTH, ERR_POINT_COUNT
  // (other than 3 points in either array).
  KelLong Affine(KelImage& src, KelImage* dst, KelPointArray& from, KelPointArray& to);

  // As Affine, with the perspective map given by four points each (cv::getPerspectiveTransform,
  // cv::warpPerspective). ERR_POINT_COUNT: other than 4 points in either array.
  KelLong Perspective(KelImage& src, KelImage* dst, KelPointArray& from, KelPointArray& to);

  // dst = src inside a border of `color`: so many columns to its left and right, rows above and
  // below.
  //
  // One channel is painted with `color.red`; otherwise the channels are blue, green, red and alpha
  // in this order. Statuses in order: ERR_IMAGE_EMPTY, ERR_BIT_DEPTH; ERR_PARAM_1 to ERR_PARAM_4
  // (left, top, right, bottom negative); ERR_PARAM_5 (a component outside the sample range: red,
  // and with more than one channel green, blue and alpha, even where there is no fourth channel);
  // ERR_BORDER_EXCEPTION (the size does not fit an int, memory runs out, or OpenCV refuses).
  KelLong AddBorder(KelImage& src, KelImage* dst, int left, int top, int right, int bottom,
                    KelColorRGBA color);

  // Unrolls the image around a centre into a strip of the same size: row i is the angle 2 pi i /
  // rows, from the direction of increasing column towards increasing row, and column j the radius
  // of j pixels: dst(i, j) = src(centerY + j sin, centerX + j cos), sampled bilinearly by
  // cv::remap, 0 outside src.
  //
  // OpenCV refuses images of 32767 columns or rows and more. Statuses in order: ERR_IMAGE_EMPTY,
  // ERR_BIT_DEPTH, ERR_PARAM_1 (centerX outside 0 to columns - 1), ERR_PARAM_2 (centerY outside 0
  // to rows - 1).
  KelLong Warp(KelImage& src, KelImage* dst, float centerX, float centerY);

  // Rolls a strip up: src's columns are the radii from `innerRadius` to `outerRadius` around the
  // centre, its rows the angles 360 - endAngle to 360 - startAngle, turning from increasing column
  // towards increasing row (cv::cartToPolar). dst has src's size, sampled bilinearly by cv::remap;
  // what lies outside the ring or the sector is 0.
  //
  // Not the exact inverse of Warp, whose strips end at radius columns - 1 and begin at the angle 0.
  // OpenCV refuses images of 32767 columns or rows and more. Statuses in order: ERR_IMAGE_EMPTY,
  // ERR_BIT_DEPTH, ERR_PARAM_1 and ERR_PARAM_2 (centre outside the image), ERR_PARAM_3 (startAngle
  // outside 0 to 360), ERR_PARAM_4 (endAngle not above 0, or above 360), ERR_PARAM_3 (start not
  // before end), ERR_PARAM_5 (inner radius negative), ERR_PARAM_6 (outer radius not positive),
  // ERR_PARAM_5 (inner not below outer).
  KelLong Unwarp(KelImage& src, KelImage* dst, float centerX, float centerY, float startAngle,
                 float endAngle, int innerRadius, int outerRadius);

  // Creation and holes.

  // dst = a new image of one color. Other images that share the pixels of `dst` keep them.
  //
  // `height` and `width`: at least 1. `type`: any integer type. `channels`: 1 (red), 3 (blue,
  // green, red) or 4 (blue, green, red, alpha). `color`: each component within the type's range,
  // also those that the image does not have, except that one channel checks red alone, 32 bits
  // refuse the smallest integer and do not check blue; types beyond KEL_64F check nothing and stand
  // for their low three bits. Statuses in order: ERR_PARAM_1 (height), ERR_PARAM_2 (width),
  // ERR_PARAM_3 (a floating-point type), ERR_PARAM_4 (channels), ERR_PARAM_5 (color);
  // ERR_CREATE_EXCEPTION for whatever the making throws, with `dst` as it was.
  KelLong CreateConst(KelImage* dst, int height, int width, KelImageType type, int channels,
                      KelColorRGBA color);

  // dst = src, in other pixels than src's unless `dst` had them already. Any depth and number of
  // channels. Status: ERR_IMAGE_EMPTY.
  KelLong Copy(KelImage& src, KelImage* dst);

  // Fills the holes of the objects of a binary image. Objects are the pixels that are not 0, joined
  // over 8 neighbours; holes are background joined over 4 neighbours that does not reach the
  // image's border. Every object becomes 255, and so do the holes and all that lies in them.
  //
  // With `holesOnly` the result is 255 on the pixels of the holes and 0 elsewhere; an object inside
  // a hole is not part of it. 8-bit, one channel. Under a region what lies outside is background.
  //
  // Statuses in order: ERR_IMAGE_EMPTY, ERR_BIT_DEPTH (not 8-bit unsigned), ERR_NOT_SINGLE_CHANNEL;
  // the region library's code, also for kinds without an area; the contour library's code
  // (KelRLC.h); ERR_FILL_NO_CONTOUR (no object), ERR_COUNT_LIMIT (more than 10000 outlines of
  // objects and holes); the region library's code when the part cannot be put back. All leave `dst`
  // as it was.
  KelLong ImageFill(KelImage& src, KelROI& roi, bool holesOnly, KelImage* dst);

  // The same for a run-length region, on an image of its grid. `dst` receives the region that the
  // result covers; after a failure, what the conversion library (KelDataConvert.h) makes of an
  // empty image. Statuses as above; a region without a grid is ERR_IMAGE_EMPTY.
  KelLong ImageFill(KelRegion& src, KelROI& roi, bool holesOnly, KelRegion* dst);

  // Pixels, regions and foreign buffers.

  // *value = the sample of `channel` at (row, column), widened exactly.
  //
  // Channels count from 1 in the order of storage. In images of neither 1, 3 nor 4 channels nothing
  // is read and *value stays as it is; the status is 0. 16-bit images of 4 channels are addressed
  // as if they had 3: the sample read is number 3 * column + channel - 1 of the row. Statuses in
  // order: ERR_IMAGE_EMPTY, ERR_PARAM_1 (row), ERR_PARAM_2 (column), ERR_PARAM_3 (channel),
  // ERR_PARAM_4 (`value` is null), ERR_BIT_DEPTH. Throws nothing: ERR_GET_PIXEL_EXCEPTION.
  KelLong GetPixelValue(KelImage& src, int row, int column, int channel, double* value);

  // dst = src with the sample of `channel` at (row, column) set to `value`, truncated toward zero.
  //
  // Channels as for GetPixelValue, 16-bit images of 4 channels as all others; in images of neither
  // 1, 3 nor 4 channels nothing is set and the status is 0. Statuses in order: ERR_IMAGE_EMPTY,
  // ERR_BIT_DEPTH, ERR_PARAM_1 (row), ERR_PARAM_2 (column), ERR_PARAM_3 (channel), ERR_PARAM_4
  // (value). Throws nothing: ERR_SET_PIXEL_EXCEPTION, memory running out included.
  KelLong SetPixelValue(KelImage& src, KelImage* dst, int row, int column, int channel,
                        double value);

  // dst = a packed deep copy of src with one channel set to `value` in the pixels of all runs of
  // all regions.
  //
  // Matrices that shared pixels with the output keep theirs; only one that is the output's alone is
  // written in place.
  //
  // Runs and parts of runs outside the image are skipped; the regions' own sizes do not matter.
  // `channel` counts from 1: the only one of a grey image; otherwise backwards from the third
  // stored sample, so that 1, 2, 3 are red, green, blue of a blue-green-red pixel. The sample set
  // is number 3 * column + 3 - channel, counted from the row's first, whatever the channel count:
  // with 2 channels or more than 3 it can belong to another pixel or row, and one before the
  // image's first or behind its last is skipped. Statuses in order: ERR_IMAGE_EMPTY, ERR_BIT_DEPTH,
  // ERR_PARAM_1 (no region), ERR_PARAM_2 (channel), ERR_PARAM_3 (value).
  KelLong SetRegionValue(KelImage& src, KelImage* dst, KelRegionArray& regions, int channel,
                         int value);

  // dst = a view of the caller's buffer: `height` packed rows of `width` pixels. Nothing is copied.
  //
  // `dst`, its copies and all that shares their pixels read and write the buffer itself, which the
  // caller keeps and which must live as long as they do:
  //
  //   std::vector<unsigned char> frame(height * width);
  //   KelImage image;
  //   op.ImageConvert(frame.data(), &image, height, width, KEL_8U, 1, 0);
  //   grab(frame.data());                      // shows in `image`
  //   KelImage kept = image.DeepCopy();        // does not change with the next frame
  //
  // `type`: any KelImageType. `channels`: 1, 3 or 4. `stride` is checked but not used: rows are
  // always width * channels samples apart. Statuses in order: ERR_PARAM_1 (`buffer` is null),
  // ERR_PARAM_2 (height below 1), ERR_PARAM_3 (width below 1), ERR_PARAM_5 (channels), ERR_PARAM_4
  // (type), ERR_PARAM_6 (negative stride). Throws nothing: ERR_CONVERT_EXCEPTION.
  KelLong ImageConvert(void* buffer, KelImage* dst, int height, int width, KelImageType type,
                       int channels, int stride);

  // dst = the pixels of a GDI bitmap as an 8-bit image of `height` x `width` pixels, their bytes in
  // the bitmap's order (blue, green, red).
  //
  // `bitmap`: the value of an HBITMAP (a GDI handle; BITMAP, its record, is that of wingdi.h) whose
  // bits are in memory, sign-extended to a handle. The call takes it over and deletes the bitmap,
  // whatever it returns, exceptions included. `height` and `width` must be the bitmap's own,
  // `bitsPerChannel` 8. `channels`: 1, 3 or 4, the bitmap's bytes per pixel; a bitmap of 1 bit per
  // pixel counts as one of 1 byte: its bytes are taken as they lie in memory, and what would come
  // from behind its last row is 0. `topDown`: 1 keeps the order of the rows, 0 reverses it.
  // Statuses in order: ERR_PARAM_1 (0, no bitmap, or one without pixels in memory), ERR_PARAM_2
  // (height), ERR_PARAM_3 (width), ERR_PARAM_4 (bitsPerChannel), ERR_PARAM_5 (channels),
  // ERR_PARAM_6 (topDown), ERR_PARAM_5 (channels are not the bytes per pixel).
  KelLong ImageConvertBITMAP(KelImage* dst, KelLong bitmap, int height, int width,
                             int bitsPerChannel, int channels, int topDown);

  // dst = src with samples of another type: rounded to the nearest, ties to even, and saturated;
  // never rescaled, so that 1000 becomes 255 in 8 bits.
  //
  // Any depths and channel counts; `type`: any KelImageType. Floating-point samples that no 32-bit
  // integer holds convert as by cv::Mat::convertTo. Statuses in order: ERR_IMAGE_EMPTY, ERR_PARAM_1
  // (type).
  KelLong ImageDepthConvert(KelImage& src, KelImage* dst, KelImageType type);

  // dst = `count` new images: row k of image i is row i + k * count of src.
  //
  // With a `count` of 2, the even and the odd rows of an interlaced frame. Where the rows do not
  // share out evenly, each of the first rows % count images gets one more, and that is the same for
  // all of them: row count * (rows / count), the first one left over. `src` may be an image of
  // `dst`, whose former images are dropped. 8-bit images of one channel; `count`: 2 to the number
  // of rows. Statuses in order: ERR_IMAGE_EMPTY, ERR_BIT_DEPTH (not 8-bit unsigned),
  // ERR_IMAGE_EMPTY (fewer than 2 rows), ERR_NOT_SINGLE_CHANNEL, ERR_PARAM_1 (count); then
  // ERR_DEPTH_MISMATCH when the array did not take all images, which leaves those it took.
  KelLong ImageRowSeparate(KelImage& src, KelImageArray* dst, int count);

 private:
  std::shared_ptr<cv::Mat> buffer_;
};

}  // namespace KELRA
