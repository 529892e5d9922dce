#pragma once

#include <QStyledItemDelegate>

namespace brightloom::ui {

// Draws one app of the library list: its letter tile, its name over its version line, and a chevron
// that says the row opens a page.
class LibraryAppDelegate final : public QStyledItemDelegate
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LibraryAppDelegate)

public:
    explicit LibraryAppDelegate(QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    static constexpr int tileSide = 40;
};

} // namespace brightloom::ui
