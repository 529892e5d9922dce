#pragma once

#include <QIcon>

namespace brightloom::ui {

// The symbols the screens use. Each comes from the desktop's icon theme when it has one and
// otherwise from our own drawing, which follows the palette, so the window looks whole on a bare
// system and in a dark palette.
enum class Symbol {
    warning,      // exclamationmark.triangle.fill
    heart,        // heart
    heartFill,    // heart.fill
    chevronRight, // chevron.right
    send,         // the send button's upward arrow
    newApp,       // "New app" in the sidebar
    myApps,       // "My apps" in the sidebar
    back,         // the way back from a library app to the list
};

QIcon symbol(Symbol which);

// Our own drawing of a symbol, never the theme's (tests and screenshots compare these).
QIcon drawnSymbol(Symbol which);

} // namespace brightloom::ui
