#pragma once

#include <QPalette>

class QApplication;

namespace brightloom::ui {

// The window's colours: Fusion's light palette, or a dark one in which every screen stays legible
// (links, placeholders and the accent-coloured pieces included).
QPalette lightPalette();
QPalette darkPalette();

// Whether the desktop asks for dark colours: Qt's own colour scheme where it knows one (6.5 on), else
// the freedesktop appearance setting when a desktop portal answers it, else how dark the
// platform's own window colour is.
bool desktopPrefersDark();

// Gives the application Fusion and the palette that suits the desktop, and follows the desktop when
// its preference changes while the program runs. On a Mac the platform's own style and palette stay.
void applyDesktopPalette(QApplication& app);

} // namespace brightloom::ui
