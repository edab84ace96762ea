// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers of the controls in both dialogs; as object names of the widgets they are decimal
// ("1108").
#pragma once

namespace vistrel {

enum class BatchControlId : int {
    Input = 1101,
    InputBrowse = 1102,
    Output = 1103,
    OutputBrowse = 1104,
    Progress = 1105,
    Status = 1106,
    Elapsed = 1107,
    Start = 1108,
    Cancel = 1109,
    Close = 1110,
    ConflictMessage = 1120,
    ConflictOverwrite = 1121,
    ConflictRename = 1122,
    ConflictCancel = 1123,
};

// What a dialog returns when Esc or its close box ended it.
inline constexpr int kDialogCancelled = 2;

}  // namespace vistrel
