#pragma once

#include <QStringList>
#include <QWidget>

class QPushButton;

namespace brightloom::ui {

class ChipsFlowLayout;

// "Ideas to start from" and one chip per idea; picking a chip hands its text on.
class FlowChips final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FlowChips)

public:
    static const QString heading; // "Ideas to start from"

    explicit FlowChips(QWidget* parent = nullptr);

    void setItems(const QStringList& items);
    const QStringList& items() const { return m_items; }
    QList<QPushButton*> chips() const;

Q_SIGNALS:
    void picked(const QString& text);

private:
    QStringList m_items;
    QWidget* m_area;
    ChipsFlowLayout* m_flow;
};

} // namespace brightloom::ui
