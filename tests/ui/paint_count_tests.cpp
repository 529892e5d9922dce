// What an open conversation repaints while it waits: a counter's tick repaints the counter's own
// label and nothing around it, and a poll that brings nothing new repaints nothing at all.

#include "conversation/chat_view.h"
#include "conversation_window.h"
#include "recording_server.h"
#include "task_runner.h"
#include "temp_home.h"
#include "ui/conversation/chat_view_widget.h"
#include "ui/conversation/progress_row.h"
#include "ui/conversation/status_area_widget.h"
#include "ui/shared/busy_spinner.h"
#include "ui/shared/elapsed_seconds_label.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QPaintEvent>
#include <QTest>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

// Every paint event of the application's widgets, as regions of the top-level window.
class PaintLog final : public QObject
{
public:
    PaintLog() { qApp->installEventFilter(this); }
    ~PaintLog() override { qApp->removeEventFilter(this); }
    Q_DISABLE_COPY_MOVE(PaintLog)

    struct Paint
    {
        QWidget* widget;
        QRegion region; // in the window's coordinates
    };
    QList<Paint> paints;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && watched->isWidgetType()) {
            auto* widget = static_cast<QWidget*>(watched);
            const QRegion region = static_cast<QPaintEvent*>(event)->region();
            paints.append({widget, region.translated(widget->mapTo(widget->window(), QPoint(0, 0)))});
        }
        return false;
    }
};

// Lets every posted event and pending repaint of the window happen.
void settle()
{
    for (int i = 0; i < 5; ++i) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

class PaintCountTest : public ::testing::Test
{
protected:
    PaintCountTest()
    {
        server.setHandler([this](const RecordedRequest& request) {
            if (request.method == "GET" && request.path() == QLatin1String("/api/projects/p1"))
                return ScriptedReply::json(200, ConversationWindow::detail(messages, jobs));
            return ScriptedReply::json(404, R"({"message":"Not found"})");
        });
    }

    ChatViewWidget& open()
    {
        window.open(QSize(800, 600));
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.widget.get()));
        EXPECT_TRUE(spinUntil([&] { return window.widget->chatView()->loaded(); }));
        settle();
        return *window.widget;
    }

    void refresh()
    {
        const auto done = run(window.widget->chatView()->refresh());
        ASSERT_TRUE(done.ok()) << done.errorText().toStdString();
        settle();
    }

    TempHome home;
    RecordingServer server;
    QJsonArray messages{QJsonObject{{QStringLiteral("id"), QStringLiteral("m1")},
                                    {QStringLiteral("role"), QStringLiteral("user")},
                                    {QStringLiteral("content"), QStringLiteral("A timer for the menu bar")}}};
    QJsonArray jobs;
    ConversationWindow window{home, server.baseUrl()};
};

} // namespace

TEST_F(PaintCountTest, PollThatBringsNothingNewRepaintsNothing)
{
    jobs = {QJsonObject{{QStringLiteral("id"), QStringLiteral("j1")},
                        {QStringLiteral("status"), QStringLiteral("ready")}}};
    open();
    PaintLog log;
    refresh();
    refresh();
    EXPECT_TRUE(log.paints.isEmpty()) << log.paints.size() << " paint events, the first of "
                                      << log.paints.value(0).widget->metaObject()->className();
}

TEST_F(PaintCountTest, CounterTickRepaintsOnlyTheCountersOwnLabel)
{
    jobs = {
        QJsonObject{{QStringLiteral("id"), QStringLiteral("j1")},
                    {QStringLiteral("status"), QStringLiteral("building")},
                    {QStringLiteral("createdAt"), QDateTime::currentDateTimeUtc().toString(Qt::ISODate)}}};
    ChatViewWidget& widget = open();
    ProgressRow* row = widget.statusArea()->progress();
    ASSERT_TRUE(row->counter()->isVisible());
    // The spinner turns on a timer of its own; this test holds it still to see the counter alone.
    row->spinner()->hide();
    settle();
    QDateTime now = QDateTime::currentDateTimeUtc();
    row->counter()->setClock([&now] { return now; });
    // Twenty seconds in: the next dozen ticks all show two digits. (A tick that adds a digit or a
    // minute widens the label, and the row around it is laid out again: a few times in an hour.)
    row->counter()->setSince(now.addSecs(-20));
    settle();
    const QRect counter(row->counter()->mapTo(row->counter()->window(), QPoint(0, 0)),
                        row->counter()->size());

    for (int second = 0; second < 12; ++second) {
        PaintLog log;
        now = now.addSecs(1);
        row->counter()->redraw(); // what its once-a-second timer does
        settle();
        ASSERT_FALSE(log.paints.isEmpty()) << "the counter shows the new second";
        for (const PaintLog::Paint& paint : log.paints) {
            EXPECT_TRUE((paint.region - QRegion(counter)).isEmpty())
                << paint.widget->metaObject()->className()
                << " repainted outside the counter: " << paint.region.boundingRect().x() << ','
                << paint.region.boundingRect().y() << ' ' << paint.region.boundingRect().width() << 'x'
                << paint.region.boundingRect().height() << " against " << counter.x() << ',' << counter.y()
                << ' ' << counter.width() << 'x' << counter.height();
        }
    }
}
