#pragma once

#include "conversation/chips_layout.h"

#include <QLayout>
#include <QList>

namespace brightloom::ui {

// A layout that flows its widgets in rows with ChipsLayout; its height follows its width.
class ChipsFlowLayout final : public QLayout
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ChipsFlowLayout)

public:
    explicit ChipsFlowLayout(QWidget* parent = nullptr, qreal spacing = 8);
    ~ChipsFlowLayout() override;

    void addItem(QLayoutItem* item) override;
    int count() const override { return int(m_items.size()); }
    QLayoutItem* itemAt(int index) const override { return m_items.value(index); }
    QLayoutItem* takeAt(int index) override;

    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    void setGeometry(const QRect& rect) override;

private:
    ChipsLayout::Arrangement arrange(int width) const;

    QList<QLayoutItem*> m_items;
    ChipsLayout m_chips;
};

} // namespace brightloom::ui
