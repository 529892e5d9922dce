#pragma once

#include <QPushButton>
#include <QWidget>

namespace brightloom::ui {

// A row of options of which exactly one is chosen, drawn as joined buttons. A screen reader meets
// a group named by the row's label, holding radio buttons whose action is a click
// (installCheckableButtonAccessibility).
class SegmentedChoice final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SegmentedChoice)

public:
    // `name` is what the group is read as ("Compile on").
    explicit SegmentedChoice(const QString& name, QWidget* parent = nullptr);

    const QString& name() const { return m_name; }

private:
    QString m_name;
};

// One option of a SegmentedChoice.
class SegmentButton final : public QPushButton
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SegmentButton)

public:
    explicit SegmentButton(const QString& text, QWidget* parent = nullptr);
};

} // namespace brightloom::ui
