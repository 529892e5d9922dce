#pragma once

// The app's icon: a letter icon drawn from the app's name when the source brings no picture, and the
// .icns file made from either.

#include "build_limits.h"

#include <QColor>
#include <QString>
#include <qcoro/qcorotask.h>
#include <utility>

namespace brightloom::LocalBuild {

// Which of the four letter-icon gradients a name gets (0 to 3); the same name always gets the same.
int letterIconPalette(const QString& name);

// The gradient of palette entry `index`: the colour at the top of the tile, then at the bottom.
std::pair<QColor, QColor> letterIconGradient(int index);

// What the letter icon shows: the name's first letter or digit upper-cased (which may give more than
// one character), or "A" when it has none.
QString letterIconText(const QString& name);

// Draws the 1024 by 1024 letter icon of `name` and writes it as PNG to `to`. Needs the GUI
// application (fonts). Throws APIError "Could not draw the icon." when
// it cannot draw, FileError when the file cannot be written.
void drawLetterIcon(const QString& name, const QString& to);
// drawLetterIcon() on the thread pool, resuming on the calling thread.
QCoro::Task<> drawLetterIconInBackground(QString name, QString to);

// Scales `png` to every size of an icon set in "<scratch>/AppIcon.iconset" (made anew) with the
// resize tool and packs the set into the .icns file `into` with the icon packer. Throws APIError
// "Could not make the app icon: …" when the packer fails, FileError when the set's folder cannot be
// made.
QCoro::Task<> makeIcns(QString png, QString into, QString scratch, Limits limits = {});

} // namespace brightloom::LocalBuild
