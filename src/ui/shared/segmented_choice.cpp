#include "segmented_choice.h"

#include "checkable_buttons.h"

#include <QAccessibleWidget>

namespace brightloom::ui {

namespace {

class SegmentedChoiceAccessible final : public QAccessibleWidget
{
public:
    explicit SegmentedChoiceAccessible(SegmentedChoice* choice)
        : QAccessibleWidget(choice, QAccessible::Grouping)
    {}

    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Name)
            return static_cast<SegmentedChoice*>(widget())->name();
        return QAccessibleWidget::text(t);
    }
};

QAccessibleInterface* factory(const QString& className, QObject* object)
{
    if (className == QLatin1String("brightloom::ui::SegmentedChoice"))
        return new SegmentedChoiceAccessible(static_cast<SegmentedChoice*>(object));
    return nullptr;
}

} // namespace

SegmentedChoice::SegmentedChoice(const QString& name, QWidget* parent) : QWidget(parent), m_name(name)
{
    static const bool installed = [] {
        QAccessible::installFactory(factory);
        return true;
    }();
    Q_UNUSED(installed);
}

SegmentButton::SegmentButton(const QString& text, QWidget* parent) : QPushButton(parent)
{
    installCheckableButtonAccessibility();
    setCheckable(true);
    setAutoExclusive(true);
    setText(text);
}

} // namespace brightloom::ui
