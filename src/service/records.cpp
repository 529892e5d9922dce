#include "records.h"

#include <QHashFunctions>

namespace brightloom {
namespace {

// Takes a tree apart without recursion. A child is opened up only when this is its last owner;
// a child still shared elsewhere just loses one owner and keeps its subtree.
void dismantle(std::vector<std::shared_ptr<const TreeFork>> forks,
               std::vector<std::shared_ptr<const TreeNode>> nodes)
{
    while (!forks.empty() || !nodes.empty()) {
        if (!forks.empty()) {
            std::shared_ptr<const TreeFork> fork = std::move(forks.back());
            forks.pop_back();
            if (fork.use_count() == 1) {
                auto& children = const_cast<TreeFork&>(*fork).nodes;
                std::move(children.begin(), children.end(), std::back_inserter(nodes));
                children.clear();
            }
        } else {
            std::shared_ptr<const TreeNode> node = std::move(nodes.back());
            nodes.pop_back();
            if (node.use_count() == 1) {
                auto& children = const_cast<TreeNode&>(*node).forks;
                std::move(children.begin(), children.end(), std::back_inserter(forks));
                children.clear();
            }
        }
    }
}

class Hasher
{
public:
    explicit Hasher(std::size_t seed) : m_seed(seed) {}

    Hasher& add(const QString& v) { return mix(::qHash(v, 0)); }
    Hasher& add(bool v) { return mix(::qHash(v, 0)); }
    Hasher& add(std::int64_t v) { return mix(::qHash(qint64(v), 0)); }
    template <class T> Hasher& add(const std::optional<T>& v)
    {
        add(v.has_value());
        if (v)
            add(*v);
        return *this;
    }
    template <class T> Hasher& add(const QList<T>& list)
    {
        for (const T& element : list)
            mix(qHash(element, 0));
        return *this;
    }
    std::size_t value() const { return m_seed; }

private:
    Hasher& mix(std::size_t h)
    {
        m_seed = QtPrivate::QHashCombine()(m_seed, h);
        return *this;
    }
    std::size_t m_seed;
};

} // namespace

TreeNode::~TreeNode()
{
    if (!forks.empty())
        dismantle(std::move(forks), {});
}

TreeFork::~TreeFork()
{
    if (!nodes.empty())
        dismantle({}, std::move(nodes));
}

std::size_t qHash(const Project& v, std::size_t seed) noexcept
{
    return Hasher(seed).add(v.id).add(v.name).add(v.unsafe).value();
}

std::size_t qHash(const LibraryVersion& v, std::size_t seed) noexcept
{
    return Hasher(seed)
        .add(v.jobId)
        .add(v.version)
        .add(v.appName)
        .add(v.summary)
        .add(v.downloadUrl)
        .add(v.dmgUrl)
        .add(v.hasSource)
        .add(v.createdAt)
        .value();
}

std::size_t qHash(const LibraryApp& v, std::size_t seed) noexcept
{
    return Hasher(seed)
        .add(v.projectId)
        .add(v.name)
        .add(v.versions)
        .add(v.templatePublic)
        .add(v.unsafe)
        .value();
}

std::size_t qHash(const GalleryApp& v, std::size_t seed) noexcept
{
    return Hasher(seed)
        .add(v.slug)
        .add(v.name)
        .add(v.tagline)
        .add(v.blurb)
        .add(v.category)
        .add(v.starred)
        .add(v.ai)
        .add(v.iconUrl)
        .add(v.views)
        .add(v.favorites)
        .add(v.templateJobId)
        .value();
}

std::size_t qHash(const GithubRepo& v, std::size_t seed) noexcept
{
    return Hasher(seed).add(v.fullName).value();
}

} // namespace brightloom
