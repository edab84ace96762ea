// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/viewer_messages.h"

#include "ui/ui_text.h"

namespace vistrel {
namespace {

std::wstring InLanguage(std::wstring_view english, std::wstring_view japanese) {
    return std::wstring(gUiText == &kJapaneseText ? japanese : english);
}

}  // namespace

std::wstring SceneFailedMessage(std::wstring_view reason) {
    return InLanguage(L"The scene cannot be shown: ", L"シーンを表示できません: ").append(reason);
}

std::wstring PictureFailedMessage(std::wstring_view reason) {
    return InLanguage(L"The image was not saved: ", L"画像を保存できませんでした: ").append(reason);
}

std::wstring ViewerEndedMessage() {
    return InLanguage(L"The viewer has stopped. Open the scene again.",
                      L"ビューアーが停止しました。シーンを開き直してください。");
}

}  // namespace vistrel
