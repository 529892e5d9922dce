#pragma once

// The JSON records exchanged with the service. Keys are the field names as written; optional fields
// are std::optional (missing and null both decode to absent); unknown keys are ignored.

#include "job_state.h"

#include <QList>
#include <QString>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace brightloom {

struct Project
{
    QString id;
    QString name;
    std::optional<bool> unsafe;

    bool operator==(const Project&) const = default;
};

struct Message
{
    QString id;
    QString role;
    QString content;
};

struct Job
{
    QString id;
    Coded<JobStatus> status;
    std::optional<QString> stage;
    std::optional<QString> downloadUrl;
    std::optional<QString> error;
    std::optional<Coded<JobMode>> mode;
    std::optional<QString> sourceUrl;
    std::optional<QString> appName;
    std::optional<QString> version;
    std::optional<QString> dmgUrl;
    std::optional<QString> createdAt;
    std::optional<QString> iconUrl;

    // Queued or building: the service is still at work on it.
    bool isActive() const { return status == JobStatus::queued || status == JobStatus::building; }
    // Written as source for a build on this machine, first or in answer to a fix request.
    bool isSourceBuild() const { return mode && (*mode == JobMode::source || *mode == JobMode::sourceFix); }
};

struct ProjectDetail
{
    Project project;
    QList<Message> messages;
    QList<Job> jobs;
};

struct LibraryVersion
{
    QString jobId;
    QString version;
    QString appName;
    std::optional<QString> summary;
    QString downloadUrl;
    std::optional<QString> dmgUrl;
    bool hasSource = false;
    QString createdAt;

    bool operator==(const LibraryVersion&) const = default;
};

struct LibraryApp
{
    QString projectId;
    QString name;
    QList<LibraryVersion> versions;
    bool templatePublic = false;
    std::optional<bool> unsafe;

    bool operator==(const LibraryApp&) const = default;
};

struct ForkOrigin
{
    std::optional<QString> version;
    std::optional<QString> name;
};

struct TreeFork;

// Tree nodes and forks are shared, immutable reference objects: copying a tree copies pointers only.
// Their destructors take the subtree apart with an explicit stack, so a tree of any depth is freed
// without deep recursion.
struct TreeNode
{
    QString jobId;
    QString version;
    std::optional<QString> summary;
    QString prompt;
    QString createdAt;
    bool hasSource = false;
    std::vector<std::shared_ptr<const TreeFork>> forks;
    std::int64_t hiddenForks = 0;

    TreeNode() = default;
    TreeNode(const TreeNode&) = delete;
    TreeNode& operator=(const TreeNode&) = delete;
    ~TreeNode();
};

struct TreeFork
{
    QString projectId;
    QString name;
    bool mine = false;
    std::vector<std::shared_ptr<const TreeNode>> nodes;

    TreeFork() = default;
    TreeFork(const TreeFork&) = delete;
    TreeFork& operator=(const TreeFork&) = delete;
    ~TreeFork();
};

struct LibraryDetail
{
    LibraryApp app;
    std::vector<std::shared_ptr<const TreeNode>> tree;
    QString treeProjectId;
    std::optional<ForkOrigin> origin;
    bool canTemplate = false;
};

struct GalleryApp
{
    QString slug;
    QString name;
    QString tagline;
    QString blurb;
    QString category;
    bool starred = false;
    bool ai = false;
    QString iconUrl;
    std::int64_t views = 0;
    std::int64_t favorites = 0;
    std::optional<QString> templateJobId;

    bool operator==(const GalleryApp&) const = default;
};

struct GithubLink
{
    QString repo;
    std::optional<QString> branch;
    std::optional<QString> lastVersion;
    std::optional<QString> lastSyncedAt;
    bool upToDate = false;
};

struct GithubPanel
{
    QString state;
    std::optional<QString> login;
    std::optional<QString> pushVersion;
    std::optional<GithubLink> link;
};

struct GithubRepo
{
    QString fullName;

    bool operator==(const GithubRepo&) const = default;
};

struct GithubPushResult
{
    std::optional<bool> changed;
    std::optional<QString> commitUrl;
    std::optional<QString> version;
};

struct WorkerStatus
{
    bool online = false;
    bool delayed = false;
    std::optional<QString> reason;
};

// One-field reply wrappers: each names the only key of the object the service answers with.
struct ProjectsResp
{
    QList<Project> projects;
};
struct CreatedProjectResp
{
    QString id;
};
struct ForkResp
{
    QString projectId;
};
struct LibraryResp
{
    QList<LibraryApp> apps;
};
struct GalleryResp
{
    QList<GalleryApp> apps;
};
struct FavoriteSlugsResp
{
    QList<QString> slugs;
};
struct GithubReposResp
{
    QList<GithubRepo> repos;
};

// Hashing feeds the fields in declared order; an optional feeds a presence flag and then its value.
std::size_t qHash(const Project& value, std::size_t seed = 0) noexcept;
std::size_t qHash(const LibraryVersion& value, std::size_t seed = 0) noexcept;
std::size_t qHash(const LibraryApp& value, std::size_t seed = 0) noexcept;
std::size_t qHash(const GalleryApp& value, std::size_t seed = 0) noexcept;
std::size_t qHash(const GithubRepo& value, std::size_t seed = 0) noexcept;

} // namespace brightloom

template <> struct std::hash<brightloom::Project>
{
    std::size_t operator()(const brightloom::Project& v) const noexcept { return brightloom::qHash(v); }
};
template <> struct std::hash<brightloom::LibraryVersion>
{
    std::size_t operator()(const brightloom::LibraryVersion& v) const noexcept
    {
        return brightloom::qHash(v);
    }
};
template <> struct std::hash<brightloom::LibraryApp>
{
    std::size_t operator()(const brightloom::LibraryApp& v) const noexcept { return brightloom::qHash(v); }
};
template <> struct std::hash<brightloom::GalleryApp>
{
    std::size_t operator()(const brightloom::GalleryApp& v) const noexcept { return brightloom::qHash(v); }
};
template <> struct std::hash<brightloom::GithubRepo>
{
    std::size_t operator()(const brightloom::GithubRepo& v) const noexcept { return brightloom::qHash(v); }
};
