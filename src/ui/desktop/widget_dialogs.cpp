#include "widget_dialogs.h"

#include <QAbstractButton>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>

namespace brightloom::ui {
namespace {

// A message box that Escape and the window's close button dismiss without choosing a button. A plain
// QMessageBox ignores both unless one of its buttons is the escape button, and none of an alert's
// buttons means "closed".
class AlertBox final : public QMessageBox
{
public:
    using QMessageBox::QMessageBox;

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        if (event->matches(QKeySequence::Cancel)) {
            reject();
            return;
        }
        QMessageBox::keyPressEvent(event);
    }

    void closeEvent(QCloseEvent* event) override
    {
        event->accept();
        reject();
    }
};

} // namespace

std::optional<int> WidgetDialogs::ask(const Alert& alert)
{
    AlertBox box(m_window);
    box.setIcon(alert.style == Alert::Style::warning ? QMessageBox::Warning : QMessageBox::Information);
    box.setWindowTitle(QStringLiteral("Brightloom"));
    box.setText(alert.message);
    box.setInformativeText(alert.informativeText);
    box.setTextFormat(Qt::PlainText);
    // Buttons with the action role are laid out in the order they are added, so the alert keeps the
    // order it was given whatever the desktop's button convention.
    QList<QAbstractButton*> buttons;
    for (const QString& label : alert.buttons) {
        auto* button = box.addButton(label, QMessageBox::ActionRole);
        buttons.append(button);
    }
    if (!buttons.isEmpty())
        box.setDefaultButton(qobject_cast<QPushButton*>(buttons.first()));
    box.exec();
    const qsizetype index = buttons.indexOf(box.clickedButton());
    if (index < 0)
        return std::nullopt;
    return int(index);
}

} // namespace brightloom::ui
