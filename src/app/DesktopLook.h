#pragma once

namespace velmora {

// Gives the window its desktop look before it is made: the Fusion style (unless
// QT_QUICK_CONTROLS_STYLE names another), icons from the desktop's icon theme with Adwaita behind
// it, the application icon, and the name of the desktop entry. Needs the QGuiApplication.
void applyDesktopLook();

}  // namespace velmora
