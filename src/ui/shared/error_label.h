#pragma once

#include <QLabel>

namespace brightloom::ui {

// One line of failure text in a red that reads on light and dark palettes alike; hidden while
// there is none. Its text is its accessible name; `description` lets tests and screen readers tell
// which error it is.
class ErrorLabel final : public QLabel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ErrorLabel)

public:
    explicit ErrorLabel(const QString& description, QWidget* parent = nullptr);

    // Shows `text`, or hides the label when it is empty.
    void setError(const QString& text);
    // The red for error text on a background of `window`.
    static QColor colourOn(const QColor& window);

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyColour();
};

} // namespace brightloom::ui
