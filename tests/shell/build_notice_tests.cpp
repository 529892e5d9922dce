#include "qt_printers.h"
#include "shell/build_notice.h"

#include <gtest/gtest.h>

using namespace brightloom;

namespace {

Job job(const QString& id, const QString& status, std::optional<QString> mode = std::nullopt)
{
    Job j;
    j.id = id;
    j.status = Coded<JobStatus>::fromText(status);
    if (mode)
        j.mode = Coded<JobMode>::fromText(*mode);
    return j;
}

} // namespace

TEST(BuildNoticeTest, JobThatBecomesReadyAfterBuildingIsAnnounced)
{
    const auto notice =
        BuildNotice::forJob(QStringLiteral("Notes"), job(QStringLiteral("j"), QStringLiteral("building")),
                            job(QStringLiteral("j"), QStringLiteral("ready")));
    ASSERT_TRUE(notice.has_value());
    EXPECT_EQ(notice->title, QStringLiteral("Notes"));
    EXPECT_EQ(notice->body, QStringLiteral("Your app is ready to download."));
}

TEST(BuildNoticeTest, JobThatFailsAfterWaitingIsAnnouncedAsFailed)
{
    const auto notice =
        BuildNotice::forJob(QStringLiteral("Notes"), job(QStringLiteral("j"), QStringLiteral("queued")),
                            job(QStringLiteral("j"), QStringLiteral("failed")));
    ASSERT_TRUE(notice.has_value());
    EXPECT_EQ(notice->body, QStringLiteral("The build failed."));
}

TEST(BuildNoticeTest, FirstLookAnotherJobOrAJobStillRunningAnnouncesNothing)
{
    const QString name = QStringLiteral("Notes");
    EXPECT_FALSE(BuildNotice::forJob(name, std::nullopt, job(QStringLiteral("j"), QStringLiteral("ready"))));
    EXPECT_FALSE(BuildNotice::forJob(name, job(QStringLiteral("a"), QStringLiteral("building")),
                                     job(QStringLiteral("b"), QStringLiteral("ready"))));
    EXPECT_FALSE(BuildNotice::forJob(name, job(QStringLiteral("j"), QStringLiteral("queued")),
                                     job(QStringLiteral("j"), QStringLiteral("building"))));
    EXPECT_FALSE(BuildNotice::forJob(name, job(QStringLiteral("j"), QStringLiteral("ready")),
                                     job(QStringLiteral("j"), QStringLiteral("ready"))));
}

TEST(BuildNoticeTest, ReadySourceJobWaitsForTheBuildOnThisMachine)
{
    EXPECT_FALSE(
        BuildNotice::forJob(QStringLiteral("Notes"),
                            job(QStringLiteral("j"), QStringLiteral("building"), QStringLiteral("source")),
                            job(QStringLiteral("j"), QStringLiteral("ready"), QStringLiteral("source"))));
    LocalState done;
    done.phase = LocalState::Phase::done;
    EXPECT_EQ(BuildNotice::forLocalBuild(QStringLiteral("Notes"), done)->body,
              QStringLiteral("Compiled on this Mac and saved."));
    LocalState failed;
    failed.phase = LocalState::Phase::failed;
    EXPECT_EQ(BuildNotice::forLocalBuild(QStringLiteral("Notes"), failed)->body,
              QStringLiteral("Could not build on this Mac."));
    LocalState asking;
    asking.phase = LocalState::Phase::askingForFix;
    EXPECT_FALSE(BuildNotice::forLocalBuild(QStringLiteral("Notes"), asking));
}
