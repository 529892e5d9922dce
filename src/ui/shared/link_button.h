#pragma once

#include <QPushButton>

namespace brightloom::ui {

// A button that looks like a link: no frame, the palette's link colour, a pointing cursor.
class LinkButton final : public QPushButton
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LinkButton)

public:
    explicit LinkButton(const QString& text, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }
};

} // namespace brightloom::ui
