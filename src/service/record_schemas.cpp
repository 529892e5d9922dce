// The field tables of every record, and the decoding and encoding entry points built on them.

#include "json_reader.h"
#include "json_writer.h"
#include "record_codec.h"
#include "records.h"

namespace brightloom {

DecodeError::DecodeError(const std::string& detail)
    : std::runtime_error("The service's reply could not be read: " + detail + ".")
{}

namespace schema {

// Every specialisation is declared before the tables refer to each other.
template <> const Record& recordOf<Project>();
template <> const Record& recordOf<Message>();
template <> const Record& recordOf<Job>();
template <> const Record& recordOf<ProjectDetail>();
template <> const Record& recordOf<LibraryVersion>();
template <> const Record& recordOf<LibraryApp>();
template <> const Record& recordOf<ForkOrigin>();
template <> const Record& recordOf<TreeNode>();
template <> const Record& recordOf<TreeFork>();
template <> const Record& recordOf<LibraryDetail>();
template <> const Record& recordOf<GalleryApp>();
template <> const Record& recordOf<GithubLink>();
template <> const Record& recordOf<GithubPanel>();
template <> const Record& recordOf<GithubRepo>();
template <> const Record& recordOf<GithubPushResult>();
template <> const Record& recordOf<WorkerStatus>();

#define BRIGHTLOOM_RECORD(Type, ...)                                                                         \
    template <> const Record& recordOf<Type>()                                                               \
    {                                                                                                        \
        static const Field fields[] = {__VA_ARGS__};                                                         \
        static const Record record{#Type, fields};                                                           \
        return record;                                                                                       \
    }

BRIGHTLOOM_RECORD(Project, field<&Project::id>("id"), field<&Project::name>("name"),
                  field<&Project::unsafe>("unsafe"))

BRIGHTLOOM_RECORD(Message, field<&Message::id>("id"), field<&Message::role>("role"),
                  field<&Message::content>("content"))

BRIGHTLOOM_RECORD(Job, field<&Job::id>("id"), field<&Job::status>("status"), field<&Job::stage>("stage"),
                  field<&Job::downloadUrl>("downloadUrl"), field<&Job::error>("error"),
                  field<&Job::mode>("mode"), field<&Job::sourceUrl>("sourceUrl"),
                  field<&Job::appName>("appName"), field<&Job::version>("version"),
                  field<&Job::dmgUrl>("dmgUrl"), field<&Job::createdAt>("createdAt"),
                  field<&Job::iconUrl>("iconUrl"))

BRIGHTLOOM_RECORD(ProjectDetail, field<&ProjectDetail::project>("project"),
                  field<&ProjectDetail::messages>("messages"), field<&ProjectDetail::jobs>("jobs"))

BRIGHTLOOM_RECORD(LibraryVersion, field<&LibraryVersion::jobId>("jobId"),
                  field<&LibraryVersion::version>("version"), field<&LibraryVersion::appName>("appName"),
                  field<&LibraryVersion::summary>("summary"),
                  field<&LibraryVersion::downloadUrl>("downloadUrl"),
                  field<&LibraryVersion::dmgUrl>("dmgUrl"), field<&LibraryVersion::hasSource>("hasSource"),
                  field<&LibraryVersion::createdAt>("createdAt"))

BRIGHTLOOM_RECORD(LibraryApp, field<&LibraryApp::projectId>("projectId"), field<&LibraryApp::name>("name"),
                  field<&LibraryApp::versions>("versions"),
                  field<&LibraryApp::templatePublic>("templatePublic"), field<&LibraryApp::unsafe>("unsafe"))

BRIGHTLOOM_RECORD(ForkOrigin, field<&ForkOrigin::version>("version"), field<&ForkOrigin::name>("name"))

BRIGHTLOOM_RECORD(TreeNode, field<&TreeNode::jobId>("jobId"), field<&TreeNode::version>("version"),
                  field<&TreeNode::summary>("summary"), field<&TreeNode::prompt>("prompt"),
                  field<&TreeNode::createdAt>("createdAt"), field<&TreeNode::hasSource>("hasSource"),
                  field<&TreeNode::forks>("forks"), field<&TreeNode::hiddenForks>("hiddenForks"))

BRIGHTLOOM_RECORD(TreeFork, field<&TreeFork::projectId>("projectId"), field<&TreeFork::name>("name"),
                  field<&TreeFork::mine>("mine"), field<&TreeFork::nodes>("nodes"))

BRIGHTLOOM_RECORD(LibraryDetail, field<&LibraryDetail::app>("app"), field<&LibraryDetail::tree>("tree"),
                  field<&LibraryDetail::treeProjectId>("treeProjectId"),
                  field<&LibraryDetail::origin>("origin"), field<&LibraryDetail::canTemplate>("canTemplate"))

BRIGHTLOOM_RECORD(GalleryApp, field<&GalleryApp::slug>("slug"), field<&GalleryApp::name>("name"),
                  field<&GalleryApp::tagline>("tagline"), field<&GalleryApp::blurb>("blurb"),
                  field<&GalleryApp::category>("category"), field<&GalleryApp::starred>("starred"),
                  field<&GalleryApp::ai>("ai"), field<&GalleryApp::iconUrl>("iconUrl"),
                  field<&GalleryApp::views>("views"), field<&GalleryApp::favorites>("favorites"),
                  field<&GalleryApp::templateJobId>("templateJobId"))

BRIGHTLOOM_RECORD(GithubLink, field<&GithubLink::repo>("repo"), field<&GithubLink::branch>("branch"),
                  field<&GithubLink::lastVersion>("lastVersion"),
                  field<&GithubLink::lastSyncedAt>("lastSyncedAt"), field<&GithubLink::upToDate>("upToDate"))

BRIGHTLOOM_RECORD(GithubPanel, field<&GithubPanel::state>("state"), field<&GithubPanel::login>("login"),
                  field<&GithubPanel::pushVersion>("pushVersion"), field<&GithubPanel::link>("link"))

BRIGHTLOOM_RECORD(GithubRepo, field<&GithubRepo::fullName>("fullName"))

BRIGHTLOOM_RECORD(GithubPushResult, field<&GithubPushResult::changed>("changed"),
                  field<&GithubPushResult::commitUrl>("commitUrl"),
                  field<&GithubPushResult::version>("version"))

BRIGHTLOOM_RECORD(WorkerStatus, field<&WorkerStatus::online>("online"),
                  field<&WorkerStatus::delayed>("delayed"), field<&WorkerStatus::reason>("reason"))

BRIGHTLOOM_RECORD(ProjectsResp, field<&ProjectsResp::projects>("projects"))
BRIGHTLOOM_RECORD(CreatedProjectResp, field<&CreatedProjectResp::id>("id"))
BRIGHTLOOM_RECORD(ForkResp, field<&ForkResp::projectId>("projectId"))
BRIGHTLOOM_RECORD(LibraryResp, field<&LibraryResp::apps>("apps"))
BRIGHTLOOM_RECORD(GalleryResp, field<&GalleryResp::apps>("apps"))
BRIGHTLOOM_RECORD(FavoriteSlugsResp, field<&FavoriteSlugsResp::slugs>("slugs"))
BRIGHTLOOM_RECORD(GithubReposResp, field<&GithubReposResp::repos>("repos"))

#undef BRIGHTLOOM_RECORD

} // namespace schema

template <class T> T decodeRecord(QByteArrayView json)
{
    T record{};
    schema::readRecord(json, schema::recordOf<T>(), &record);
    return record;
}

template <class T> QByteArray encodeRecord(const T& record)
{
    return schema::writeRecord(schema::recordOf<T>(), &record);
}

#define BRIGHTLOOM_CODEC(Type)                                                                               \
    template Type decodeRecord<Type>(QByteArrayView);                                                        \
    template QByteArray encodeRecord<Type>(const Type&);

BRIGHTLOOM_CODEC(Project)
BRIGHTLOOM_CODEC(Message)
BRIGHTLOOM_CODEC(Job)
BRIGHTLOOM_CODEC(ProjectDetail)
BRIGHTLOOM_CODEC(LibraryVersion)
BRIGHTLOOM_CODEC(LibraryApp)
BRIGHTLOOM_CODEC(ForkOrigin)
BRIGHTLOOM_CODEC(LibraryDetail)
BRIGHTLOOM_CODEC(GalleryApp)
BRIGHTLOOM_CODEC(GithubLink)
BRIGHTLOOM_CODEC(GithubPanel)
BRIGHTLOOM_CODEC(GithubRepo)
BRIGHTLOOM_CODEC(GithubPushResult)
BRIGHTLOOM_CODEC(WorkerStatus)
BRIGHTLOOM_CODEC(ProjectsResp)
BRIGHTLOOM_CODEC(CreatedProjectResp)
BRIGHTLOOM_CODEC(ForkResp)
BRIGHTLOOM_CODEC(LibraryResp)
BRIGHTLOOM_CODEC(GalleryResp)
BRIGHTLOOM_CODEC(FavoriteSlugsResp)
BRIGHTLOOM_CODEC(GithubReposResp)

#undef BRIGHTLOOM_CODEC

} // namespace brightloom
