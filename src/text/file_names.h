#pragma once

#include <QString>
#include <QStringView>
#include <optional>

// Whether a text the service sent may become the name of a file or folder on this machine.
namespace brightloom::text {

// The longest name taken, in UTF-8 bytes: file systems take 255, and a saved file may still gain a
// counter and an extension.
constexpr qsizetype maxFileNameBytes = 200;

// Why `name` cannot be one file or folder name, as the end of a sentence ("it holds a control
// character"), or nothing when it can. Refused: an empty name; "/" or NUL; a leading "." (which
// also covers "." and "..", and would hide the file); any control character (C0, DEL, C1, line
// ends included); the marks that reorder shown text; more than maxFileNameBytes bytes.
std::optional<QString> fileNameProblem(QStringView name);

} // namespace brightloom::text
