#include "service/record_codec.h"
#include "service/records.h"

#include <QFile>
#include <QSet>
#include <gtest/gtest.h>
#include <string>

using namespace brightloom;

namespace {

template <class T> T decode(const char* json)
{
    return decodeRecord<T>(QByteArrayView(json));
}

template <class T> std::string decodeFailure(const QByteArray& json)
{
    try {
        decodeRecord<T>(json);
    } catch (const DecodeError& e) {
        return e.what();
    }
    return "<decoded>";
}

QByteArray fixture(const char* name)
{
    QFile file(QStringLiteral(BRIGHTLOOM_FIXTURES_DIR "/") + QString::fromLatin1(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll();
}

// A tree `depth` levels of node → fork → node …, written as text without building it recursively.
QByteArray deepTree(int depth)
{
    const QByteArray nodeHead =
        R"({"jobId":"j","version":"1.0","prompt":"p","createdAt":"t","hasSource":true,"hiddenForks":0,"forks":[)";
    const QByteArray forkHead = R"({"projectId":"f","name":"n","mine":true,"nodes":[)";
    QByteArray json = R"({"app":{"projectId":"p","name":"A","versions":[],"templatePublic":false},)"
                      R"("treeProjectId":"p","canTemplate":true,"tree":[)";
    json.reserve(json.size() + depth * (nodeHead.size() + forkHead.size() + 8));
    for (int i = 0; i < depth; ++i)
        json += (i % 2 == 0) ? nodeHead : forkHead;
    for (int i = depth - 1; i >= 0; --i)
        json += "]}";
    json += "]}";
    return json;
}

} // namespace

TEST(Records, JobWithOnlyIdAndStatusDecodesWithEveryOtherFieldAbsent)
{
    const auto job = decode<Job>(R"({"id":"j1","status":"queued"})");
    EXPECT_EQ(job.id, QStringLiteral("j1"));
    EXPECT_EQ(job.status, JobStatus::queued);
    EXPECT_FALSE(job.stage || job.downloadUrl || job.error || job.mode || job.sourceUrl || job.appName ||
                 job.version || job.dmgUrl || job.createdAt || job.iconUrl);
}

TEST(Records, JobWithEveryFieldDecodesEachOne)
{
    const auto job = decode<Job>(fixture("job_full.json"));
    EXPECT_EQ(job.stage, QStringLiteral("compiling"));
    EXPECT_EQ(job.downloadUrl, QStringLiteral("https://x.test/a.zip"));
    EXPECT_EQ(job.error, QStringLiteral("boom"));
    ASSERT_TRUE(job.mode.has_value());
    EXPECT_EQ(*job.mode, JobMode::source);
    EXPECT_EQ(job.mode->text(), QStringLiteral("source"));
    EXPECT_EQ(job.sourceUrl, QStringLiteral("https://x.test/s.zip"));
    EXPECT_EQ(job.appName, QStringLiteral("Notes"));
    EXPECT_EQ(job.version, QStringLiteral("1.2"));
    EXPECT_EQ(job.dmgUrl, QStringLiteral("https://x.test/a.dmg"));
    EXPECT_EQ(job.createdAt, QStringLiteral("2026-11-01T10:00:00.123Z"));
    EXPECT_EQ(job.iconUrl, QStringLiteral("/icons/notes.png"));
}

TEST(Records, JobStatusAndModeAreTypedAndAnUnknownOneKeepsItsText)
{
    const auto known = decode<Job>(R"({"id":"j","status":"building","mode":"source-fix"})");
    EXPECT_EQ(known.status.value(), JobStatus::building);
    EXPECT_EQ(known.mode->value(), JobMode::sourceFix);
    EXPECT_TRUE(known.isActive());
    EXPECT_TRUE(known.isSourceBuild());

    const QByteArray json = R"({"id":"j","status":"paused","mode":"cloud"})";
    const auto unknown = decode<Job>(json);
    EXPECT_EQ(unknown.status.value(), JobStatus::unknown);
    EXPECT_EQ(unknown.status.text(), QStringLiteral("paused"));
    EXPECT_EQ(unknown.mode->value(), JobMode::unknown);
    EXPECT_FALSE(unknown.isActive());
    EXPECT_FALSE(unknown.isSourceBuild());
    EXPECT_EQ(encodeRecord(unknown), json) << "written back as it came";

    // Spelled exactly: another case is another, unknown value.
    EXPECT_EQ(decode<Job>(R"({"id":"j","status":"Ready"})").status.value(), JobStatus::unknown);
    const auto withStatus = [](const char* status) {
        const QByteArray json = QByteArray(R"({"id":"j","status":")") + status + QByteArray("\"}");
        return decode<Job>(json.constData());
    };
    for (const char* status : {"queued", "building"})
        EXPECT_TRUE(withStatus(status).isActive()) << status;
    for (const char* status : {"ready", "failed"})
        EXPECT_FALSE(withStatus(status).isActive()) << status;
    EXPECT_FALSE(decode<Job>(R"({"id":"j","status":"ready"})").isSourceBuild()) << "no mode";
}

TEST(Records, RolesRepeatedInEveryMessageShareOneStringAndOtherTextsKeepTheirOwn)
{
    const QByteArray json =
        R"({"project":{"id":"p","name":"N"},"jobs":[],"messages":[)"
        R"({"id":"a","role":"user","content":"one"},{"id":"b","role":"assistant","content":"two"},)"
        R"({"id":"c","role":"user","content":"one"},{"id":"d","role":"assistant","content":"two"},)"
        R"({"id":"e","role":"us\u0065r","content":"usr"}]})";
    const ProjectDetail detail = decodeRecord<ProjectDetail>(json);
    ASSERT_EQ(detail.messages.size(), 5);
    EXPECT_EQ(detail.messages[0].role.constData(), detail.messages[2].role.constData());
    EXPECT_EQ(detail.messages[1].role.constData(), detail.messages[3].role.constData());
    EXPECT_EQ(detail.messages[1].role, QStringLiteral("assistant"));
    // Written with an escape, the word is still the word.
    EXPECT_EQ(detail.messages[4].role, QStringLiteral("user"));
    // Any other text is a string of its own.
    EXPECT_NE(detail.messages[0].content.constData(), detail.messages[2].content.constData());
    EXPECT_EQ(detail.messages[0].content, detail.messages[2].content);
}

TEST(Records, JobWithoutStatusFailsTheWholeProjectDetail)
{
    const QByteArray json =
        R"({"project":{"id":"p","name":"N"},"messages":[],"jobs":[{"id":"a","status":"ready"},{"id":"b"}]})";
    const std::string failure = decodeFailure<ProjectDetail>(json);
    EXPECT_NE(failure.find("\"status\" is missing in jobs[1]"), std::string::npos) << failure;
}

TEST(Records, KeyGivenTwiceTakesItsLastValue)
{
    const auto detail = decode<ProjectDetail>(
        R"({"project":{"id":"p","name":"First","unsafe":true},"messages":[],)"
        R"("jobs":[{"id":"a","status":"ready"},{"id":"b","status":"ready"}],)"
        R"("project":{"id":"p","name":"Second"},"jobs":[{"id":"c","status":"queued"}]})");
    ASSERT_EQ(detail.jobs.size(), 1) << "the lists are not joined";
    EXPECT_EQ(detail.jobs[0].id, QStringLiteral("c"));
    EXPECT_EQ(detail.project.name, QStringLiteral("Second"));
    EXPECT_FALSE(detail.project.unsafe.has_value()) << "the whole first object is gone";
    EXPECT_EQ(decode<Job>(R"({"id":"j","status":"queued","status":"ready"})").status, JobStatus::ready);
    EXPECT_FALSE(decode<Job>(R"({"id":"j","status":"ready","stage":"x","stage":null})").stage.has_value());
    EXPECT_EQ(decode<FavoriteSlugsResp>(R"({"slugs":["a","b"],"slugs":["c"]})").slugs,
              QList<QString>() << QStringLiteral("c"));
}

TEST(Records, KeyGivenTwiceForgetsWhatWasWrongWithItsEarlierValue)
{
    // The earlier values would not decode; the last ones do, and they are the ones that count.
    const auto detail = decode<ProjectDetail>(
        R"({"project":{"id":"p","name":"N"},"messages":[],)"
        R"("jobs":[{"id":"a"},{"id":5,"status":[1,2]}],"jobs":[{"id":"b","status":"ready"}]})");
    ASSERT_EQ(detail.jobs.size(), 1);
    EXPECT_EQ(detail.jobs[0].id, QStringLiteral("b"));
    EXPECT_EQ(decode<Job>(R"({"id":"j","status":7,"status":"ready"})").status, JobStatus::ready);
    EXPECT_EQ(decode<Project>(R"({"id":"p","name":"N","unsafe":"yes","unsafe":false})").unsafe, false);
    // A value that is wrong in the last occurrence still fails, as does one in a key given once.
    const std::string failure = decodeFailure<Job>(R"({"id":"j","status":"ready","status":7})");
    EXPECT_NE(failure.find("\"status\" must be a string, not a number"), std::string::npos) << failure;
    const std::string inList = decodeFailure<ProjectDetail>(
        R"({"project":{"id":"p","name":"N"},"messages":[],"jobs":[{"id":"a"}],"messages":[]})");
    EXPECT_NE(inList.find("\"status\" is missing in jobs[0]"), std::string::npos) << inList;
}

TEST(Records, NullAndMissingOptionalBothDecodeToAbsent)
{
    EXPECT_FALSE(decode<Project>(R"({"id":"p","name":"N","unsafe":null})").unsafe.has_value());
    EXPECT_FALSE(decode<Project>(R"({"id":"p","name":"N"})").unsafe.has_value());
    EXPECT_EQ(decode<Project>(R"({"id":"p","name":"N","unsafe":true})").unsafe, true);
}

TEST(Records, OptionalOfWrongTypeFailsTheDecode)
{
    const std::string failure = decodeFailure<Project>(R"({"id":"p","name":"N","unsafe":"yes"})");
    EXPECT_NE(failure.find("\"unsafe\" must be a Boolean, not a string"), std::string::npos) << failure;
}

TEST(Records, RequiredFieldGivenAsNullFails)
{
    EXPECT_NE(decodeFailure<Project>(R"({"id":null,"name":"N"})").find("\"id\" must not be null"),
              std::string::npos);
}

TEST(Records, RequiredFieldOfWrongTypeFails)
{
    EXPECT_NE(decodeFailure<Project>(R"({"id":7,"name":"N"})").find("\"id\" must be a string, not a number"),
              std::string::npos);
    EXPECT_NE(decodeFailure<ProjectDetail>(R"({"project":{"id":"p","name":"N"},"messages":{},"jobs":[]})")
                  .find("\"messages\" must be a list of objects, not an object"),
              std::string::npos);
}

TEST(Records, NullElementInAListFails)
{
    const std::string failure = decodeFailure<FavoriteSlugsResp>(R"({"slugs":["a",null]})");
    EXPECT_NE(failure.find("must not be null"), std::string::npos) << failure;
}

TEST(Records, ReplyThatIsNotAnObjectFails)
{
    EXPECT_NE(decodeFailure<Project>("null").find("not a JSON object"), std::string::npos);
    EXPECT_NE(decodeFailure<Project>("[]").find("not a JSON object"), std::string::npos);
    EXPECT_NE(decodeFailure<Project>("").find("not valid JSON"), std::string::npos);
    EXPECT_NE(decodeFailure<Project>("<html>").find("not valid JSON"), std::string::npos);
    EXPECT_NE(decodeFailure<Project>(R"({"id":"p","name":"N"} x)").find("not valid JSON"), std::string::npos);
}

TEST(Records, DecodeErrorIsAFinishedSentence)
{
    const std::string failure = decodeFailure<Project>(R"({"name":"N"})");
    EXPECT_EQ(failure, "The service's reply could not be read: \"id\" is missing.");
}

TEST(Records, VersionTreeNestedSeveralLevelsDecodesInOrder)
{
    const auto detail = decode<LibraryDetail>(fixture("library_detail.json"));
    ASSERT_EQ(detail.tree.size(), 2u);
    EXPECT_EQ(detail.tree[0]->jobId, QStringLiteral("j1"));
    ASSERT_EQ(detail.tree[0]->forks.size(), 1u);
    const auto& fork = detail.tree[0]->forks[0];
    EXPECT_EQ(fork->projectId, QStringLiteral("fork1"));
    EXPECT_FALSE(fork->mine);
    ASSERT_EQ(fork->nodes.size(), 1u);
    ASSERT_EQ(fork->nodes[0]->forks.size(), 1u);
    const auto& inner = fork->nodes[0]->forks[0];
    EXPECT_EQ(inner->nodes[0]->jobId, QStringLiteral("j4"));
    EXPECT_EQ(detail.tree[0]->hiddenForks, 3);
    EXPECT_EQ(detail.tree[1]->summary, std::nullopt);
    EXPECT_EQ(detail.origin->name, QStringLiteral("Timer"));
    EXPECT_FALSE(detail.origin->version.has_value());
    EXPECT_EQ(detail.treeProjectId, QStringLiteral("root"));
}

TEST(Records, TreeHundredThousandLevelsDeepDecodesEncodesCopiesAndFreesWithoutRecursion)
{
    const int depth = 100'000;
    const QByteArray json = deepTree(depth);
    std::optional<LibraryDetail> detail = decodeRecord<LibraryDetail>(json);
    ASSERT_EQ(detail->tree.size(), 1u);

    int levels = 1;
    const TreeNode* node = detail->tree[0].get();
    while (!node->forks.empty()) {
        node = node->forks[0]->nodes.empty() ? nullptr : node->forks[0]->nodes[0].get();
        levels += 2;
        if (!node)
            break;
    }
    EXPECT_GE(levels, depth);

    const LibraryDetail copy = *detail;                // shares the nodes
    EXPECT_EQ(encodeRecord(copy).size(), json.size()); // same keys, same order, nothing absent
    detail.reset();                                    // the copy still owns the whole tree
    EXPECT_EQ(copy.tree[0]->forks[0]->nodes[0]->forks.size(), 1u);
}

TEST(Records, SharedSubtreeSurvivesTheTreeItCameFrom)
{
    std::shared_ptr<const TreeFork> kept;
    {
        auto detail = decode<LibraryDetail>(fixture("library_detail.json"));
        kept = detail.tree[0]->forks[0];
    }
    ASSERT_EQ(kept->nodes.size(), 1u);
    EXPECT_EQ(kept->nodes[0]->forks[0]->nodes[0]->jobId, QStringLiteral("j4"));
}

TEST(Records, IntegerFieldRejectsAFraction)
{
    QByteArray json = fixture("gallery.json");
    json.replace("\"views\":12", "\"views\":12.5");
    const std::string failure = decodeFailure<GalleryResp>(json);
    EXPECT_NE(failure.find("\"views\" in apps[0] must be an integer"), std::string::npos) << failure;
}

TEST(Records, IntegerFieldHoldsSixtyFourBits)
{
    QByteArray json = fixture("gallery.json");
    json.replace("\"views\":12", "\"views\":9223372036854775807");
    json.replace("\"favorites\":3", "\"favorites\":-9223372036854775808");
    const auto resp = decodeRecord<GalleryResp>(json);
    EXPECT_EQ(resp.apps[0].views, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(resp.apps[0].favorites, std::numeric_limits<std::int64_t>::min());
}

TEST(Records, IntegerFieldRejectsNumbersBeyondSixtyFourBits)
{
    for (const char* big : {"9223372036854775808", "18446744073709551616", "123456789012345678901234567890",
                            "-9223372036854775809", "1e19"}) {
        QByteArray json = fixture("gallery.json");
        json.replace("\"views\":12", QByteArray("\"views\":").append(big));
        EXPECT_NE(decodeFailure<GalleryResp>(json).find("does not fit in 64 bits"), std::string::npos) << big;
    }
}

TEST(Records, IntegerWrittenAsWholeDecimalIsAccepted)
{
    QByteArray json = fixture("gallery.json");
    json.replace("\"views\":12", "\"views\":12.0");
    EXPECT_EQ(decodeRecord<GalleryResp>(json).apps[0].views, 12);
}

TEST(Records, IntegerFieldRejectsStringsAndBooleans)
{
    QByteArray json = fixture("gallery.json");
    json.replace("\"views\":12", "\"views\":\"12\"");
    EXPECT_NE(decodeFailure<GalleryResp>(json).find("must be an integer, not a string"), std::string::npos);
}

TEST(Records, UnknownKeysAnywhereAreIgnored)
{
    const QByteArray json =
        R"({"extra":{"deep":[1,{"x":[null,true]}]},"project":{"id":"p","name":"N","more":1},)"
        R"("messages":[{"id":"m","role":"user","content":"hi","tokens":[1,2]}],)"
        R"("jobs":[{"id":"j","status":"ready","future":{"a":"b"},"stage":"done"}],"z":null})";
    const auto detail = decodeRecord<ProjectDetail>(json);
    EXPECT_EQ(detail.project.name, QStringLiteral("N"));
    EXPECT_EQ(detail.messages[0].content, QStringLiteral("hi"));
    EXPECT_EQ(detail.jobs[0].stage, QStringLiteral("done"));
}

TEST(Records, StringsKeepEveryCharacter)
{
    const auto message =
        decode<Message>(R"({"id":"m","role":"assistant","content":"Caf\u00e9 \ud83c\udf89 \"q\"\n"})");
    EXPECT_EQ(message.content, QStringLiteral(u"Café 🎉 \"q\"\n"));
}

TEST(Records, EncodingEscapesEveryControlCharacterAndKeepsTheText)
{
    const Message m{QStringLiteral("m"), QStringLiteral("assistant"),
                    QString::fromUtf16(u"\x1b]0;owned\x07 \x7f \x85\x9b \u00a0\u00e9")};
    const QByteArray json = encodeRecord(m);
    EXPECT_EQ(json, QByteArray(
                        R"({"id":"m","role":"assistant","content":"\u001b]0;owned\u0007 \u007f \u0085\u009b )"
                        "\xc2\xa0\xc3\xa9\"}"));
    EXPECT_EQ(decodeRecord<Message>(json).content, m.content);
}

TEST(Records, EncodingLeavesOutAbsentOptionals)
{
    Project project{QStringLiteral("p"), QStringLiteral("N"), std::nullopt};
    EXPECT_EQ(encodeRecord(project), QByteArray(R"({"id":"p","name":"N"})"));
    project.unsafe = false;
    EXPECT_EQ(encodeRecord(project), QByteArray(R"({"id":"p","name":"N","unsafe":false})"));
}

TEST(Records, EncodingThenDecodingGivesTheSameRecord)
{
    const auto resp = decodeRecord<GalleryResp>(fixture("gallery.json"));
    EXPECT_EQ(decodeRecord<GalleryResp>(encodeRecord(resp)).apps, resp.apps);
    const auto detail = decodeRecord<LibraryDetail>(fixture("library_detail.json"));
    EXPECT_EQ(encodeRecord(decodeRecord<LibraryDetail>(encodeRecord(detail))), encodeRecord(detail));
    const Message m{QStringLiteral("m"), QStringLiteral("user"), QStringLiteral(u"tab\t\"quote\" \\ \x01 é")};
    EXPECT_EQ(decodeRecord<Message>(encodeRecord(m)).content, m.content);
}

TEST(Records, ProjectWithUnsafeAbsentDiffersFromUnsafeFalse)
{
    const Project absent{QStringLiteral("p"), QStringLiteral("N"), std::nullopt};
    const Project no{QStringLiteral("p"), QStringLiteral("N"), false};
    const Project yes{QStringLiteral("p"), QStringLiteral("N"), true};
    EXPECT_NE(absent, no);
    EXPECT_NE(absent, yes);
    EXPECT_NE(no, yes);
    EXPECT_EQ(absent, (Project{QStringLiteral("p"), QStringLiteral("N"), std::nullopt}));
    EXPECT_NE(qHash(absent), qHash(no));
}

TEST(Records, EqualValuesHashEqually)
{
    const auto a = decodeRecord<LibraryResp>(fixture("library.json"));
    const auto b = decodeRecord<LibraryResp>(fixture("library.json"));
    ASSERT_EQ(a.apps, b.apps);
    EXPECT_EQ(qHash(a.apps[0]), qHash(b.apps[0]));
    EXPECT_EQ(qHash(a.apps[0].versions[0]), qHash(b.apps[0].versions[0]));
    QSet<LibraryApp> set;
    set.insert(a.apps[0]);
    set.insert(b.apps[0]);
    EXPECT_EQ(set.size(), 1);
}

TEST(Records, HashFollowsEveryField)
{
    const auto gallery = decodeRecord<GalleryResp>(fixture("gallery.json"));
    GalleryApp changed = gallery.apps[0];
    ASSERT_TRUE(changed.templateJobId.has_value());
    // Another value rather than none: GCC 14 takes a reset optional string for uninitialised here.
    changed.templateJobId = *changed.templateJobId + QStringLiteral("-other");
    EXPECT_NE(changed, gallery.apps[0]);
    EXPECT_NE(qHash(changed), qHash(gallery.apps[0]));
    const GithubRepo r1{QStringLiteral("a/b")}, r2{QStringLiteral("a/c")};
    EXPECT_NE(qHash(r1), qHash(r2));
    EXPECT_EQ(std::hash<GithubRepo>()(r1), qHash(r1));
}

TEST(Records, ListEqualityFollowsOrder)
{
    const auto a = decodeRecord<LibraryResp>(fixture("library.json"));
    LibraryApp reversed = a.apps[0];
    std::reverse(reversed.versions.begin(), reversed.versions.end());
    ASSERT_GT(reversed.versions.size(), 1);
    EXPECT_NE(reversed, a.apps[0]);
}

TEST(Records, EveryWrapperReadsItsOneKey)
{
    EXPECT_EQ(decode<CreatedProjectResp>(R"({"id":"new"})").id, QStringLiteral("new"));
    EXPECT_EQ(decode<ForkResp>(R"({"projectId":"f"})").projectId, QStringLiteral("f"));
    EXPECT_EQ(decode<FavoriteSlugsResp>(R"({"slugs":["a","b"]})").slugs.size(), 2);
    EXPECT_EQ(decode<GithubReposResp>(R"({"repos":[{"fullName":"o/n"}]})").repos[0].fullName,
              QStringLiteral("o/n"));
    EXPECT_NE(decodeFailure<CreatedProjectResp>(R"({"projectId":"x"})").find("\"id\" is missing"),
              std::string::npos);
}

TEST(Records, GithubPanelAndPushResultAndWorkerStatusDecode)
{
    const auto panel = decode<GithubPanel>(
        R"({"state":"ready","login":"me","link":{"repo":"me/app","upToDate":false,"lastVersion":"1.1"}})");
    EXPECT_EQ(panel.link->repo, QStringLiteral("me/app"));
    EXPECT_FALSE(panel.link->branch.has_value());
    EXPECT_FALSE(panel.pushVersion.has_value());
    EXPECT_NE(decodeFailure<GithubPanel>(R"({"state":"ready","link":{"repo":"r"}})")
                  .find("\"upToDate\" is missing in link"),
              std::string::npos);
    const auto push = decode<GithubPushResult>(R"({})");
    EXPECT_FALSE(push.changed || push.commitUrl || push.version);
    const auto status = decode<WorkerStatus>(R"({"online":false,"delayed":true,"reason":"offline"})");
    EXPECT_FALSE(status.online);
    EXPECT_EQ(status.reason, QStringLiteral("offline"));
}
