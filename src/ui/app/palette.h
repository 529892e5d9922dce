#pragma once

#include <QPalette>
#include <QtGlobal>

class QApplication;

namespace brightloom::ui {

// The window's colours: Fusion's light palette, or a dark one in which every screen stays legible
// (links, placeholders and the accent-coloured pieces included).
QPalette lightPalette();
QPalette darkPalette();

// Whether the desktop asks for dark colours: the freedesktop appearance setting when a desktop
// portal answers it, else how dark the platform's own window colour is.
bool desktopPrefersDark();

// Gives the application Fusion and the palette that suits the desktop, and follows the desktop when
// its preference changes while the program runs. On a Mac the platform's own style and palette stay.
void applyDesktopPalette(QApplication& app);

#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
// Takes the palette of a colour scheme the desktop announced; an unknown one changes nothing.
void followColorScheme(QApplication& app, Qt::ColorScheme scheme);
#endif

} // namespace brightloom::ui
