#pragma once

#include <QColor>
#include <QFrame>

class QLabel;
class QPainter;

namespace brightloom::ui {

// A row with a symbol and a word-wrapped text on a lightly tinted rounded background, the way the
// screens warn: the project banner and the worker banner.
class BannerFrame : public QFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BannerFrame)

public:
    // `richText` is shown as rich text; `tint` colours the background lightly.
    BannerFrame(const QIcon& icon, const QString& richText, QColor tint, QWidget* parent = nullptr);

    QLabel* label() const { return m_label; }
    void setRichText(const QString& richText);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLabel* m_label;
    QColor m_tint;
};

// The banners' box: `rect` filled with a light wash of `tint` inside a rounded edge of it. For
// banners that are one label rather than a frame.
void paintBannerBox(QPainter& painter, const QRect& rect, const QColor& tint);

} // namespace brightloom::ui
