// The conversation's bubbles in the window, over a scripted service: where each bubble stands, how
// wide it gets, how the list scrolls and keeps its place, selecting and copying text, and what a
// refresh touches.

#include "conversation/chat_view.h"
#include "conversation_window.h"
#include "qt_printers.h"
#include "recording_server.h"
#include "task_runner.h"
#include "temp_home.h"
#include "ui/app/palette.h"
#include "ui/conversation/bubble_delegate.h"
#include "ui/conversation/bubble_list_model.h"
#include "ui/conversation/bubble_list_view.h"
#include "ui/conversation/chat_view_widget.h"
#include "ui/conversation/status_area_widget.h"
#include "ui/shared/accent.h"
#include "ui/shared/metrics.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

QJsonObject message(int index, const QString& role, const QString& content)
{
    return QJsonObject{{QStringLiteral("id"), QStringLiteral("m%1").arg(index)},
                       {QStringLiteral("role"), role},
                       {QStringLiteral("content"), content}};
}

QString request(int index)
{
    return QStringLiteral(
               "Message %1: make the timer start at five minutes and show the remaining seconds in "
               "a large rounded font, with a soft chime at the end.")
        .arg(index);
}

class BubbleListTest : public ::testing::Test
{
protected:
    BubbleListTest()
    {
        server.setHandler([this](const RecordedRequest& req) {
            if (req.method == "GET" && req.path() == QLatin1String("/api/projects/p1"))
                return ScriptedReply::json(200, ConversationWindow::detail(messages, {}));
            return ScriptedReply::json(404, R"({"message":"Not found"})");
        });
    }

    void addMessages(int count)
    {
        for (int i = 0; i < count; ++i) {
            const int index = int(messages.size());
            messages.append(message(index, index % 2 ? QStringLiteral("assistant") : QStringLiteral("user"),
                                    request(index)));
        }
    }

    // Messages of many lengths, some with line breaks, whose heights a guess from their length gets
    // wrong.
    void addMixedMessages(int count)
    {
        for (int i = 0; i < count; ++i) {
            const int index = int(messages.size());
            QString content = request(index).repeated(1 + index % 4);
            if (index % 3 == 0)
                content = QStringLiteral("Ok");
            else if (index % 5 == 0)
                content.replace(QStringLiteral(", "), QStringLiteral(",\n"));
            else if (index % 7 == 0)
                content = QStringLiteral("ill lit little lilies ").repeated(4 + index % 9); // narrow letters
            else if (index % 11 == 0)
                content = QStringLiteral("WOW MMM WMW ").repeated(4 + index % 13); // wide ones
            messages.append(
                message(index, index % 2 ? QStringLiteral("assistant") : QStringLiteral("user"), content));
        }
    }

    // A shown conversation that has loaded what the service holds now.
    ChatViewWidget& open(QSize size = QSize(800, 600))
    {
        window.open(size);
        EXPECT_TRUE(QTest::qWaitForWindowExposed(widget.get()));
        EXPECT_TRUE(spinUntil([&] { return widget->chatView()->loaded(); }));
        settle();
        return *widget;
    }

    void refresh()
    {
        const auto done = run(widget->chatView()->refresh());
        ASSERT_TRUE(done.ok()) << done.errorText().toStdString();
        settle();
    }

    // Lets queued layout work and painting happen, and what they queue in turn.
    static void settle()
    {
        for (int round = 0; round < 3; ++round)
            drainPostedEvents();
    }

    BubbleListView& list() { return *widget->list(); }
    QRect column() { return QRect(list().rowRect(0).left(), 0, list().rowRect(0).width(), 1); }

    TempHome home;
    RecordingServer server;
    QJsonArray messages;
    ConversationWindow window{home, server.baseUrl()};
    std::unique_ptr<ChatViewWidget>& widget = window.widget;
};

} // namespace

TEST_F(BubbleListTest, UserBubblesStandOnTheTrailingSideAndOthersOnTheLeadingSide)
{
    messages.append(message(0, QStringLiteral("user"), QStringLiteral("A pocket timer")));
    messages.append(message(1, QStringLiteral("assistant"), QStringLiteral("Here is a timer.")));
    messages.append(message(2, QStringLiteral("system"), QStringLiteral("Build started")));
    open();
    const QRect row = list().rowRect(0);
    EXPECT_EQ(list().bubbleRect(0).right(), row.right());
    EXPECT_GT(list().bubbleRect(0).left(), row.left() + row.width() / 2) << "a short bubble stays right";
    EXPECT_EQ(list().bubbleRect(1).left(), row.left());
    EXPECT_EQ(list().bubbleRect(2).left(), row.left());

    widget->setLayoutDirection(Qt::RightToLeft);
    settle();
    EXPECT_EQ(list().bubbleRect(0).left(), list().rowRect(0).left())
        << "trailing is the left in right-to-left";
    EXPECT_EQ(list().bubbleRect(1).right(), list().rowRect(1).right());
}

TEST_F(BubbleListTest, MarkupInAMessageIsShownAsTheCharactersItIs)
{
    messages.append(message(0, QStringLiteral("assistant"), QStringLiteral("<b>x</b>")));
    open();
    const QFontMetrics metrics(list().font());
    // Drawn as rich text the bubble would hold one bold "x"; drawn as it is, all eight characters.
    EXPECT_NEAR(list().bubbleRect(0).width(),
                metrics.horizontalAdvance(QStringLiteral("<b>x</b>")) + 2 * metrics::bubblePaddingX, 1);
    list().selectAll();
    EXPECT_EQ(list().selectedText(), QStringLiteral("<b>x</b>"));
    QAccessibleInterface* bubbles = QAccessible::queryAccessibleInterface(list().viewport());
    ASSERT_NE(bubbles, nullptr);
    EXPECT_EQ(bubbles->child(0)->text(QAccessible::Name), QStringLiteral("<b>x</b>"));
}

TEST_F(BubbleListTest, BubbleIsNeverWiderThan480AtAnyWindowWidth)
{
    messages.append(message(0, QStringLiteral("user"), request(0).repeated(8)));
    messages.append(message(1, QStringLiteral("assistant"), request(1).repeated(8)));
    messages.append(message(2, QStringLiteral("assistant"), QStringLiteral("Short")));
    open(QSize(320, 500));
    for (const int width : {320, 480, 560, 900, 1600, 3000}) {
        widget->resize(width, 500);
        settle();
        for (int row = 0; row < 3; ++row) {
            const QRect bubble = list().bubbleRect(row);
            EXPECT_LE(bubble.width(), metrics::bubbleMaxWidth) << width;
            EXPECT_GE(bubble.left(), 0) << width;
            EXPECT_LE(bubble.right(), list().viewport()->width()) << width;
        }
        EXPECT_GT(list().bubbleRect(0).width(),
                  0.9 * std::min(metrics::bubbleMaxWidth, list().rowRect(0).width()))
            << "a long message nearly fills the widest bubble at " << width;
        EXPECT_LT(list().bubbleRect(2).width(), 100) << "a short one is as wide as its text";
    }
}

TEST_F(BubbleListTest, OpensAtTheEndAndGoesToTheEndWhenAMessageArrives)
{
    addMessages(60);
    open();
    EXPECT_TRUE(list().isAtEnd());
    EXPECT_GT(list().verticalScrollBar()->maximum(), 0);
    list().verticalScrollBar()->setValue(0);
    settle();
    ASSERT_FALSE(list().isAtEnd());
    addMessages(1);
    refresh();
    EXPECT_TRUE(list().isAtEnd());
    EXPECT_TRUE(list().viewport()->rect().contains(list().bubbleRect(60)))
        << "the new bubble is on the screen";
}

TEST_F(BubbleListTest, RefreshWithoutChangeKeepsTheScrolledUpPlaceAndTheSelectionAndTouchesNoRow)
{
    addMessages(60);
    open();
    list().verticalScrollBar()->setValue(list().verticalScrollBar()->maximum() / 3);
    settle();
    const int place = list().verticalScrollBar()->value();
    const int row = list().rowAt(QPoint(list().viewport()->width() / 2, 40));
    ASSERT_GE(row, 0);
    const QRect bubble = list().bubbleRect(row);
    QTest::mouseDClick(list().viewport(), Qt::LeftButton, {}, bubble.topLeft() + QPoint(16, 14));
    ASSERT_TRUE(list().hasSelection());
    const QString selected = list().selectedText();
    settle();

    QSignalSpy inserted(widget->bubbles(), &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(widget->bubbles(), &QAbstractItemModel::rowsRemoved);
    QSignalSpy changed(widget->bubbles(), &QAbstractItemModel::dataChanged);
    QSignalSpy reset(widget->bubbles(), &QAbstractItemModel::modelReset);
    const int layouts = list().delegate()->layoutsMade();
    const int frames = list().framesPainted();
    const int redraws = widget->statusArea()->redraws();
    refresh();
    refresh();
    EXPECT_EQ(inserted.size() + removed.size() + changed.size() + reset.size(), 0);
    EXPECT_EQ(list().delegate()->layoutsMade(), layouts);
    EXPECT_EQ(list().framesPainted(), frames) << "nothing was drawn again";
    EXPECT_EQ(widget->statusArea()->redraws(), redraws);
    EXPECT_EQ(list().verticalScrollBar()->value(), place);
    EXPECT_EQ(list().selectedText(), selected);
}

TEST_F(BubbleListTest, MessageChangedInPlaceChangesItsRowAndLeavesTheScrolledUpPlace)
{
    addMessages(60);
    open();
    list().verticalScrollBar()->setValue(list().verticalScrollBar()->maximum() / 3);
    settle();
    const int place = list().verticalScrollBar()->value();

    QSignalSpy inserted(widget->bubbles(), &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(widget->bubbles(), &QAbstractItemModel::rowsRemoved);
    QSignalSpy changed(widget->bubbles(), &QAbstractItemModel::dataChanged);
    // The service wrote more of its last answer.
    QJsonObject last = messages.last().toObject();
    const QString longer =
        last.value(QStringLiteral("content")).toString() + QStringLiteral(" And one more thing.");
    last.insert(QStringLiteral("content"), longer);
    messages.replace(messages.size() - 1, last);
    refresh();
    EXPECT_EQ(inserted.size() + removed.size(), 0);
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex().row(), 59);
    EXPECT_EQ(changed[0][1].toModelIndex().row(), 59);
    EXPECT_TRUE(
        widget->bubbles()->index(59).data().toString().endsWith(QStringLiteral("And one more thing.")));
    EXPECT_EQ(list().verticalScrollBar()->value(), place) << "the reader stays where they were";
}

TEST_F(BubbleListTest, RefreshThatAddsOneMessageToTenThousandInsertsOneRowAndLaysOutOnlyIt)
{
    addMessages(10'000);
    open();
    ASSERT_EQ(list().rowCount(), 10'000);
    QSignalSpy inserted(widget->bubbles(), &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(widget->bubbles(), &QAbstractItemModel::rowsRemoved);
    QSignalSpy reset(widget->bubbles(), &QAbstractItemModel::modelReset);
    const int layouts = list().delegate()->layoutsMade();
    addMessages(1);
    refresh();
    ASSERT_EQ(inserted.size(), 1);
    EXPECT_EQ(inserted[0][1].toInt(), 10'000);
    EXPECT_EQ(inserted[0][2].toInt(), 10'000);
    EXPECT_EQ(removed.size() + reset.size(), 0);
    EXPECT_EQ(list().delegate()->layoutsMade(), layouts + 1);
}

TEST_F(BubbleListTest, TenThousandMessagesOpenLayingOutOnlyTheBubblesNearTheScreen)
{
    addMessages(10'000);
    open();
    EXPECT_TRUE(list().isAtEnd());
    EXPECT_LT(list().delegate()->layoutsMade(), 60);
    EXPECT_TRUE(list().viewport()->rect().contains(list().bubbleRect(9'999)));
}

TEST_F(BubbleListTest, ScrollingUpKeepsTheBubblesOnTheScreenWhereTheReaderSawThem)
{
    addMixedMessages(2'000);
    open();
    QScrollBar* bar = list().verticalScrollBar();
    const int layouts = list().delegate()->layoutsMade();
    for (int step = 0; step < 40; ++step) {
        // The bubble at the top moves down by exactly a page, however wrong the guessed heights of
        // the bubbles that come into view above it were.
        const int row = list().rowAt(QPoint(list().viewport()->width() / 2, 4));
        ASSERT_GE(row, 0);
        const int before = list().rowRect(row).top();
        bar->triggerAction(QAbstractSlider::SliderPageStepSub);
        settle();
        EXPECT_EQ(list().rowRect(row).top(), before + bar->pageStep()) << "step " << step;
    }
    EXPECT_GT(list().delegate()->layoutsMade(), layouts + 40) << "rows were laid out as they came into view";
}

TEST_F(BubbleListTest, ScrollingFromTopToEndShowsEveryBubbleLaidOutAndEndsAtTheEnd)
{
    addMixedMessages(500);
    open();
    QScrollBar* bar = list().verticalScrollBar();
    bar->setValue(0);
    settle();
    int pages = 0;
    while (!list().isAtEnd() && pages < 1000) {
        bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
        settle();
        ++pages;
        // Every bubble on the screen has its real size: the bubble and the gap fill its row.
        for (int y = 0; y < list().viewport()->height(); y += 20) {
            const int row = list().rowAt(QPoint(10, y));
            if (row >= 0) {
                EXPECT_EQ(list().bubbleRect(row).height() + BubbleDelegate::rowGap,
                          list().rowRect(row).height());
            }
        }
    }
    EXPECT_TRUE(list().isAtEnd());
    EXPECT_GT(pages, 10);
}

TEST_F(BubbleListTest, DraggingOverABubbleSelectsItsTextAndCopyPutsItOnTheClipboard)
{
    messages.append(message(0, QStringLiteral("assistant"), QStringLiteral("Here is your timer app.")));
    messages.append(message(1, QStringLiteral("user"), QStringLiteral("Make it blue")));
    open();
    const QRect first = list().bubbleRect(0);
    const QPoint start = first.topLeft() + QPoint(metrics::bubblePaddingX, first.height() / 2);
    const QPoint end = first.topRight() + QPoint(-2, first.height() / 2);
    QTest::mousePress(list().viewport(), Qt::LeftButton, {}, start);
    QMouseEvent move(QEvent::MouseMove, end, list().viewport()->mapToGlobal(end), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(list().viewport(), &move);
    QTest::mouseRelease(list().viewport(), Qt::LeftButton, {}, end);
    EXPECT_EQ(list().selectedText(), QStringLiteral("Here is your timer app."));

    QGuiApplication::clipboard()->clear();
    QTest::keyClick(&list(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("Here is your timer app."));
}

TEST_F(BubbleListTest, SelectionRunsAcrossBubblesAndDoubleClickSelectsAWord)
{
    messages.append(message(0, QStringLiteral("assistant"), QStringLiteral("Here is your timer app.")));
    messages.append(message(1, QStringLiteral("user"), QStringLiteral("Make it blue")));
    open();
    const QRect first = list().bubbleRect(0);
    const QRect second = list().bubbleRect(1);
    const QPoint word = first.topLeft() + QPoint(metrics::bubblePaddingX + 2, first.height() / 2);
    QTest::mouseDClick(list().viewport(), Qt::LeftButton, {}, word);
    EXPECT_EQ(list().selectedText(), QStringLiteral("Here"));

    const QPoint end = second.bottomRight() + QPoint(0, 4);
    QTest::mouseClick(list().viewport(), Qt::LeftButton, Qt::ShiftModifier, end);
    EXPECT_EQ(list().selectedText(), QStringLiteral("Here is your timer app.\n\nMake it blue"));

    QTest::keyClick(&list(), Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(list().selectedText(), QStringLiteral("Here is your timer app.\n\nMake it blue"));
}

TEST_F(BubbleListTest, ScreenReaderReadsEveryBubbleAsAListItemWithItsTextAndWriter)
{
    messages.append(message(0, QStringLiteral("user"), QStringLiteral("A pocket timer")));
    messages.append(message(1, QStringLiteral("assistant"), QStringLiteral("Here is a timer.")));
    open();
    QAccessibleInterface* bubbles = QAccessible::queryAccessibleInterface(list().viewport());
    ASSERT_NE(bubbles, nullptr);
    EXPECT_EQ(bubbles->role(), QAccessible::List);
    ASSERT_GE(bubbles->childCount(), 2);
    QAccessibleInterface* mine = bubbles->child(0);
    EXPECT_EQ(mine->role(), QAccessible::ListItem);
    EXPECT_EQ(mine->text(QAccessible::Name), QStringLiteral("A pocket timer"));
    EXPECT_EQ(mine->text(QAccessible::Description), QStringLiteral("You"));
    EXPECT_EQ(bubbles->child(1)->text(QAccessible::Description), QStringLiteral("Brightloom"));
    EXPECT_EQ(bubbles->indexOfChild(mine), 0);
    EXPECT_EQ(mine->parent(), bubbles);
    const QRect bubble = list().bubbleRect(1);
    EXPECT_EQ(mine->rect().size(), list().bubbleRect(0).size());
    EXPECT_EQ(bubbles->childAt(list().viewport()->mapToGlobal(bubble.center()).x(),
                               list().viewport()->mapToGlobal(bubble.center()).y()),
              bubbles->child(1));
}

TEST_F(BubbleListTest, LineBreaksInAMessageStartNewLinesAndAreCopiedAsTheyAre)
{
    messages.append(message(0, QStringLiteral("assistant"), QStringLiteral("one\ntwo\nthree")));
    messages.append(message(1, QStringLiteral("assistant"), QStringLiteral("one")));
    open();
    const int line = QFontMetrics(list().font()).lineSpacing();
    EXPECT_NEAR(list().bubbleRect(0).height() - list().bubbleRect(1).height(), 2 * line, 2);
    EXPECT_LT(list().bubbleRect(0).width(), list().bubbleRect(1).width() * 3)
        << "three short lines, not one long";
    list().selectAll();
    EXPECT_EQ(list().selectedText(), QStringLiteral("one\ntwo\nthree\n\none"));
}

TEST_F(BubbleListTest, UserBubbleIsBlackTextOnTheAccentWithRoundedCorners)
{
    messages.append(message(0, QStringLiteral("user"), QStringLiteral("Make the timer blue")));
    open();
    const QRect bubble = list().bubbleRect(0);
    const QImage picture = list().viewport()->grab().toImage();
    EXPECT_EQ(picture.pixelColor(bubble.left() + 4, bubble.center().y()).rgb(), accent().rgb());
    EXPECT_NE(picture.pixelColor(bubble.topLeft()).rgb(), accent().rgb()) << "the corner is rounded off";
    EXPECT_EQ(picture.pixelColor(bubble.topLeft()).rgb(), list().palette().color(QPalette::Window).rgb());
    int darkest = 255;
    for (int x = bubble.left(); x <= bubble.right(); ++x)
        darkest = std::min(darkest, picture.pixelColor(x, bubble.center().y()).lightness());
    EXPECT_LT(darkest, 60) << "black text";
}

TEST_F(BubbleListTest, OthersBubbleIsAFaintWashOfTheTextColourAndReadsInTheDarkPalette)
{
    messages.append(message(0, QStringLiteral("assistant"), QStringLiteral("Here is your timer")));
    for (const QPalette& palette : {lightPalette(), darkPalette()}) {
        open();
        widget->setPalette(palette);
        settle();
        const QRect bubble = list().bubbleRect(0);
        const QImage picture = list().viewport()->grab().toImage();
        const QColor window = palette.color(QPalette::Window);
        const QColor text = palette.color(QPalette::Text);
        const QColor fill = picture.pixelColor(bubble.left() + 4, bubble.center().y());
        // The text colour at 0.08 over the window: a step towards the text, far from it.
        EXPECT_NEAR(fill.red(), window.red() + (text.red() - window.red()) * 0.08, 2);
        int farthest = 0;
        for (int x = bubble.left(); x <= bubble.right(); ++x)
            farthest = std::max(farthest, std::abs(picture.pixelColor(x, bubble.center().y()).lightness() -
                                                   fill.lightness()));
        EXPECT_GT(farthest, 100) << "the text stands out from its bubble";
    }
}
