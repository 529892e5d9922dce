#include "text/characters.h"
#include "ui/conversation/composer.h"
#include "ui/conversation/flow_chips.h"
#include "ui/conversation/growing_text_view.h"
#include "ui/conversation/send_button.h"

#include <QApplication>
#include <QClipboard>
#include <QInputMethodEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::ui;

namespace {

Composer::Options conversationOptions()
{
    Composer::Options options;
    options.placeholder = QStringLiteral("Ask for changes…");
    options.minHeight = 56;
    options.maxHeight = 200;
    options.maxLength = 8000;
    return options;
}

// A composer in a shown, active window, as a person would meet it.
struct ComposerTest : ::testing::Test
{
    QWidget window;
    Composer* composer = nullptr;

    void make(const Composer::Options& options = conversationOptions())
    {
        composer = new Composer(options, &window);
        window.resize(520, 420);
        composer->setGeometry(10, 10, 500, 400);
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        composer->textView()->setFocus();
    }

    GrowingTextView* view() const { return composer->textView(); }

    // Heights are applied after the layout pass: let it run.
    void settle() const
    {
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
    }
};

} // namespace

TEST_F(ComposerTest, PastingNineThousandCharactersKeepsTheFirstEightThousand)
{
    make();
    QString pasted;
    for (int i = 0; i < 9000; ++i)
        pasted += QChar(u'a' + i % 26);
    QApplication::clipboard()->setText(pasted);
    QTest::keyClick(view(), Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(composer->text(), pasted.left(8000));
    EXPECT_EQ(view()->toPlainText().size(), 8000);
}

TEST_F(ComposerTest, PastedEmojiAreCountedAsCharactersAndNeverSplit)
{
    make();
    QString pasted;
    for (int i = 0; i < 9000; ++i)
        pasted += QStringLiteral("\U0001F600");
    QApplication::clipboard()->setText(pasted);
    QTest::keyClick(view(), Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(text::characterCount(composer->text()), 8000);
    EXPECT_EQ(composer->text().size(), 16000);
    EXPECT_EQ(composer->characterCount(), 8000);
}

TEST_F(ComposerTest, ReturnSubmitsOnceAndAddsNoNewLine)
{
    make();
    QSignalSpy submitted(composer, &Composer::submitted);
    QTest::keyClicks(view(), QStringLiteral("hello"));
    QTest::keyClick(view(), Qt::Key_Return);
    EXPECT_EQ(submitted.count(), 1);
    EXPECT_EQ(composer->text(), QStringLiteral("hello"));
}

TEST_F(ComposerTest, ShiftReturnAddsALineAndDoesNotSubmit)
{
    make();
    QSignalSpy submitted(composer, &Composer::submitted);
    QTest::keyClicks(view(), QStringLiteral("a"));
    QTest::keyClick(view(), Qt::Key_Return, Qt::ShiftModifier);
    QTest::keyClicks(view(), QStringLiteral("b"));
    EXPECT_EQ(submitted.count(), 0);
    EXPECT_EQ(composer->text(), QStringLiteral("a\nb"));
}

TEST_F(ComposerTest, ReturnWhileAnInputMethodComposesConfirmsTheCompositionAndDoesNotSubmit)
{
    make();
    QSignalSpy submitted(composer, &Composer::submitted);
    QTest::keyClicks(view(), QStringLiteral("say "));
    QList<QInputMethodEvent::Attribute> attributes;
    attributes.append(QInputMethodEvent::Attribute(QInputMethodEvent::Cursor, 2, 1, QVariant()));
    QInputMethodEvent composing(QStringLiteral("ni"), attributes);
    QCoreApplication::sendEvent(view(), &composing);
    QTest::keyClick(view(), Qt::Key_Return);
    EXPECT_EQ(submitted.count(), 0);
    EXPECT_EQ(composer->text(), QStringLiteral("say ni"));
    // With the composition confirmed, the next Return sends.
    QTest::keyClick(view(), Qt::Key_Return);
    EXPECT_EQ(submitted.count(), 1);
}

TEST_F(ComposerTest, OneLineStaysAtTheMinimumHeight)
{
    make();
    QTest::keyClicks(view(), QStringLiteral("one line"));
    settle();
    EXPECT_EQ(view()->height(), 56);
}

TEST_F(ComposerTest, FiftyLinesStopAtTheMaximumHeightAndScroll)
{
    make();
    QStringList lines;
    for (int i = 1; i <= 50; ++i)
        lines << QStringLiteral("line %1").arg(i);
    composer->setText(lines.join(QLatin1Char('\n')));
    settle();
    EXPECT_EQ(view()->height(), 200);
    EXPECT_GT(view()->verticalScrollBar()->maximum(), 0);
}

TEST_F(ComposerTest, HeightGrowsWithTheTextBetweenTheLimits)
{
    make();
    composer->setText(QStringLiteral("1\n2\n3\n4\n5"));
    settle();
    const int five = view()->height();
    EXPECT_GT(five, 56);
    EXPECT_LT(five, 200);
    composer->setText(QStringLiteral("1"));
    settle();
    EXPECT_EQ(view()->height(), 56);
}

TEST_F(ComposerTest, CounterIsHiddenAt6799ShownAt6800AndRedAt8000)
{
    make();
    QLabel* counter = composer->counter();
    composer->setText(QString(6799, QLatin1Char('x')));
    EXPECT_FALSE(counter->isVisibleTo(composer));
    composer->setText(QString(6800, QLatin1Char('x')));
    EXPECT_TRUE(counter->isVisibleTo(composer));
    EXPECT_EQ(counter->text(), QStringLiteral("6800/8000"));
    EXPECT_EQ(counter->accessibleDescription(), QStringLiteral("6800 of 8000 characters"));
    EXPECT_NE(counter->palette().color(QPalette::WindowText), QColor(220, 38, 38));
    composer->setText(QString(8000, QLatin1Char('x')));
    EXPECT_EQ(counter->text(), QStringLiteral("8000/8000"));
    EXPECT_EQ(counter->palette().color(QPalette::WindowText), QColor(220, 38, 38));
}

TEST_F(ComposerTest, ChipsShowWhileEmptyAndHideAfterAPickThatFillsTheText)
{
    Composer::Options options = conversationOptions();
    options.examples = {QStringLiteral("A tool that renames files in bulk"), QStringLiteral("Another idea")};
    make(options);
    ASSERT_TRUE(composer->chips()->isVisibleTo(composer));
    const QList<QPushButton*> chips = composer->chips()->chips();
    ASSERT_EQ(chips.size(), 2);
    QTest::mouseClick(chips.front(), Qt::LeftButton);
    EXPECT_EQ(composer->text(), QStringLiteral("A tool that renames files in bulk"));
    EXPECT_FALSE(composer->chips()->isVisibleTo(composer));
    composer->setText(QString());
    EXPECT_TRUE(composer->chips()->isVisibleTo(composer));
}

TEST_F(ComposerTest, ChipsStayHiddenWhenReadOnlyOrWithoutExamples)
{
    make();
    EXPECT_FALSE(composer->chips()->isVisibleTo(composer));
    composer->setExamples({QStringLiteral("An idea")});
    EXPECT_TRUE(composer->chips()->isVisibleTo(composer));
    composer->setReadOnly(true);
    EXPECT_FALSE(composer->chips()->isVisibleTo(composer));
    QTest::keyClicks(view(), QStringLiteral("typed"));
    EXPECT_EQ(composer->text(), QString());
}

TEST_F(ComposerTest, SendButtonIsNamedForReadersAndActsOnlyWhenSendingIsAllowed)
{
    make();
    SendButton* send = composer->sendButton();
    EXPECT_EQ(send->accessibleName(), QStringLiteral("Send message"));
    EXPECT_EQ(send->toolTip(), QStringLiteral("Send (Return)"));
    QSignalSpy submitted(composer, &Composer::submitted);
    composer->setCanSend(false);
    QTest::mouseClick(send, Qt::LeftButton);
    EXPECT_EQ(submitted.count(), 0);
    composer->setCanSend(true);
    QTest::mouseClick(send, Qt::LeftButton);
    EXPECT_EQ(submitted.count(), 1);
}

TEST_F(ComposerTest, PlaceholderShowsWhileEmptyAndFocusIsReported)
{
    make();
    EXPECT_EQ(view()->placeholderText(), QStringLiteral("Ask for changes…"));
    EXPECT_EQ(composer->hint()->text(), QStringLiteral("Return to send · Shift+Return for a new line"));
    QSignalSpy focus(composer, &Composer::focusedChanged);
    view()->clearFocus();
    view()->setFocus();
    EXPECT_TRUE(composer->focused());
    EXPECT_GE(focus.count(), 1);
}
