// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers of the controls and commands; as object names of the widgets they are decimal ("1033").
#pragma once

#include <cstdint>
#include <optional>

#include "base/stereo_mode.h"

namespace vistrel {

enum class ControlId : int {
    Sidebar = 1000,
    Title = 1001,
    Help = 1002,
    Batch = 1003,
    ModelHeading = 1010,
    ModelName = 1011,
    SelectModel = 1012,
    DownloadModel = 1013,
    DownloadProgress = 1014,
    DownloadStatus = 1015,
    InputHeading = 1030,
    InputName = 1031,
    SelectFile = 1032,
    Generate = 1033,
    GenerateStatus = 1034,
    ProviderLabel = 1035,
    Provider = 1036,
    ViewerHeading = 1040,
    SharpMode = 1041,
    GeneralMode = 1042,
    StereoLabel = 1043,
    StereoMode = 1044,
    FocusLabel = 1045,
    Focus = 1046,
    DepthLabel = 1047,
    Depth = 1048,
    Swap = 1049,
    Reset = 1050,
    SaveImage = 1051,
    MenuSelectFile = 4001,
    MenuSaveImage = 4002,
    MenuExit = 4003,
    MenuBatch = 4004,
    MenuSidePanel = 4010,
    MenuFullScreen = 4011,
    MenuSharpMode = 4020,
    MenuGeneralMode = 4021,
    MenuFirstStereoMode = 4030,  // those of the other modes follow
    MenuSwap = 4040,
    MenuReset = 4041,
    MenuHelp = 4050,
    MenuAbout = 4051,
};

// The menu's item for a stereo mode; `mode` is a StereoMode's number.
constexpr ControlId StereoModeItem(std::int32_t mode) {
    return static_cast<ControlId>(static_cast<int>(ControlId::MenuFirstStereoMode) + mode);
}
static_assert(StereoModeItem(kStereoModeCount - 1) < ControlId::MenuSwap);

// The other way round; nothing for any other control.
constexpr std::optional<std::int32_t> StereoModeOfItem(ControlId id) {
    const int mode = static_cast<int>(id) - static_cast<int>(ControlId::MenuFirstStereoMode);
    if (mode < 0 || mode >= kStereoModeCount) return std::nullopt;
    return mode;
}

}  // namespace vistrel
