// SPDX-License-Identifier: GPL-3.0-or-later
// A window that comes to the front because the user has asked the desktop for it.
#pragma once

#include <QVariantMap>

class QWidget;

namespace vistrel {

// Shows the window before all others and gives it the keyboard. `platformData` are what the desktop
// hands to a program that it activates: by "activation-token" or "desktop-startup-id" it knows that
// the user wants it, and does not take the window for one that pushes itself forward.
void BringToFront(QWidget& window, const QVariantMap& platformData);

}  // namespace vistrel
