#include "conversation/repo_link.h"
#include "ui/desktop/widget_dialogs.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::ui;

namespace {

// Acts on the message box once it is up; the box runs its own modal loop until answered.
void whenShown(std::function<void(QMessageBox*)> act)
{
    QTimer::singleShot(0, qApp, [act = std::move(act)] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) {
            whenShown(act);
            return;
        }
        act(box);
    });
}

QStringList labelsLeftToRight(QMessageBox* box)
{
    QList<QAbstractButton*> buttons = box->buttons();
    std::sort(buttons.begin(), buttons.end(), [](QAbstractButton* a, QAbstractButton* b) {
        return a->mapToGlobal(QPoint()).x() < b->mapToGlobal(QPoint()).x();
    });
    QStringList labels;
    for (QAbstractButton* button : buttons)
        labels << button->text();
    return labels;
}

Alert threeButtons()
{
    Alert alert;
    alert.message = QStringLiteral("Build from the GitHub repo r?");
    alert.informativeText = QStringLiteral("Details");
    alert.buttons = {QStringLiteral("Import and build"), QStringLiteral("Build without importing"),
                     QStringLiteral("Cancel")};
    return alert;
}

} // namespace

TEST(WidgetDialogsTest, ButtonsStandInTheOrderGivenAndTheChosenIndexIsAnswered)
{
    WidgetDialogs dialogs;
    QStringList seen;
    QString message;
    whenShown([&](QMessageBox* box) {
        seen = labelsLeftToRight(box);
        message = box->text();
        box->buttons().at(1)->click();
    });
    EXPECT_EQ(dialogs.ask(threeButtons()), 1);
    EXPECT_EQ(seen, threeButtons().buttons);
    EXPECT_EQ(message, QStringLiteral("Build from the GitHub repo r?"));
}

TEST(WidgetDialogsTest, EscapeClosesTheAlertWithoutAButton)
{
    WidgetDialogs dialogs;
    whenShown([](QMessageBox* box) { QTest::keyClick(box, Qt::Key_Escape); });
    EXPECT_EQ(dialogs.ask(threeButtons()), std::nullopt);
}

TEST(WidgetDialogsTest, ClosingTheWindowAnswersClosed)
{
    WidgetDialogs dialogs;
    whenShown([](QMessageBox* box) { box->close(); });
    EXPECT_EQ(dialogs.ask(threeButtons()), std::nullopt);
}

TEST(WidgetDialogsTest, RepositoryAlertShowsItsButtonsInOrderAndTheSecondBuildsWithoutImporting)
{
    WidgetDialogs dialogs;
    const RepoLink link = RepoLink::detect(QStringLiteral("github.com/o/Notes")).value();
    QStringList seen;
    QString informative;
    whenShown([&](QMessageBox* box) {
        seen = labelsLeftToRight(box);
        informative = box->informativeText();
        QAbstractButton* second = nullptr;
        for (QAbstractButton* button : box->buttons())
            if (button->text() == QStringLiteral("Build without importing"))
                second = button;
        QTest::mouseClick(second, Qt::LeftButton);
    });
    EXPECT_EQ(link.confirm(dialogs), RepoLink::Choice::buildWithoutImporting);
    EXPECT_EQ(seen, (QStringList{QStringLiteral("Import and build"),
                                 QStringLiteral("Build without importing"), QStringLiteral("Cancel")}));
    EXPECT_TRUE(
        informative.endsWith(QStringLiteral("\n\nOr build without importing: the link is then just text in "
                                            "your request.")));
}
