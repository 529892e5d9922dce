#pragma once

#include <QImage>
#include <QWidget>

namespace brightloom::ui {

// The product's mark: a rounded tile in the accent's gradient with a four-pointed spark.
class LogoMark final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LogoMark)

public:
    explicit LogoMark(int size, QWidget* parent = nullptr);

    static void paint(QPainter& painter, const QRectF& rect);
    // The mark as an image `pixels` wide and high (the program's icon is drawn from it).
    static QImage image(int pixels);

    QSize sizeHint() const override { return QSize(m_size, m_size); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_size;
};

} // namespace brightloom::ui
