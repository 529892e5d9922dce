#pragma once

// A screen as a screen reader walks it: every element it can reach, every control a person can Tab
// to, and every button, radio button, check box and link, activated through its accessible action
// and compared with a click of the mouse.

#include "qt_printers.h"
#include "task_runner.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QSignalSpy>
#include <QTest>
#include <QWidget>
#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

namespace brightloom::test {

// One element met on the walk: its role and name, and which of the elements with both it is.
struct WalkedControl
{
    QAccessible::Role role;
    QString name;
    int occurrence;

    std::string describe() const
    {
        const QString text = QStringLiteral("role 0x") + QString::number(int(role), 16) +
                             QStringLiteral(" \"") + name + QStringLiteral("\" #") +
                             QString::number(occurrence);
        return text.toStdString();
    }
};

inline bool isActionable(QAccessible::Role role)
{
    return role == QAccessible::PushButton || role == QAccessible::RadioButton ||
           role == QAccessible::CheckBox || role == QAccessible::Link || role == QAccessible::ButtonMenu ||
           role == QAccessible::ButtonDropDown;
}

// Calls `visit` for each shown element under `root`, depth first, in the order a reader walks them.
inline void walkShown(QWidget* root, const std::function<void(QAccessibleInterface*)>& visit)
{
    QList<QAccessibleInterface*> stack{QAccessible::queryAccessibleInterface(root)};
    while (!stack.isEmpty()) {
        QAccessibleInterface* face = stack.takeLast();
        if (!face || !face->isValid() || face->state().invisible)
            continue;
        visit(face);
        for (int i = face->childCount() - 1; i >= 0; --i)
            stack.append(face->child(i));
    }
}

// Every control under `root` that a person can reach with Tab but a screen reader cannot name.
inline QStringList unnamedFocusableControls(QWidget* root)
{
    QStringList unnamed;
    walkShown(root, [&](QAccessibleInterface* face) {
        auto* widget = qobject_cast<QWidget*>(face->object());
        if (!widget || !widget->isVisibleTo(root->window()) || !(widget->focusPolicy() & Qt::TabFocus) ||
            !widget->isEnabled())
            return;
        if (face->text(QAccessible::Name).trimmed().isEmpty())
            unnamed.append(QString::fromLatin1(widget->metaObject()->className()) +
                           QStringLiteral(" (role ") + QString::number(int(face->role()), 16) +
                           QLatin1Char(')'));
    });
    return unnamed;
}

// The shown buttons, radio buttons, check boxes and links under `root`, in reading order (top to
// bottom, then left to right): widgets that a long page reuses for its rows stand in the tree in the
// order they were made, which need not be the order of the rows they show.
inline QList<QAccessibleInterface*> actionableInReadingOrder(QWidget* root)
{
    QList<QAccessibleInterface*> found;
    walkShown(root, [&](QAccessibleInterface* face) {
        if (isActionable(face->role()))
            found.append(face);
    });
    std::stable_sort(found.begin(), found.end(), [](QAccessibleInterface* a, QAccessibleInterface* b) {
        const QRect ra = a->rect();
        const QRect rb = b->rect();
        return ra.top() != rb.top() ? ra.top() < rb.top() : ra.left() < rb.left();
    });
    return found;
}

inline WalkedControl walked(QAccessibleInterface* face, const QList<WalkedControl>& earlier)
{
    WalkedControl control{face->role(), face->text(QAccessible::Name), 0};
    for (const WalkedControl& other : earlier)
        control.occurrence += other.role == control.role && other.name == control.name ? 1 : 0;
    return control;
}

inline QAccessibleInterface* findControl(QWidget* root, const WalkedControl& wanted)
{
    QList<WalkedControl> seen;
    for (QAccessibleInterface* face : actionableInReadingOrder(root)) {
        const WalkedControl control = walked(face, seen);
        if (control.role == wanted.role && control.name == wanted.name &&
            control.occurrence == wanted.occurrence)
            return face;
        seen.append(control);
    }
    return nullptr;
}

// What a button said when it was used: its clicks, its check mark's changes and where the mark ended.
struct ButtonEffect
{
    qsizetype clicks = 0;
    qsizetype toggles = 0;
    bool checked = false;
    bool operator==(const ButtonEffect&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const ButtonEffect& effect)
{
    return out << effect.clicks << " clicks, " << effect.toggles << " toggles, "
               << (effect.checked ? "checked" : "unchecked");
}

// Uses `control` on a fresh screen from `makeScreen`, through its accessible action or with the
// mouse, and tells what the button said.
inline std::optional<ButtonEffect> use(const std::function<QWidget*()>& makeScreen,
                                       const WalkedControl& control, bool throughAction)
{
    QWidget* screen = makeScreen();
    QAccessibleInterface* face = screen ? findControl(screen, control) : nullptr;
    auto* button = face ? qobject_cast<QAbstractButton*>(face->object()) : nullptr;
    if (!button) {
        ADD_FAILURE() << control.describe() << (face ? " is not a button" : " is missing on a fresh screen");
        return std::nullopt;
    }
    QSignalSpy clicked(button, &QAbstractButton::clicked);
    QSignalSpy toggled(button, &QAbstractButton::toggled);
    if (throughAction) {
        QAccessibleActionInterface* actions = face->actionInterface();
        const QStringList names = actions ? actions->actionNames() : QStringList();
        if (names.isEmpty()) {
            ADD_FAILURE() << control.describe() << " has no accessible action";
            return std::nullopt;
        }
        actions->doAction(names.first());
        // A button's press is an animated click: it comes a moment later.
        spinUntil([&] { return !clicked.isEmpty() || !toggled.isEmpty(); }, std::chrono::seconds(2));
    } else {
        QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
    }
    ButtonEffect effect{clicked.size(), toggled.size(), button->isChecked()};
    drainPostedEvents();
    return effect;
}

// Every enabled button, radio button, check box and link of the screen does through its accessible
// action what a click of the mouse does, and every control that takes focus has a name. Each use is
// on a fresh screen, so that what one button does cannot change what the next one finds.
inline void expectActionsDoWhatClicksDo(const std::function<QWidget*()>& makeScreen, int atLeast)
{
    QWidget* first = makeScreen();
    ASSERT_TRUE(first);
    EXPECT_EQ(unnamedFocusableControls(first), QStringList());
    QList<WalkedControl> controls;
    QList<WalkedControl> all;
    for (QAccessibleInterface* face : actionableInReadingOrder(first)) {
        const WalkedControl control = walked(face, all);
        all.append(control);
        auto* button = qobject_cast<QAbstractButton*>(face->object());
        if (!button || button->isEnabled())
            controls.append(control);
    }
    EXPECT_GE(controls.size(), atLeast) << "the screen shows the controls the test means to use";
    for (const WalkedControl& control : std::as_const(controls)) {
        EXPECT_FALSE(control.name.trimmed().isEmpty()) << control.describe();
        const std::optional<ButtonEffect> acted = use(makeScreen, control, true);
        const std::optional<ButtonEffect> clicked = use(makeScreen, control, false);
        if (!acted || !clicked)
            continue;
        EXPECT_EQ(*acted, *clicked) << control.describe();
        EXPECT_EQ(clicked->clicks, 1) << control.describe();
    }
}

} // namespace brightloom::test
