#include "symbols.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>

namespace brightloom::ui {
namespace {

const QColor warningOrange(255, 149, 0);
const QColor heartRed(255, 45, 85);

QColor inkFor(QIcon::Mode mode)
{
    const QPalette palette = QGuiApplication::palette();
    return palette.color(mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active,
                         QPalette::WindowText);
}

QPainterPath heartPath(const QRectF& r)
{
    // Two lobes meeting in a point at the bottom.
    const qreal w = r.width(), h = r.height();
    QPainterPath path;
    path.moveTo(r.left() + w * 0.5, r.top() + h * 0.92);
    path.cubicTo(r.left() + w * 0.1, r.top() + h * 0.62, r.left() - w * 0.02, r.top() + h * 0.3,
                 r.left() + w * 0.22, r.top() + h * 0.14);
    path.cubicTo(r.left() + w * 0.36, r.top() + h * 0.04, r.left() + w * 0.48, r.top() + h * 0.14,
                 r.left() + w * 0.5, r.top() + h * 0.26);
    path.cubicTo(r.left() + w * 0.52, r.top() + h * 0.14, r.left() + w * 0.64, r.top() + h * 0.04,
                 r.left() + w * 0.78, r.top() + h * 0.14);
    path.cubicTo(r.left() + w * 1.02, r.top() + h * 0.3, r.left() + w * 0.9, r.top() + h * 0.62,
                 r.left() + w * 0.5, r.top() + h * 0.92);
    path.closeSubpath();
    return path;
}

void drawSymbol(QPainter& p, const QRectF& box, Symbol which, QIcon::Mode mode)
{
    p.setRenderHint(QPainter::Antialiasing);
    const qreal side = std::min(box.width(), box.height());
    const QRectF r(box.center().x() - side / 2, box.center().y() - side / 2, side, side);
    const QColor ink = inkFor(mode);
    const qreal stroke = std::max<qreal>(1.2, side * 0.09);
    QPen line(ink, stroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    const auto at = [&](qreal x, qreal y) { return QPointF(r.left() + side * x, r.top() + side * y); };

    switch (which) {
    case Symbol::warning: {
        QPainterPath triangle;
        triangle.moveTo(at(0.5, 0.08));
        triangle.lineTo(at(0.96, 0.9));
        triangle.lineTo(at(0.04, 0.9));
        triangle.closeSubpath();
        p.setPen(QPen(warningOrange, side * 0.08, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.setBrush(mode == QIcon::Disabled ? ink : warningOrange);
        p.drawPath(triangle);
        p.setPen(QPen(Qt::white, side * 0.1, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(at(0.5, 0.36), at(0.5, 0.6));
        p.drawPoint(at(0.5, 0.76));
        break;
    }
    case Symbol::heart:
        p.setPen(line);
        p.setBrush(Qt::NoBrush);
        p.drawPath(heartPath(r.adjusted(side * 0.08, side * 0.08, -side * 0.08, -side * 0.04)));
        break;
    case Symbol::heartFill:
        p.setPen(Qt::NoPen);
        p.setBrush(mode == QIcon::Disabled ? ink : heartRed);
        p.drawPath(heartPath(r.adjusted(side * 0.04, side * 0.06, -side * 0.04, -side * 0.02)));
        break;
    case Symbol::chevronRight:
    case Symbol::back: {
        QColor soft = ink;
        soft.setAlphaF(0.6f);
        p.setPen(QPen(soft, stroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const bool right = which == Symbol::chevronRight;
        const QPointF points[] = {at(right ? 0.38 : 0.62, 0.2), at(right ? 0.66 : 0.34, 0.5),
                                  at(right ? 0.38 : 0.62, 0.8)};
        p.drawPolyline(points, 3);
        break;
    }
    case Symbol::send: {
        // Drawn dark: it sits on the accent-filled send button.
        QColor dark = mode == QIcon::Disabled ? QColor(0, 0, 0, 110) : QColor(Qt::black);
        p.setPen(QPen(dark, side * 0.12, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawLine(at(0.5, 0.82), at(0.5, 0.2));
        const QPointF head[] = {at(0.24, 0.44), at(0.5, 0.18), at(0.76, 0.44)};
        p.drawPolyline(head, 3);
        break;
    }
    case Symbol::newApp:
        p.setPen(line);
        p.setBrush(Qt::NoBrush);
        p.drawRoundedRect(QRectF(at(0.12, 0.12), at(0.88, 0.88)), side * 0.18, side * 0.18);
        p.drawLine(at(0.5, 0.32), at(0.5, 0.68));
        p.drawLine(at(0.32, 0.5), at(0.68, 0.5));
        break;
    case Symbol::myApps:
        p.setPen(Qt::NoPen);
        p.setBrush(ink);
        for (qreal x : {0.12, 0.56})
            for (qreal y : {0.12, 0.56})
                p.drawRoundedRect(QRectF(at(x, y), QSizeF(side * 0.32, side * 0.32)), side * 0.08,
                                  side * 0.08);
        break;
    }
}

class DrawnSymbolEngine final : public QIconEngine
{
public:
    explicit DrawnSymbolEngine(Symbol which) : m_which(which) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        painter->save();
        drawSymbol(*painter, rect, m_which, mode);
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        return scaledPixmap(size, mode, state, 1.0);
    }

    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal scale) override
    {
        QPixmap pixmap(size * scale);
        pixmap.setDevicePixelRatio(scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return pixmap;
    }

    QIconEngine* clone() const override { return new DrawnSymbolEngine(m_which); }
    QString key() const override { return QStringLiteral("brightloom-drawn-symbol"); }

private:
    Symbol m_which;
};

QString themeName(Symbol which)
{
    switch (which) {
    case Symbol::warning:
        return QStringLiteral("dialog-warning");
    case Symbol::chevronRight:
        return QStringLiteral("go-next");
    case Symbol::send:
        return QStringLiteral("go-up");
    case Symbol::newApp:
        return QStringLiteral("document-new");
    case Symbol::back:
        return QStringLiteral("go-previous");
    case Symbol::heart:
    case Symbol::heartFill:
    case Symbol::myApps:
        // No common theme name draws these as the screens mean them.
        return {};
    }
    return {};
}

} // namespace

QIcon drawnSymbol(Symbol which)
{
    return QIcon(new DrawnSymbolEngine(which));
}

QIcon symbol(Symbol which)
{
    const QString name = themeName(which);
    if (!name.isEmpty() && QIcon::hasThemeIcon(name))
        return QIcon::fromTheme(name);
    return drawnSymbol(which);
}

} // namespace brightloom::ui
