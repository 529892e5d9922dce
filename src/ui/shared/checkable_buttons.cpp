#include "checkable_buttons.h"

#include <QAbstractButton>
#include <QAccessibleWidget>
#include <QButtonGroup>

namespace brightloom::ui {

namespace {

class CheckableButtonAccessible final : public QAccessibleWidget
{
public:
    explicit CheckableButtonAccessible(QAbstractButton* button)
        : QAccessibleWidget(button, exclusive(button) ? QAccessible::RadioButton : QAccessible::CheckBox)
    {}

    static bool exclusive(const QAbstractButton* button)
    {
        return button->autoExclusive() || (button->group() && button->group()->exclusive());
    }

    QAbstractButton* button() const { return static_cast<QAbstractButton*>(widget()); }

    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Name) {
            const QString name = button()->accessibleName();
            return name.isEmpty() ? button()->text() : name;
        }
        return QAccessibleWidget::text(t);
    }

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.checkable = true;
        state.checked = button()->isChecked();
        return state;
    }

    QStringList actionNames() const override
    {
        QStringList names;
        if (button()->isEnabled())
            names << toggleAction() << pressAction();
        return names + QAccessibleWidget::actionNames();
    }

    // Both actions are a click, as a person's: an option already chosen stays chosen, a check box
    // changes, and whoever listens to the button hears what a click tells.
    void doAction(const QString& action) override
    {
        if (action == toggleAction() || action == pressAction()) {
            if (button()->isEnabled())
                button()->click();
            return;
        }
        QAccessibleWidget::doAction(action);
    }
};

QAccessibleInterface* factory(const QString&, QObject* object)
{
    auto* button = qobject_cast<QAbstractButton*>(object);
    if (button && button->isCheckable())
        return new CheckableButtonAccessible(button);
    return nullptr;
}

} // namespace

void installCheckableButtonAccessibility()
{
    static const bool installed = [] {
        QAccessible::installFactory(factory);
        return true;
    }();
    Q_UNUSED(installed);
}

} // namespace brightloom::ui
