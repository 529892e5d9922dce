#pragma once

#include <QWidget>

namespace brightloom {
class Desktop;
}

namespace brightloom::ui {

// How to open an ad hoc signed app the first time, with a link to the setting that allows it.
class FirstLaunchNote final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FirstLaunchNote)

public:
    static const QString text;
    static const QString buttonText; // "Open Privacy & Security settings"

    explicit FirstLaunchNote(Desktop* desktop, QWidget* parent = nullptr);
};

} // namespace brightloom::ui
