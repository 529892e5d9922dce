#include "bubble_list_model.h"

#include "threads/release_in_background.h"

namespace brightloom::ui {

namespace {

bool same(const Message& a, const Message& b)
{
    return a.id == b.id && a.role == b.role && a.content == b.content;
}

} // namespace

BubbleListModel::BubbleListModel(QObject* parent) : QAbstractListModel(parent) {}

void BubbleListModel::setMessages(const QList<Message>& messages)
{
    const qsizetype shown = m_messages.size();
    const qsizetype common = std::min(shown, messages.size());
    qsizetype kept = 0;
    while (kept < common && same(m_messages.at(kept), messages.at(kept)))
        ++kept;
    // Messages that keep their place and id but changed (an answer written on) change in place.
    qsizetype changed = kept;
    while (changed < common && m_messages.at(changed).id == messages.at(changed).id)
        ++changed;

    if (changed < shown) {
        beginRemoveRows({}, int(changed), int(shown - 1));
        m_messages.resize(changed);
        endRemoveRows();
    }
    // The list shown until now may be the last holder of ten thousand messages.
    QList<Message> before;
    if (changed < messages.size()) {
        beginInsertRows({}, int(changed), int(messages.size() - 1));
        before = std::exchange(m_messages, messages);
        endInsertRows();
    } else {
        before = std::exchange(m_messages, messages); // the same rows: share the new list
    }
    if (kept < changed)
        Q_EMIT dataChanged(index(int(kept)), index(int(changed - 1)));
    releaseInBackground(std::move(before));
}

int BubbleListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_messages.size());
}

QVariant BubbleListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_messages.size())
        return {};
    const Message& message = m_messages.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return message.content;
    case IdRole:
        return message.id;
    case SenderRole:
        return message.role;
    case FromUserRole:
        return message.role == QLatin1String("user");
    default:
        return {};
    }
}

QHash<int, QByteArray> BubbleListModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert(IdRole, "id");
    names.insert(SenderRole, "role");
    names.insert(FromUserRole, "fromUser");
    return names;
}

} // namespace brightloom::ui
