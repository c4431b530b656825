#include "status_text.h"

#include <KELRA/KelROIDataConvert.h>

#include <algorithm>
#include <string_view>

#include "image_files.h"

namespace KELRA::tool {
namespace {

using Images = std::vector<KelImage>;

// One property of all inputs, for example "8-bit and 16-bit".
template <class Property>
std::string Each(const Images& inputs, Property property) {
  std::vector<std::string> texts;
  for (const KelImage& image : inputs) {
    const std::string text = property(image);
    if (std::find(texts.begin(), texts.end(), text) == texts.end()) {
      texts.push_back(text);
    }
  }
  std::string all;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (i > 0) {
      all += i + 1 == texts.size() ? " and " : ", ";
    }
    all += texts[i];
  }
  return all;
}

std::string Depths(const Images& inputs) {
  return Each(inputs, [](const KelImage& image) { return DepthText(image.BitDepth()); });
}

std::string Channels(const Images& inputs) {
  return Each(inputs, [](const KelImage& image) { return ChannelText(image.Channels()); });
}

std::string Sizes(const Images& inputs) {
  return Each(inputs, [](const KelImage& image) { return SizeText(image); });
}

struct StatusEntry {
  KelLong status;
  std::string_view name;
  std::string (*meaning)(const Images& inputs);
};

// Meanings that hold for every command.
constexpr StatusEntry kStatuses[] = {
    {ERR_IMAGE_EMPTY, "ERR_IMAGE_EMPTY",
     [](const Images&) -> std::string { return "the image has no pixels"; }},
    {ERR_ROI_TYPE, "ERR_ROI_TYPE",
     [](const Images&) -> std::string {
       return "the region has no area, expected one with an area";
     }},
    {ERR_NOT_SINGLE_CHANNEL, "ERR_NOT_SINGLE_CHANNEL",
     [](const Images& inputs) { return "the image has " + Channels(inputs) + ", expected 1"; }},
    {ERR_CHANNEL_COUNT, "ERR_CHANNEL_COUNT",
     [](const Images& inputs) {
       return "the image has " + Channels(inputs) + ", expected 1 or 3";
     }},
    {ERR_COUNT_LIMIT, "ERR_COUNT_LIMIT",
     [](const Images& inputs) {
       return "got " + std::to_string(inputs.size()) + " images, expected another number";
     }},
    {ERR_BIT_DEPTH, "ERR_BIT_DEPTH",
     [](const Images& inputs) {
       return "the image's samples are " + Depths(inputs) +
              ", expected a depth that the command supports (mostly 8-bit or 16-bit)";
     }},
    {ERR_POINT_COUNT, "ERR_POINT_COUNT",
     [](const Images&) -> std::string { return "the number of points is not the one expected"; }},
    {ERR_GRID_COUNT, "ERR_GRID_COUNT",
     [](const Images& inputs) {
       return "got " + std::to_string(inputs.size()) + " images, expected rows x columns of them";
     }},
    {ERR_DEPTH_MISMATCH, "ERR_DEPTH_MISMATCH",
     [](const Images& inputs) { return "got " + Depths(inputs) + " images, expected one depth"; }},
    {ERR_CHANNEL_MISMATCH, "ERR_CHANNEL_MISMATCH",
     [](const Images& inputs) {
       return "got images of " + Channels(inputs) + ", expected one number";
     }},
    {ERR_WIDTH_MISMATCH, "ERR_WIDTH_MISMATCH",
     [](const Images& inputs) {
       return "got images of " + Sizes(inputs) + " pixels, expected one width";
     }},
    {ERR_HEIGHT_MISMATCH, "ERR_HEIGHT_MISMATCH",
     [](const Images& inputs) {
       return "got images of " + Sizes(inputs) + " pixels, expected one height";
     }},
    {ERR_PARAM_1, "ERR_PARAM_1",
     [](const Images&) -> std::string { return "the first checked parameter is out of range"; }},
    {ERR_PARAM_2, "ERR_PARAM_2",
     [](const Images&) -> std::string { return "the second checked parameter is out of range"; }},
    {ERR_PARAM_3, "ERR_PARAM_3",
     [](const Images&) -> std::string { return "the third checked parameter is out of range"; }},
    {ERR_PARAM_4, "ERR_PARAM_4",
     [](const Images&) -> std::string { return "the fourth checked parameter is out of range"; }},
    {ERR_PARAM_5, "ERR_PARAM_5",
     [](const Images&) -> std::string { return "the fifth checked parameter is out of range"; }},
    {ERR_PARAM_6, "ERR_PARAM_6",
     [](const Images&) -> std::string { return "the sixth checked parameter is out of range"; }},
    {ERR_PASTE_WORK, "ERR_PASTE_WORK",
     [](const Images&) -> std::string { return "no image lands on the canvas"; }},
    {ERR_FILL_NO_CONTOUR, "ERR_FILL_NO_CONTOUR",
     [](const Images&) -> std::string { return "the image holds nothing to fill"; }},
    {ERR_AVG_SIZE_MISMATCH, "ERR_AVG_SIZE_MISMATCH",
     [](const Images& inputs) {
       return "got images of " + Sizes(inputs) + " pixels, expected one size";
     }},
    {ERR_AVG_CHANNEL_MISMATCH, "ERR_AVG_CHANNEL_MISMATCH",
     [](const Images& inputs) {
       return "got images of " + Channels(inputs) + ", expected one number";
     }},
    {ERR_AVG_DEPTH_MISMATCH, "ERR_AVG_DEPTH_MISMATCH",
     [](const Images& inputs) { return "got " + Depths(inputs) + " images, expected one depth"; }},
    {ERR_CREATE_EXCEPTION, "ERR_CREATE_EXCEPTION",
     [](const Images&) -> std::string { return "the image cannot be made"; }},
    {ERR_SET_PIXEL_EXCEPTION, "ERR_SET_PIXEL_EXCEPTION",
     [](const Images&) -> std::string { return "the pixel cannot be written"; }},
    {ERR_GET_PIXEL_EXCEPTION, "ERR_GET_PIXEL_EXCEPTION",
     [](const Images&) -> std::string { return "the pixel cannot be read"; }},
    {ERR_BORDER_EXCEPTION, "ERR_BORDER_EXCEPTION",
     [](const Images&) -> std::string { return "the border cannot be made"; }},
    {ERR_CONVERT_EXCEPTION, "ERR_CONVERT_EXCEPTION",
     [](const Images&) -> std::string { return "the buffer cannot be used as an image"; }},
    {ERR_PASTE_EXCEPTION, "ERR_PASTE_EXCEPTION",
     [](const Images&) -> std::string { return "the images cannot be pasted into the grid"; }},
    {ERR_BITWISE_EXCEPTION, "ERR_BITWISE_EXCEPTION",
     [](const Images&) -> std::string { return "the images cannot be combined"; }},
    {ERR_WARP_EXCEPTION, "ERR_WARP_EXCEPTION",
     [](const Images&) -> std::string { return "the image cannot be turned"; }},
    {KEL_ROI_ERR_IMAGE, "KEL_ROI_ERR_IMAGE",
     [](const Images&) -> std::string { return "the image has no pixels"; }},
    {KEL_ROI_ERR_KIND, "KEL_ROI_ERR_KIND",
     [](const Images&) -> std::string { return "the region has no geometry"; }},
    {KEL_ROI_ERR_OUTSIDE, "KEL_ROI_ERR_OUTSIDE",
     [](const Images& inputs) {
       return "covers no pixel of the " + Sizes(inputs) + " image, expected one that does";
     }},
    {KEL_ROI_ERR_PART, "KEL_ROI_ERR_PART",
     [](const Images&) -> std::string { return "the part does not fit the region"; }},
    {KEL_ROI_ERR_OUTPUT, "KEL_ROI_ERR_OUTPUT",
     [](const Images&) -> std::string { return "the region library got no place for its result"; }},
    {KEL_ROI_ERR_MEMORY, "KEL_ROI_ERR_MEMORY",
     [](const Images&) -> std::string { return "not enough memory"; }},
};

const StatusEntry* Find(KelLong status) {
  for (const StatusEntry& entry : kStatuses) {
    if (entry.status == status) {
      return &entry;
    }
  }
  return nullptr;
}

bool IsAboutRegion(KelLong status) {
  constexpr KelLong kRegionLibrary = 1300;
  return status == ERR_ROI_TYPE || status / 10000 == kRegionLibrary;
}

// "--value 300: "
std::string OptionText(const std::string& option, const Invocation& invocation) {
  const auto text = invocation.texts.find(option);
  if (text == invocation.texts.end()) {
    return "";
  }
  return option + " " + text->second + ": ";
}

}  // namespace

std::string StatusText(KelLong status, const Invocation& invocation,
                       const std::vector<KelImage>& inputs) {
  const Command& command = *invocation.command;
  const StatusEntry* entry = Find(status);
  const std::string number =
      (entry != nullptr ? std::string(entry->name) + ", " : std::string("status ")) +
      std::to_string(status);

  std::string text;
  if (const auto checked = command.checked.find(status); checked != command.checked.end()) {
    const auto& [option, expectation] = checked->second;
    text = OptionText(option, invocation) + "must be " + expectation(inputs);
  } else {
    if (IsAboutRegion(status)) {
      text = OptionText(command.region_option, invocation);
    }
    text += entry != nullptr ? entry->meaning(inputs) : "the operation failed";
  }
  return text + " (" + number + ")";
}

}  // namespace KELRA::tool
