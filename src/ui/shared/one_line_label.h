#pragma once

#include <QLabel>

namespace brightloom::ui {

// A label kept to one line: text that does not fit ends in "…", and the whole text stays its
// accessible name and its tooltip.
class OneLineLabel final : public QLabel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(OneLineLabel)

public:
    explicit OneLineLabel(QWidget* parent = nullptr);

    void setFullText(const QString& text);
    // What is drawn at the current width.
    QString shownText() const;

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace brightloom::ui
