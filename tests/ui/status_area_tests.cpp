// The status area under the conversation's bubbles, over a scripted service: which texts, buttons
// and pieces each state of the newest job shows, and that a refresh without change redraws nothing.

#include "accessible_walk.h"
#include "conversation/chat_view.h"
#include "conversation_window.h"
#include "recording_server.h"
#include "task_runner.h"
#include "temp_home.h"
#include "ui/conversation/chat_button_row.h"
#include "ui/conversation/chat_view_widget.h"
#include "ui/conversation/download_area_widget.h"
#include "ui/conversation/progress_row.h"
#include "ui/conversation/status_area_widget.h"
#include "ui/shared/accent.h"
#include "ui/shared/app_header.h"
#include "ui/shared/busy_spinner.h"
#include "ui/shared/elapsed_seconds_label.h"
#include "widget_lookup.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QVBoxLayout>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

QJsonObject job(const QString& id, const QString& status, const QString& mode = {})
{
    QJsonObject o{{QStringLiteral("id"), id}, {QStringLiteral("status"), status}};
    if (!mode.isEmpty())
        o.insert(QStringLiteral("mode"), mode);
    return o;
}

class StatusAreaTest : public ::testing::Test
{
protected:
    StatusAreaTest()
    {
        server.setHandler([this](const RecordedRequest& request) {
            if (request.method == "GET" && request.path() == QLatin1String("/api/projects/p1"))
                return ScriptedReply::json(200, ConversationWindow::detail({}, jobs));
            return ScriptedReply::json(404, R"({"message":"Not found"})");
        });
    }

    ChatViewWidget& open()
    {
        window.open(QSize(800, 600));
        EXPECT_TRUE(QTest::qWaitForWindowExposed(widget.get()));
        EXPECT_TRUE(spinUntil([&] { return widget->chatView()->loaded(); }));
        return *widget;
    }

    void refresh()
    {
        const auto done = run(widget->chatView()->refresh());
        ASSERT_TRUE(done.ok()) << done.errorText().toStdString();
    }

    QString status() const { return textDescribed(widget.get(), QStringLiteral("Build status")); }
    StatusAreaWidget& area() const { return *widget->statusArea(); }
    QString url(const QString& path) const { return server.baseUrl().toString() + path; }

    TempHome home;
    RecordingServer server;
    QJsonArray jobs;
    ConversationWindow window{home, server.baseUrl()};
    std::unique_ptr<ChatViewWidget>& widget = window.widget;
};

} // namespace

TEST_F(StatusAreaTest, WithoutAJobThereIsNoStatusArea)
{
    open();
    EXPECT_FALSE(area().isVisibleTo(widget.get()));
}

TEST_F(StatusAreaTest, StatusTextsFollowTheNewestJobWithASpinnerAndACounterWhileItRuns)
{
    open();
    const auto shows = [&](const QJsonArray& newestFirst) {
        jobs = newestFirst;
        refresh();
        return status();
    };
    EXPECT_EQ(shows({job(QStringLiteral("j1"), QStringLiteral("queued"))}),
              QStringLiteral("Queued \u2014 waiting for the build machine\u2026"));
    EXPECT_TRUE(area().progress()->spinner()->isVisibleTo(widget.get()));
    EXPECT_TRUE(area().progress()->counter()->isVisibleTo(widget.get()));
    EXPECT_EQ(shows({job(QStringLiteral("j1"), QStringLiteral("building"), QStringLiteral("source"))}),
              QStringLiteral("Writing the code in the cloud\u2026"));
    EXPECT_EQ(shows({job(QStringLiteral("j3"), QStringLiteral("building"), QStringLiteral("source-fix")),
                     job(QStringLiteral("j2"), QStringLiteral("ready"), QStringLiteral("source-fix")),
                     job(QStringLiteral("j1"), QStringLiteral("ready"), QStringLiteral("source"))}),
              QStringLiteral("Writing the code in the cloud\u2026 (fix 2 of 3)"));
    EXPECT_EQ(shows({job(QStringLiteral("j4"), QStringLiteral("building"))}),
              QStringLiteral("Building: starting\u2026"));
    QJsonObject compiling = job(QStringLiteral("j4"), QStringLiteral("building"));
    compiling.insert(QStringLiteral("stage"), QStringLiteral("compiling"));
    EXPECT_EQ(shows({compiling}), QStringLiteral("Building: compiling\u2026"));

    EXPECT_EQ(shows({job(QStringLiteral("j4"), QStringLiteral("failed"))}),
              QStringLiteral("Build failed. Send another message to try again."));
    EXPECT_FALSE(area().progress()->isVisibleTo(widget.get())) << "no spinner or counter for a failure";
    EXPECT_EQ(area().failedLabel(), labelDescribed(widget.get(), QStringLiteral("Build status")));
}

TEST_F(StatusAreaTest, ResultWithoutADiskImageOffersOneDownloadAppButtonFilledWithTheAccent)
{
    QJsonObject ready = job(QStringLiteral("j1"), QStringLiteral("ready"));
    ready.insert(QStringLiteral("downloadUrl"), url(QStringLiteral("files/app.zip")));
    ready.insert(QStringLiteral("version"), QStringLiteral("1.2"));
    jobs = {ready};
    open();
    const QList<QPushButton*> buttons = area().download()->downloads()->buttons();
    ASSERT_EQ(buttons.size(), 1);
    EXPECT_EQ(buttons[0]->text(), QStringLiteral("Download app"));
    EXPECT_EQ(buttonNamed(widget.get(), QStringLiteral(".zip instead")), nullptr);
    const QImage look = buttons[0]->grab().toImage();
    EXPECT_EQ(look.pixelColor(6, look.height() / 2).rgb(), accent().rgb());
    EXPECT_EQ(area().download()->header()->nameLabel()->text(), QStringLiteral("Timer"))
        << "the project's name";
    EXPECT_EQ(area().download()->header()->versionLabel()->text(), QStringLiteral("Version 1.2"));
}

TEST_F(StatusAreaTest, FailedDownloadShowsItsErrorInTheErrorLineAndTheButtonComesBack)
{
    QJsonObject ready = job(QStringLiteral("j1"), QStringLiteral("ready"));
    ready.insert(QStringLiteral("downloadUrl"), url(QStringLiteral("files/app.zip")));
    ready.insert(QStringLiteral("dmgUrl"), url(QStringLiteral("files/gone.dmg")));
    jobs = {ready};
    open();
    QAbstractButton* dmg = waitForButton(widget.get(), QStringLiteral("Download app (.dmg)"));
    ASSERT_NE(dmg, nullptr);
    QTest::mouseClick(dmg, Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return widget->errorLine()->isVisibleTo(widget.get()); }));
    EXPECT_FALSE(widget->errorLine()->text().isEmpty());
    EXPECT_EQ(widget->errorLine()->text(), widget->chatView()->errorText());
    EXPECT_EQ(dmg->text(), QStringLiteral("Download app (.dmg)"));
    EXPECT_TRUE(dmg->isEnabled());
    EXPECT_TRUE(area().download()->savedLabels().isEmpty());
}

TEST_F(StatusAreaTest, RefreshWithoutChangeRedrawsNothingAndKeepsTheSameButtons)
{
    QJsonObject ready = job(QStringLiteral("j1"), QStringLiteral("ready"));
    ready.insert(QStringLiteral("downloadUrl"), url(QStringLiteral("files/app.zip")));
    ready.insert(QStringLiteral("dmgUrl"), url(QStringLiteral("files/app.dmg")));
    jobs = {ready};
    open();
    QAbstractButton* dmg = waitForButton(widget.get(), QStringLiteral("Download app (.dmg)"));
    ASSERT_NE(dmg, nullptr);
    const int redraws = area().redraws();
    refresh();
    refresh();
    EXPECT_EQ(area().redraws(), redraws);
    EXPECT_EQ(buttonNamed(widget.get(), QStringLiteral("Download app (.dmg)")), dmg);
}

TEST(ChatButtonRowTest, ButtonsShowAtOnceAndStayTheSameWhenOnlyTheirTextChanges)
{
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* row = new ChatButtonRow({}, &window);
    layout->addWidget(row);
    window.resize(400, 80);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    ChatButton dmg{QStringLiteral("Download app (.dmg)"), ChatAction::downloadDmg, {}, true, true};
    row->setButtons({dmg});
    ASSERT_EQ(row->buttons().size(), 1);
    QPushButton* shown = row->buttons().front();
    EXPECT_TRUE(shown->isVisible()) << "shown now, not later from the event loop";

    dmg.label = QStringLiteral("Downloading\u2026");
    dmg.enabled = false;
    row->setButtons({dmg});
    EXPECT_EQ(row->buttons().front(), shown);
    EXPECT_EQ(shown->text(), QStringLiteral("Downloading\u2026"));
    EXPECT_EQ(shown->accessibleName(), QStringLiteral("Downloading\u2026"));
    EXPECT_FALSE(shown->isEnabled());

    QList<ChatButton> clicked;
    QObject::connect(row, &ChatButtonRow::triggered, row, [&](const ChatButton& b) { clicked.append(b); });
    const ChatButton open{QStringLiteral("Open .dmg"), ChatAction::open, QStringLiteral("/tmp/a.dmg")};
    row->setButtons({open});
    ASSERT_EQ(row->buttons().size(), 1);
    ASSERT_TRUE(spinUntil([&] { return row->buttons().front()->width() > 0; })) << "laid out";
    QTest::mouseClick(row->buttons().front(), Qt::LeftButton);
    ASSERT_EQ(clicked.size(), 1);
    EXPECT_EQ(clicked.front(), open);

    row->setButtons({});
    EXPECT_FALSE(row->isVisible()) << "an empty row takes no room";
}

TEST_F(StatusAreaTest, EveryControlIsNamedAndItsAccessibleActionDoesWhatAClickDoes)
{
    QJsonObject ready = job(QStringLiteral("j1"), QStringLiteral("ready"));
    ready.insert(QStringLiteral("downloadUrl"), url(QStringLiteral("files/app.zip")));
    ready.insert(QStringLiteral("dmgUrl"), url(QStringLiteral("files/app.dmg")));
    jobs = {ready};
    expectActionsDoWhatClicksDo(
        [&]() -> QWidget* {
            widget.reset();
            open();
            waitForButton(widget.get(), QStringLiteral("Download app (.dmg)"));
            return widget.get();
        },
        2);
}
