#include "scripted_dialogs.h"

#include <gtest/gtest.h>

using namespace brightloom;

namespace {

Alert question()
{
    Alert alert;
    alert.message = QStringLiteral("Compile on this Mac?");
    alert.buttons = {QStringLiteral("Compile on this Mac"), QStringLiteral("Cancel")};
    return alert;
}

} // namespace

TEST(ScriptedDialogsTest, AnswersInTheOrderGivenAndKeepsEveryAlert)
{
    ScriptedDialogs dialogs;
    dialogs.pressNext(1);
    dialogs.pressNext(QStringLiteral("Compile on this Mac"));
    EXPECT_EQ(dialogs.ask(question()), 1);
    EXPECT_EQ(dialogs.ask(question()), 0);
    EXPECT_EQ(dialogs.shown().size(), 2);
    EXPECT_EQ(dialogs.shown().front(), question());
}

TEST(ScriptedDialogsTest, AlertWithoutAnAnswerLeftIsClosed)
{
    ScriptedDialogs dialogs;
    EXPECT_EQ(dialogs.ask(question()), std::nullopt);
    dialogs.closeNext();
    EXPECT_EQ(dialogs.ask(question()), std::nullopt);
}

TEST(ScriptedDialogsTest, AnswerNamingNoButtonOfTheAlertClosesIt)
{
    ScriptedDialogs dialogs;
    dialogs.pressNext(QStringLiteral("Import and build"));
    dialogs.pressNext(5);
    EXPECT_EQ(dialogs.ask(question()), std::nullopt);
    EXPECT_EQ(dialogs.ask(question()), std::nullopt);
}
