// The conversation in the window against the stand-in service, its job clock stepped through the
// control interface: sending, the status texts, downloading and opening the result, and the build
// on this machine with the stand-in developer tools.

#include "conversation/chat_view.h"
#include "devserver_client.h"
#include "hand_clock.h"
#include "localbuild/local_builds.h"
#include "qt_printers.h"
#include "recording_desktop.h"
#include "recording_server.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "task_runner.h"
#include "temp_home.h"
#include "ui/app/window_screens.h"
#include "ui/conversation/bubble_list_model.h"
#include "ui/conversation/bubble_list_view.h"
#include "ui/conversation/chat_view_widget.h"
#include "ui/conversation/composer.h"
#include "ui/conversation/download_area_widget.h"
#include "ui/conversation/growing_text_view.h"
#include "ui/conversation/local_build_area.h"
#include "ui/conversation/progress_row.h"
#include "ui/conversation/send_button.h"
#include "ui/conversation/status_area_widget.h"
#include "ui/shared/app_header.h"
#include "ui/shared/elapsed_seconds_label.h"
#include "ui/shared/unsafe_banner.h"
#include "widget_lookup.h"

#include <QAccessible>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontMetricsF>
#include <QJsonObject>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QtTest/qtestspontaneevent.h>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

// The client trusts one extra certificate per process, read when its first request loads the TLS
// library, so every stand-in service of this program speaks with the same test certificate. Only
// the file is made here: the TLS library loads when a test first needs it.
class SharedCertificate final : public ::testing::Environment
{
public:
    void SetUp() override { qputenv("BRIGHTLOOM_CA_FILE", TestCertificate::sharedFile().toUtf8()); }
};
const auto* const sharedCertificate = ::testing::AddGlobalTestEnvironment(new SharedCertificate);

// What a screen reader reads a widget by.
QString spokenName(QWidget* widget)
{
    QAccessibleInterface* face = QAccessible::queryAccessibleInterface(widget);
    return face ? face->text(QAccessible::Name) : QString();
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(bytes);
}

class ChatViewWidgetTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const QString data = home.path() + QStringLiteral("/service");
        QDir().mkpath(data);
        writeFile(data + QStringLiteral("/key.pem"), TestCertificate::shared().key.toPem());
        writeFile(data + QStringLiteral("/cert.pem"), TestCertificate::shared().certificate.toPem());
        try {
            server = std::make_unique<DevServer>(
                data,
                QStringList{QStringLiteral("--control"), QStringLiteral("--speed"), QStringLiteral("3600")});
        } catch (const std::exception& error) {
            FAIL() << error.what();
        }
        control = std::make_unique<Client>(*server);
        home.setEnv("BRIGHTLOOM_URL", server->baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        home.setEnv("BRIGHTLOOM_TOOLS_DIR", BRIGHTLOOM_STANDIN_TOOLS_DIR);
        api = std::make_unique<API>();
        const auto signedIn = run(api->signIn(demoEmail, demoPassword));
        ASSERT_TRUE(signedIn.ok()) << signedIn.errorText().toStdString();
    }

    void TearDown() override
    {
        widget.reset();
        local.reset();
    }

    Project create(const QString& prompt, bool source, std::optional<QString> importRepo = std::nullopt)
    {
        const auto made = run(api->createProject(prompt, source, importRepo, std::nullopt));
        EXPECT_TRUE(made.ok()) << made.errorText().toStdString();
        for (const Project& project : api->projects()) {
            if (made.value && project.id == *made.value)
                return project;
        }
        ADD_FAILURE() << "the new project is not listed";
        return {};
    }

    // Polls every 30 ms, or on `clock` when one is given.
    ChatViewWidget& open(const Project& project, std::shared_ptr<HandClock> clock = nullptr)
    {
        widget.reset(conversationScreen(*api, *local, icons, desktop, project));
        widget->chatView()->setPollIntervals(
            {std::chrono::milliseconds(30), std::chrono::milliseconds(30), std::chrono::milliseconds(30)});
        if (clock)
            widget->chatView()->setPollWait(waitsOn(clock));
        widget->chatView()->startPolling();
        localTexts.clear();
        recordLocalTexts();
        widget->resize(820, 640);
        widget->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(widget.get()));
        EXPECT_TRUE(spinUntil([&] { return widget->chatView()->loaded(); }));
        return *widget;
    }

    void controlCall(const QString& path, const QJsonObject& body = {})
    {
        const Reply reply = control->postJson(path, body);
        EXPECT_EQ(reply.status, 200) << path.toStdString() << ": " << reply.body.toStdString();
    }
    void step(int steps = 1)
    {
        controlCall(QStringLiteral("control/clock/step"), {{QStringLiteral("steps"), steps}});
    }
    void finishJobs() { controlCall(QStringLiteral("control/clock/finish")); }
    void nextSourceNeverCompiles()
    {
        controlCall(QStringLiteral("control/source/next"),
                    {{QStringLiteral("fault"), QStringLiteral("compile")}});
    }

    QString status() const { return textDescribed(widget.get(), QStringLiteral("Build status")); }
    QString localStatus() const { return textDescribed(widget.get(), QStringLiteral("Local build status")); }
    QAbstractButton* button(const QString& name) const { return buttonNamed(widget.get(), name); }
    QAbstractButton* waitFor(const QString& name) const { return waitForButton(widget.get(), name); }
    // Every button of the window, for a failure's message: its name and whether it is shown.
    QString buttonsShown() const
    {
        QStringList all;
        for (QPushButton* each : widget->findChildren<QPushButton*>())
            all.append(each->accessibleName() +
                       (each->isVisibleTo(widget.get()) ? QString() : QStringLiteral(" (hidden)")));
        return all.join(QStringLiteral(", "));
    }

    // Every text the local build area showed, once each, in order, from now on.
    void recordLocalTexts()
    {
        QObject::connect(widget->chatView(), &ChatView::statusChanged, widget.get(), [this] {
            const QString now = localStatus();
            if (!now.isEmpty() && (localTexts.isEmpty() || localTexts.last() != now))
                localTexts.append(now);
        });
    }

    void typeAndReturn(const QString& text)
    {
        GrowingTextView* view = widget->composer()->textView();
        view->setFocus();
        QTest::keyClicks(view, text);
        QTest::keyClick(view, Qt::Key_Return);
    }

    TempHome home;
    std::unique_ptr<DevServer> server;
    std::unique_ptr<Client> control;
    std::unique_ptr<API> api;
    std::unique_ptr<LocalBuilds> local = std::make_unique<LocalBuilds>();
    IconLoader icons{QString()};
    RecordingDesktop desktop;
    std::unique_ptr<ChatViewWidget> widget;
    QStringList localTexts;
};

} // namespace

TEST_F(ChatViewWidgetTest, ReturnSendsTheRequestWhichIsQueuedThenBuiltThenDownloadedAndOpened)
{
    const Project project = create(QStringLiteral("a notes app with tags"), false);
    finishJobs();
    open(project);
    ASSERT_TRUE(waitFor(QStringLiteral("Download app (.dmg)")));
    const int before = widget->bubbles()->rowCount();

    typeAndReturn(QStringLiteral("Make the text larger"));
    ASSERT_TRUE(spinUntil(
        [&] { return status() == QStringLiteral("Queued \u2014 waiting for the build machine\u2026"); }));
    EXPECT_TRUE(widget->composer()->text().isEmpty());
    EXPECT_GE(widget->bubbles()->rowCount(), before + 1);
    EXPECT_EQ(widget->bubbles()->message(before).content, QStringLiteral("Make the text larger"));
    ElapsedSecondsLabel* counter = widget->statusArea()->progress()->counter();
    EXPECT_TRUE(counter->isVisibleTo(widget.get()));
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^(\\d+m )?\\d+s$")).match(counter->text()).hasMatch())
        << counter->text().toStdString();
    // A queued job counts from when the service made it.
    const QDateTime queuedSince = counter->since();
    EXPECT_EQ(queuedSince, ChatView::parseCreatedAt(widget->chatView()->latest()->createdAt));

    step();
    ASSERT_TRUE(spinUntil([&] { return status() == QStringLiteral("Building: planning\u2026"); }));
    EXPECT_TRUE(counter->isVisibleTo(widget.get()));
    EXPECT_GT(counter->since(), queuedSince) << "a new stage starts the counter again";
    const QDateTime planningSince = counter->since();
    const QString planning = ChatView::stageKey(*widget->chatView()->latest());
    EXPECT_EQ(planningSince, widget->chatView()->stageSince().value(planning));
    step();
    ASSERT_TRUE(spinUntil([&] { return status() == QStringLiteral("Building: writing code\u2026"); }));
    const QString writing = ChatView::stageKey(*widget->chatView()->latest());
    ASSERT_NE(writing, planning);
    ASSERT_TRUE(widget->chatView()->stageSince().contains(writing)) << writing.toStdString();
    EXPECT_EQ(counter->since(), widget->chatView()->stageSince().value(writing))
        << "the counter counts from the start of the new stage";
    EXPECT_NE(counter->since(), planningSince);

    finishJobs();
    ASSERT_TRUE(waitFor(QStringLiteral("Download app (.dmg)")));
    EXPECT_TRUE(button(QStringLiteral(".zip instead")));
    const Job ready = *widget->chatView()->latest();
    EXPECT_EQ(widget->statusArea()->download()->header()->nameLabel()->text(),
              ready.appName.value_or(QString()));
    EXPECT_EQ(widget->statusArea()->download()->header()->versionLabel()->text(),
              QStringLiteral("Version ") + ready.version.value_or(QString()));
    QAbstractButton* dmg = button(QStringLiteral("Download app (.dmg)"));
    QTest::mouseClick(dmg, Qt::LeftButton);
    EXPECT_EQ(dmg->text(), QStringLiteral("Downloading\u2026"));
    EXPECT_EQ(dmg->accessibleName(), QStringLiteral("Downloading\u2026"));
    EXPECT_FALSE(dmg->isEnabled());
    EXPECT_FALSE(button(QStringLiteral(".zip instead"))->isEnabled());

    ASSERT_TRUE(
        spinUntil([&] { return !textDescribed(widget.get(), QStringLiteral("Saved location")).isEmpty(); }));
    const QString saved = widget->chatView()->savedDmg().value_or(QString());
    ASSERT_TRUE(QFileInfo(saved).isFile()) << saved.toStdString();
    EXPECT_EQ(textDescribed(widget.get(), QStringLiteral("Saved location")),
              QStringLiteral("Saved to ") + QFileInfo(saved).absolutePath());
    EXPECT_EQ(dmg->text(), QStringLiteral("Download app (.dmg)"));
    ASSERT_TRUE(waitFor(QStringLiteral("Open .dmg")));
    QTest::mouseClick(button(QStringLiteral("Open .dmg")), Qt::LeftButton);
    EXPECT_EQ(desktop.openedFiles(), QStringList{saved});
    ASSERT_TRUE(waitFor(QStringLiteral("Show in Finder")));
    QTest::mouseClick(button(QStringLiteral("Show in Finder")), Qt::LeftButton);
    EXPECT_EQ(desktop.revealed, QStringList{saved});

    // The next build is a new app: what was saved before is not offered with it.
    typeAndReturn(QStringLiteral("Use a serif font"));
    ASSERT_TRUE(spinUntil([&] { return status().startsWith(QStringLiteral("Queued")); }));
    finishJobs();
    ASSERT_TRUE(waitFor(QStringLiteral("Download app (.dmg)")));
    EXPECT_EQ(labelDescribed(widget.get(), QStringLiteral("Saved location")), nullptr);
    EXPECT_EQ(button(QStringLiteral("Open .dmg")), nullptr);
}

TEST_F(ChatViewWidgetTest, WhileABuildRunsOrTheTextIsBlankReturnSendsNothingAndKeepsTheText)
{
    const Project project = create(QStringLiteral("a notes app with tags"), false);
    open(project);
    ASSERT_TRUE(spinUntil([&] { return status().startsWith(QStringLiteral("Queued")); }));
    const auto requests = [&] {
        int count = 0;
        for (const Message& message : widget->bubbles()->messages())
            count += message.role == QLatin1String("user") ? 1 : 0;
        return count;
    };
    const int before = requests();
    typeAndReturn(QStringLiteral("Make it blue"));
    EXPECT_EQ(widget->composer()->text(), QStringLiteral("Make it blue"));
    EXPECT_FALSE(widget->composer()->sendButton()->isEnabled());
    step();
    ASSERT_TRUE(spinUntil([&] { return status().startsWith(QStringLiteral("Building")); }));
    QTest::keyClick(widget->composer()->textView(), Qt::Key_Return);
    EXPECT_EQ(widget->composer()->text(), QStringLiteral("Make it blue"));

    finishJobs();
    ASSERT_TRUE(spinUntil([&] { return widget->composer()->sendButton()->isEnabled(); }))
        << "a finished build lets the kept text go";
    widget->composer()->setText(QStringLiteral("  \n "));
    EXPECT_FALSE(widget->composer()->sendButton()->isEnabled());
    QTest::keyClick(widget->composer()->textView(), Qt::Key_Return);
    EXPECT_FALSE(widget->chatView()->sending()) << "a send would be on its way from the key press on";
    EXPECT_EQ(requests(), before);
    EXPECT_EQ(widget->chatView()->latest()->status, JobStatus::ready) << "no new job";
}

TEST_F(ChatViewWidgetTest, SourceJobIsBuiltOnThisMachineThroughEveryPhaseToTheSavedApp)
{
    const Project project = create(QStringLiteral("a pocket timer"), true);
    finishJobs();
    open(project);
    ASSERT_TRUE(
        spinUntil([&] { return localStatus().startsWith(QStringLiteral("Compiled on this Mac. Saved to ")); },
                  std::chrono::seconds(60)))
        << localTexts.join(QLatin1Char('|')).toStdString();
    const QString app = local->state(widget->chatView()->latest()->id)->app.value_or(QString());
    ASSERT_TRUE(QFileInfo(app).isDir()) << app.toStdString();
    EXPECT_EQ(localStatus(),
              QStringLiteral("Compiled on this Mac. Saved to ") + QFileInfo(app).absolutePath());
    EXPECT_EQ(
        localTexts.mid(0, 3).join(QLatin1Char('|')),
        QStringLiteral("Downloading the code\u2026|Compiling on this Mac\u2026|Packaging and signing\u2026"));
    EXPECT_EQ(
        textDescribed(widget.get(), QStringLiteral("First launch note")),
        QStringLiteral("Apps are ad-hoc signed, not notarized. If macOS blocks the first launch, use System "
                       "Settings \u2192 Privacy & Security \u2192 Open Anyway."));
    EXPECT_FALSE(widget->statusArea()->local()->logBox()->isVisibleTo(widget.get()));
    ASSERT_TRUE(waitFor(QStringLiteral("Open app"))) << buttonsShown().toStdString();
    ASSERT_TRUE(waitFor(QStringLiteral("Show in Finder")));
    QTest::mouseClick(button(QStringLiteral("Open app")), Qt::LeftButton);
    EXPECT_EQ(desktop.openedFiles(), QStringList{app});
    QTest::mouseClick(button(QStringLiteral("Show in Finder")), Qt::LeftButton);
    EXPECT_EQ(desktop.revealed, QStringList{app});
}

TEST_F(ChatViewWidgetTest, SourceThatNeverCompilesEndsWithTheErrorAndLogAndTryAgainBuildsAfresh)
{
    // The first source and each of the three fixes the build asks for.
    for (int i = 0; i < 4; ++i)
        nextSourceNeverCompiles();
    const Project project = create(QStringLiteral("a pocket timer"), true);
    finishJobs();
    open(project);
    ASSERT_TRUE(spinUntil(
        [&] {
            finishJobs(); // each fix request the build sends makes a new job
            return localStatus() == QStringLiteral("Could not build on this Mac.");
        },
        std::chrono::seconds(90)));
    EXPECT_EQ(widget->chatView()->fixesSoFar(), 3);
    EXPECT_EQ(textDescribed(widget.get(), QStringLiteral("Build error")),
              QStringLiteral("Still not compiling after 3 fix attempts."));
    QPlainTextEdit* log = widget->statusArea()->local()->logBox();
    EXPECT_TRUE(log->isVisibleTo(widget.get()));
    EXPECT_FALSE(log->toPlainText().isEmpty());
    EXPECT_TRUE(log->toPlainText().contains(QStringLiteral("error"))) << log->toPlainText().toStdString();
    EXPECT_LE(log->height(), 160);
    EXPECT_TRUE(log->isReadOnly());
    EXPECT_TRUE(log->textInteractionFlags() & Qt::TextSelectableByMouse);
    // Monospaced as a reader sees it: every character of the log takes one advance (Qt's own
    // fixed-pitch flag is false for some monospaced fonts, Noto Sans Mono among them).
    const QFontMetricsF metrics(log->font());
    for (const QChar c : QStringLiteral("iWm.:_0|error"))
        EXPECT_DOUBLE_EQ(metrics.horizontalAdvance(c), metrics.horizontalAdvance(QLatin1Char('M')))
            << QString(c).toStdString() << " in " << QFontInfo(log->font()).family().toStdString();
    ASSERT_TRUE(waitFor(QStringLiteral("Try again")));
    EXPECT_TRUE(
        localTexts.contains(QStringLiteral("Compile errors found. Asking the cloud to fix them\u2026")))
        << localTexts.join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(localTexts.contains(QStringLiteral("Compiling on this Mac\u2026 (fix 1 of 3)")));

    localTexts.clear();
    const QString job = widget->chatView()->latest()->id;
    QTest::mouseClick(button(QStringLiteral("Try again")), Qt::LeftButton);
    ASSERT_TRUE(spinUntil(
        [&] {
            return localTexts.size() >= 2 &&
                   localTexts.last() == QStringLiteral("Could not build on this Mac.");
        },
        std::chrono::seconds(60)));
    EXPECT_TRUE(localTexts.contains(QStringLiteral("Compiling on this Mac\u2026 (fix 3 of 3)")))
        << localTexts.join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(widget->chatView()->latest()->id, job) << "the same job, built again";
    EXPECT_TRUE(waitFor(QStringLiteral("Try again")));
}

TEST_F(ChatViewWidgetTest, FailedSendShowsTheErrorAndKeepsTheTextUntilTheNextSendClearsIt)
{
    const Project project = create(QStringLiteral("a notes app with tags"), false);
    finishJobs();
    open(project);
    ASSERT_TRUE(waitFor(QStringLiteral("Download app (.dmg)")));
    controlCall(QStringLiteral("control/faults"),
                {{QStringLiteral("path"), QStringLiteral("api/projects/*/messages")},
                 {QStringLiteral("method"), QStringLiteral("POST")},
                 {QStringLiteral("status"), 503},
                 {QStringLiteral("json"), QJsonObject{{QStringLiteral("message"),
                                                       QStringLiteral("The build machine is resting.")}}}});

    typeAndReturn(QStringLiteral("Make it blue"));
    ASSERT_TRUE(spinUntil([&] { return widget->errorLine()->isVisibleTo(widget.get()); }));
    EXPECT_EQ(widget->errorLine()->text(), QStringLiteral("The build machine is resting."));
    EXPECT_EQ(widget->errorLine()->accessibleDescription(), QStringLiteral("Error"));
    EXPECT_EQ(widget->composer()->text(), QStringLiteral("Make it blue"));

    QTest::keyClick(widget->composer()->textView(), Qt::Key_Return);
    EXPECT_FALSE(widget->errorLine()->isVisibleTo(widget.get())) << "the next send clears the error at once";
    ASSERT_TRUE(spinUntil([&] { return widget->composer()->text().isEmpty(); }));
    EXPECT_FALSE(widget->errorLine()->isVisibleTo(widget.get()));
    ASSERT_TRUE(spinUntil(
        [&] { return status() == QStringLiteral("Queued \u2014 waiting for the build machine\u2026"); }));
}

TEST_F(ChatViewWidgetTest, MinimisedOrHiddenConversationKeepsPollingUntilTheScreenIsGone)
{
    const Project project = create(QStringLiteral("a notes app with tags"), false);
    const auto clock = std::make_shared<HandClock>();
    open(project, clock);
    ASSERT_TRUE(spinUntil([&] { return clock->waiting(); }));
    QSignalSpy refreshed(widget->chatView(), &ChatView::refreshed);

    // What a window manager sends when the user minimises the window, then a plain hide.
    QHideEvent minimised;
    QSpontaneKeyEvent::setSpontaneous(&minimised);
    QApplication::sendEvent(widget.get(), &minimised);
    widget->hide();
    finishJobs();
    clock->advance();
    ASSERT_TRUE(spinUntil([&] { return refreshed.size() == 1 && clock->waiting(); }));
    EXPECT_TRUE(widget->chatView()->polling());
    EXPECT_EQ(widget->chatView()->latest()->status, JobStatus::ready)
        << "the hidden conversation followed the service";

    const int waits = int(clock->waits.size());
    widget.reset();
    clock->advance();
    drainPostedEvents();
    EXPECT_EQ(clock->waits.size(), waits) << "the loop ends with the screen";
    EXPECT_EQ(refreshed.size(), 1);
}

TEST_F(ChatViewWidgetTest, ProjectFromAnImportedRepositoryShowsTheBannerAndOthersDoNot)
{
    const Project imported = create(QStringLiteral("make this a menu bar app"), true,
                                    QStringLiteral("https://github.com/octo/Pomodoro"));
    ASSERT_TRUE(imported.unsafe.value_or(false));
    open(imported);
    ASSERT_NE(widget->banner(), nullptr);
    EXPECT_TRUE(widget->banner()->isVisibleTo(widget.get()));
    EXPECT_LT(widget->banner()->mapTo(widget.get(), QPoint()).y(),
              widget->list()->mapTo(widget.get(), QPoint()).y());

    open(create(QStringLiteral("a notes app with tags"), false));
    EXPECT_EQ(widget->banner(), nullptr);
    EXPECT_TRUE(widget->findChildren<UnsafeBanner*>().isEmpty());
}

TEST_F(ChatViewWidgetTest, TabRunsFromTheListThroughTheButtonsToTheComposer)
{
    const Project project = create(QStringLiteral("a notes app with tags"), false);
    finishJobs();
    open(project);
    ASSERT_TRUE(waitFor(QStringLiteral("Download app (.dmg)")));
    widget->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(widget.get()));
    widget->list()->setFocus(Qt::TabFocusReason);
    QStringList visited;
    for (int i = 0; i < 5; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        visited.append(spokenName(QApplication::focusWidget()));
    }
    EXPECT_EQ(visited.join(QLatin1Char('|')),
              QStringLiteral("Download app (.dmg)|.zip instead|Open Privacy & Security settings|Ask for "
                             "changes\u2026|Conversation"))
        << "the send button takes no focus while there is nothing to send; the chain goes round\n"
        << visited.join(QLatin1Char('|')).toStdString();

    widget->composer()->setText(QStringLiteral("Make it blue"));
    widget->composer()->textView()->setFocus(Qt::TabFocusReason);
    QTest::keyClick(widget->composer()->textView(), Qt::Key_Tab);
    EXPECT_EQ(spokenName(QApplication::focusWidget()), QStringLiteral("Send message"));
}

TEST_F(ChatViewWidgetTest, EveryButtonAndTheComposerCarryTheNamesTheyAreReadBy)
{
    const Project project = create(QStringLiteral("a notes app with tags"), false);
    finishJobs();
    open(project);
    ASSERT_TRUE(waitFor(QStringLiteral("Download app (.dmg)")));
    for (QAbstractButton* each : widget->findChildren<QAbstractButton*>()) {
        if (!each->isVisibleTo(widget.get()))
            continue;
        EXPECT_FALSE(spokenName(each).isEmpty()) << each->metaObject()->className();
        if (!each->text().isEmpty()) {
            EXPECT_EQ(spokenName(each), each->text());
        }
    }
    EXPECT_EQ(spokenName(widget->composer()->sendButton()), QStringLiteral("Send message"));
    EXPECT_EQ(spokenName(widget->composer()->textView()), QStringLiteral("Ask for changes\u2026"));
    EXPECT_EQ(spokenName(widget->list()), QStringLiteral("Conversation"));
    EXPECT_EQ(widget->composer()->textView()->placeholderText(), QStringLiteral("Ask for changes\u2026"));
    EXPECT_EQ(widget->composer()->textView()->minHeight(), 56);
    EXPECT_EQ(widget->composer()->textView()->maxHeight(), 200);
    EXPECT_EQ(widget->composer()->textView()->maxLength(), 8000);
    EXPECT_EQ(widget->composer()->hint()->text(),
              QStringLiteral("Return to send \u00b7 Shift+Return for a new line"));
}
